// The dictionary of a SAS file (.sas7bdat or transport) in this program's
// terms, and the decoder of its rows: the variables, each at an offset of
// the row with a length, a number (of the file's kind) or a string.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/data/dictionary.h"
#include "platform/data/row_case_stream.h"
#include "platform/data/sas/sas_formats.h"
#include "platform/data/sav/warnings.h"
#include "platform/data/time_origin.h"

namespace codebook::data::sas {

struct SasVariable {
  std::string name;   // UTF-8
  std::string label;  // UTF-8, empty when none
  SasFormat format;
  bool isString = false;
  std::uint32_t offset = 0;  // in the row
  std::uint32_t length = 0;  // bytes in the row
};

enum class NumberKind { kIeee, kTransport };

struct SasColumn {
  bool isString = false;
  std::uint32_t offset = 0;
  std::uint32_t length = 0;
  std::uint32_t cell = 0;
  std::uint32_t cellBytes = 0;
  TimeUnit time = TimeUnit::kNone;
};

struct SasDictionary {
  Dictionary dictionary;
  std::vector<SasColumn> columns;
};

// The value labels of a format catalog: by format name (upper case).
using CatalogLabels = std::map<std::string, std::shared_ptr<const ValueLabelSetImpl>>;

// `cellsPerByte` is 1 when the text is UTF-8 and 3 when it may be converted
// from a single-byte encoding (converted text may grow threefold).
SasDictionary BuildSasDictionary(const std::vector<SasVariable>& variables, int cellsPerByte,
                                 const CatalogLabels* catalog, sav::Warnings& warnings);

struct SasRows {
  NumberKind numbers = NumberKind::kIeee;
  bool bigEndian = false;  // of IEEE numbers
  std::string encoding;    // of the strings
  std::string fallback;    // tried for a string that is not valid in `encoding`; empty: none
};
std::unique_ptr<RowDecoder> MakeSasRowDecoder(std::vector<SasColumn> columns, const SasRows& rows);

// Text of a SAS file: in its encoding, or UTF-8 where that is valid and the
// fallback where it is not (a file that does not say its encoding).
std::string DecodeSasText(std::string_view bytes, const sav::TextDecoder& decoder, const sav::TextDecoder* fallback);

}  // namespace codebook::data::sas
