// The procedure's entry, as the session calls it after loading the module.
#pragma once

#include <cstdint>

extern "C" void codebook_(std::int64_t argument);
