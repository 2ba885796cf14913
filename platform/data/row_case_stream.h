// The case stream of the formats that store each case as a row of fixed
// size (.dta, .sas7bdat, .xpt): a block of rows is read, then decoded one
// column at a time straight into the batch's columns. The format supplies
// where the rows are (RowReader) and what their bytes mean (RowDecoder).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/data/case_stream.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/text_encoding.h"

namespace codebook::data {

class RowReader {
 public:
  virtual ~RowReader() = default;
  // Copies the next rows, at most `rows`, to `out` (room for rows times the
  // row size); returns how many, 0 at the end. Throws DataError (without the
  // case number, which the stream adds) when the data are damaged.
  virtual std::size_t Read(std::uint8_t* out, std::size_t rows) = 0;
};

class RowDecoder {
 public:
  virtual ~RowDecoder() = default;
  // Decodes `n` rows, `rowBytes` apart, into the batch's records from
  // `first`. May throw DataError.
  virtual void Decode(const std::uint8_t* rows, std::size_t n, std::size_t rowBytes, CaseBatch& batch,
                      std::size_t first) = 0;
};

struct RowLayout {
  std::string fileName;     // for messages
  std::string format;       // e.g. "Stata .dta file", for messages
  std::size_t rowBytes = 0;
  std::size_t cellsPerCase = 0;
  std::int64_t cases = -1;  // declared; the stream reports fewer rows as damage
};

std::unique_ptr<CaseStream> MakeRowCaseStream(std::unique_ptr<RowReader> reader,
                                              std::unique_ptr<RowDecoder> decoder, RowLayout layout);

// `count` rows of `rowBytes` one after another from `begin`.
std::unique_ptr<RowReader> ContiguousRows(std::shared_ptr<const sav::ByteSource> source, std::uint64_t begin,
                                          std::size_t rowBytes, std::uint64_t count);

// Writes a string value into a record's cells: converted to UTF-8 (from
// `encoding`, or checked and repaired when that is UTF-8; with a fallback
// encoding, text that is not valid UTF-8 is taken to be in that), cut at a
// character boundary to the cells' bytes, blank-padded.
class StringCellWriter {
 public:
  explicit StringCellWriter(const std::string& encoding, const std::string& fallback = {});
  void Put(std::string_view value, CaseBatch& batch, std::size_t firstCell, std::size_t cellBytes,
           std::size_t record);

 private:
  sav::TextDecoder decoder_;
  std::unique_ptr<sav::TextDecoder> fallback_;
  std::string converted_;
  std::string padded_;
};

}  // namespace codebook::data
