// Format catalogs (.sas7bcat): where a SAS data set's value labels are
// kept, as formats that its variables name. A catalog is given with
// ReadOptions::catalog or found beside the data file (same name, or
// formats.sas7bcat in the same folder).
//
// Not finished: the catalog's entries are not decoded yet. A catalog given
// or found is checked to be one, and a warning says that its labels are not
// shown, so that nobody takes their absence for the file's.
#pragma once

#include <optional>
#include <string>

#include "platform/data/sas/sas_dictionary.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::sas {

// The labels of the catalog `given` (empty: the one beside `dataPath`, if
// any), by format name. Throws FileError when a catalog given cannot be
// opened or is none.
std::optional<CatalogLabels> FindCatalogLabels(const std::string& given, const std::string& dataPath,
                                               sav::Warnings& warnings);

// The catalog beside a data file, or empty when there is none.
std::string CatalogBeside(const std::string& dataPath);

}  // namespace codebook::data::sas
