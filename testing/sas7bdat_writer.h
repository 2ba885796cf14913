// Writes a dataset as a .sas7bdat file, 32- or 64-bit layout, either byte
// order: for the reader's tests of the layouts the fixtures do not have,
// and its fuzzer's seeds. One meta page (or a mix page that holds rows as
// well), then data pages; or, rows compressed, each row a subheader of the
// meta pages (compressed, or as it is where compressing does not pay).
// Written from the format's layout, not by any other program.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/data/dataset.h"

namespace codebook::data {

struct Sas7bdatColumnSpec {
  std::string format;  // e.g. "DATE9.", "DOLLAR10.2"; empty: none
  int length = 8;      // of a number: 3 to 8 bytes kept
};

struct Sas7bdatWriteOptions {
  bool is64 = true;
  bool bigEndian = false;
  int encodingCode = 20;  // UTF-8
  std::uint32_t pageSize = 4096;
  std::string datasetName = "DATA";
  bool mixPage = false;            // rows also on the first page
  std::string compression;         // the text block's name, e.g. "SASYZCRL"
  enum class Packing { kNone, kRle, kRdc };
  Packing packing = Packing::kNone;  // rows compressed so
  // As damage: this row's compressed subheader loses its last byte.
  std::optional<std::size_t> cutRow;
  std::map<std::string, Sas7bdatColumnSpec> columns;  // by variable name
};

// A DATE format's values, which the reader gives in seconds since 1582,
// are written back as days since 1960, a DATETIME's as seconds since 1960.
std::vector<std::uint8_t> WriteSas7bdatBytes(const Dataset& dataset, const Sas7bdatWriteOptions& options);

}  // namespace codebook::data
