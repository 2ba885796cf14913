// The value-label tables of a .dta file, as stored: a name and (value,
// text) pairs. Tables are found by name; several variables may name one,
// and a table may be named by none.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/data/dta/dta_layout.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::dta {

struct RawLabel {
  std::int32_t value = 0;
  std::string text;  // the file's bytes
};

struct RawLabelTable {
  std::string name;
  std::vector<RawLabel> labels;
};

// Reads every table. Throws FileError when the file ends inside them or a
// table's size contradicts the file; a label whose text lies outside its
// table is dropped with a warning.
std::vector<RawLabelTable> ReadValueLabelTables(const sav::ByteSource& source, const DtaLayout& layout,
                                                sav::Warnings& warnings);

}  // namespace codebook::data::dta
