// Symbols of the host libraries that the procedure module links against.
// The module is built with hidden visibility and a version script that keeps
// only its entry; host classes are marked so that references to their
// out-of-line members, vtables and type information resolve against the host
// libraries rather than being hidden inside the module.
#pragma once

#define HOST_API __attribute__((visibility("default")))
