// What a .dta file's dictionary becomes in this program's dictionary: the
// one place where the format's meanings are mapped (docs/formats.md tells
// the same for people). The case stream reads the columns made here.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "host/data/vela_format.h"
#include "platform/data/dictionary.h"
#include "platform/data/dta/dta_layout.h"
#include "platform/data/dta/dta_strls.h"
#include "platform/data/dta/dta_value_labels.h"
#include "platform/data/sav/text_encoding.h"
#include "platform/data/sav/warnings.h"
#include "platform/data/time_origin.h"

namespace codebook::data::dta {

// The display of a variable, from its Stata format and storage.
struct DtaDisplay {
  VELA_Format format;
  TimeUnit time = TimeUnit::kNone;
  Alignment alignment = Alignment::kRight;
};
DtaDisplay MapStataFormat(std::string_view format, Storage storage, int stringWidth);

// Where one variable's value is in a stored row and in a case's cells.
struct DtaColumn {
  Storage storage = Storage::kDouble;
  std::uint32_t rowOffset = 0;
  std::uint32_t bytes = 0;      // in the row
  std::uint32_t cell = 0;       // the first of its cells in a case
  std::uint32_t cellBytes = 0;  // 0 for a number
  std::uint32_t number = 0;     // 1-based, as strL references name it
  TimeUnit time = TimeUnit::kNone;
};

struct DtaDictionary {
  Dictionary dictionary;
  std::vector<DtaColumn> columns;
};

// strL values longer than this are cut to it (at a character boundary):
// a codebook lists values, and every distinct value is held in full. A
// strL variable is as wide as the longest value stored for it (a cell that
// refers to a longer value of another variable is cut to that width).
inline constexpr std::uint32_t kLongestStrL = 32767;

DtaDictionary BuildDtaDictionary(const DtaLayout& layout, const std::vector<RawLabelTable>& tables,
                                 const StrLIndex& strls, const sav::TextDecoder& decoder, sav::Warnings& warnings);

}  // namespace codebook::data::dta
