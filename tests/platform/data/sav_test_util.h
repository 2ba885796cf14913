// Helpers shared by the reader and writer tests.
#pragma once

#include <string>

#include "host/data/vela_format.h"

namespace codebook::data::test {

// A format as the fixtures' truth files write it: "F8.2", "A300", "DATE11".
std::string FormatText(const VELA_Format& format);

}  // namespace codebook::data::test
