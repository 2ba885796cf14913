// The cases of a .dta file: its rows, decoded column by column (numbers
// with their missing codes, dates converted, strings cut at their NUL and
// converted to UTF-8, strL references looked up and read).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/data/case_stream.h"
#include "platform/data/dta/dta_mapping.h"
#include "platform/data/dta/dta_strls.h"
#include "platform/data/sav/byte_source.h"

namespace codebook::data::dta {

struct DtaPlan {
  std::string fileName;
  std::string format;  // for messages
  int release = 0;
  bool bigEndian = false;
  bool extended = false;  // .a-.z exist
  std::string encoding;   // of the texts
  std::uint64_t dataOffset = 0;
  std::uint64_t rowBytes = 0;
  std::uint64_t cases = 0;
  std::size_t cellsPerCase = 0;
  std::vector<DtaColumn> columns;
  std::shared_ptr<const StrLIndex> strls;
  std::uint64_t strlsBegin = 0;
  std::uint64_t strlsEnd = 0;
};

std::unique_ptr<CaseStream> OpenDtaCases(std::shared_ptr<const sav::ByteSource> source,
                                         std::shared_ptr<const DtaPlan> plan);

}  // namespace codebook::data::dta
