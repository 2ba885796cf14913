// The dataset file formats this program reads, by the extensions people
// know them by: the one list that messages, the help and the command line
// (which arguments are more datasets) read. A reader of a further format
// adds its extensions here.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace codebook::data {

inline constexpr std::array<std::string_view, 2> kDatasetExtensions = {".sav", ".zsav"};

// ".sav and .zsav" (".sav, .zsav and .dta" with three).
std::string DatasetExtensionsText();

// What is wrong with a file that is none of these: "not a dataset file this
// program reads (it reads .sav and .zsav)".
std::string NotADatasetFileText();

// Whether a file name ends in one of the extensions, in any letter case.
bool HasDatasetExtension(std::string_view name);

}  // namespace codebook::data
