// The parts of a .sas7bdat file as stored. A header (its length and the
// page size in it), then pages of one size. Pages that describe the data
// (meta and mix pages) hold subheaders, each found through a pointer at the
// page's start and known by its signature: the row size (row length,
// number of rows), the column size, the column texts (the names, labels and
// formats are pieces of these blocks), the column names, attributes
// (offset, length and type in a row) and formats. Rows fill the data pages
// and the free room of mix pages after their subheaders. The 64-bit layout
// widens the integers of the page headers and subheaders to 8 bytes.
//
// A file whose rows are compressed (its first column text block names the
// compression) keeps each row as a subheader of its own, in pointer order:
// compressed (the pointer's compression 4), or, where compressing did not
// pay, stored as it is (compression 0, the pointer's type 1).
#pragma once

#include <cstdint>
#include <span>
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

enum class RowCompression { kNone, kRle, kRdc };

// Where rows lie: `rows` rows from `offset` of page `page`; or, `packed`,
// the first `rows` row subheaders of the page.
struct RowRun {
  std::uint64_t page = 0;
  std::uint32_t offset = 0;
  std::uint32_t rows = 0;
  bool packed = false;
};

// A subheader pointer of a meta or mix page.
struct SubheaderPointer {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  std::uint8_t compression = 0;
  std::uint8_t type = 0;

  bool Truncated() const { return length == 0 || compression == 1; }
  // Rows are subheaders only in a file whose rows are compressed.
  bool Row(bool compressedFile) const {
    return !Truncated() && (compression == 4 || (compressedFile && compression == 0 && type == 1));
  }
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
  RowCompression compression = RowCompression::kNone;
  std::vector<Sas7bdatColumn> columns;
  std::vector<RowRun> runs;
};

// Throws FileError for a file cut short, rows compressed in a way that is
// not known here (naming it), or subheaders that contradict the file.
Sas7bdatLayout ReadSas7bdatLayout(const sav::ByteSource& source, sav::Warnings& warnings);

// The subheader pointers of a whole meta or mix page; throws FileError
// (naming `file` and page `index`, 0-based) for more pointers than the
// page holds, or a used subheader that lies outside it.
std::vector<SubheaderPointer> ReadSubheaderPointers(std::span<const std::uint8_t> page, const Sas7bdatLayout& layout,
                                                    const std::string& file, std::uint64_t index);

}  // namespace codebook::data::sas
