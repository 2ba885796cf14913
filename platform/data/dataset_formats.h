// The dataset file formats this program reads, by the extensions people
// know them by: the one list that messages, the help and the command line
// (which arguments are more datasets) read. A reader of a further format
// adds its extensions here.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace codebook::data {

inline constexpr std::array<std::string_view, 5> kDatasetExtensions = {".sav", ".zsav", ".dta", ".sas7bdat", ".xpt"};

// ".sav, .zsav, .dta, .sas7bdat and .xpt".
std::string DatasetExtensionsText();

// The formats in words, with their releases: ".sav and .zsav, Stata .dta
// releases 104 to 119, SAS .sas7bdat and SAS transport .xpt versions 5 and 8".
std::string FormatsReadText();

// What is wrong with a file that is none of these: "not a dataset file this
// program reads (it reads " + FormatsReadText() + ")".
std::string NotADatasetFileText();

// Whether a file name ends in one of the extensions, in any letter case.
bool HasDatasetExtension(std::string_view name);

}  // namespace codebook::data
