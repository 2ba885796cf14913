#include "platform/data/dataset_formats.h"

#include <cctype>

namespace codebook::data {

std::string DatasetExtensionsText() {
  std::string text;
  for (std::size_t i = 0; i < kDatasetExtensions.size(); ++i) {
    if (i > 0) text += i + 1 == kDatasetExtensions.size() ? " and " : ", ";
    text += kDatasetExtensions[i];
  }
  return text;
}

std::string FormatsReadText() {
  return ".sav and .zsav, Stata .dta releases 104 to 119, SAS .sas7bdat and SAS transport .xpt versions 5 "
         "and 8";
}

std::string NotADatasetFileText() {
  return "not a dataset file this program reads (it reads " + FormatsReadText() + ")";
}

bool HasDatasetExtension(std::string_view name) {
  for (const std::string_view extension : kDatasetExtensions) {
    if (name.size() < extension.size()) continue;
    const std::string_view end = name.substr(name.size() - extension.size());
    bool same = true;
    for (std::size_t i = 0; i < end.size() && same; ++i) {
      same = std::tolower(static_cast<unsigned char>(end[i])) == extension[i];
    }
    if (same) return true;
  }
  return false;
}

}  // namespace codebook::data
