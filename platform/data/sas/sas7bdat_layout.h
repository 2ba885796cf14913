// The parts of a .sas7bdat file as stored. A header (its length and the
// page size in it), then pages of one size. Pages that describe the data
// (meta and mix pages) hold subheaders, each found through a pointer at the
// page's start and known by its signature: the row size (row length,
// number of rows), the column size, the column texts (the names, labels and
// formats are pieces of these blocks), the column names, attributes
// (offset, length and type in a row) and formats. Rows fill the data pages
// and the free room of mix pages after their subheaders. The 64-bit layout
// widens the integers of the page headers and subheaders to 8 bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::sas {

struct Sas7bdatColumn {
  std::string name;  // the file's bytes
  std::string label;
  std::string format;
  int formatWidth = 0;
  int formatDecimals = 0;
  bool isString = false;
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
};

// Where rows lie: `rows` rows from `offset` of page `page`.
struct RowRun {
  std::uint64_t page = 0;
  std::uint32_t offset = 0;
  std::uint32_t rows = 0;
};

struct Sas7bdatLayout {
  bool is64 = false;
  bool bigEndian = false;
  int encodingCode = 0;
  std::string datasetName;
  double created = 0;  // seconds since 1960
  std::string release;
  std::uint64_t headerLength = 0;
  std::uint64_t pageSize = 0;
  std::uint64_t pageCount = 0;
  std::uint64_t rowLength = 0;
  std::uint64_t rowCount = 0;
  std::vector<Sas7bdatColumn> columns;
  std::vector<RowRun> runs;
};

// Throws FileError for a file cut short, compressed rows (naming the
// compression), or subheaders that contradict the file.
Sas7bdatLayout ReadSas7bdatLayout(const sav::ByteSource& source, sav::Warnings& warnings);

}  // namespace codebook::data::sas
