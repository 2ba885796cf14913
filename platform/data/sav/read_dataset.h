// Reading dataset files (.sav uncompressed or byte-code compressed, .zsav
// zlib-compressed) into a Dataset.
//
//   auto result = codebook::data::OpenDatasetFile("survey.sav");
//   // result.dataset: dictionary + cases; result.warnings: damaged but
//   // readable parts of the file, one message each.
//
// Opening reads the whole dictionary, all text converted to UTF-8. The cases
// are read on demand, in blocks, each time a pass opens them; memory does not
// depend on the number of cases.
//
// Errors:
//  - FileError (file_error.h) when the file cannot be opened or its
//    dictionary is unreadable: "<path>: <problem>", e.g.
//    "m03_bad_magic.sav: not a dataset file this program reads (it reads
//    .sav and .zsav)".
//  - DataError (platform/data/data_error.h), thrown by a case stream, when
//    the case data are damaged: "<path>: case N: <problem>". This includes a
//    file that ends inside a case, corrupt compressed data, and a file whose
//    data end cleanly before the number of cases its header declares (the
//    cases are then missing, and counts computed from them would be wrong).
//
// String cells hold the UTF-8 value blank-padded. For a UTF-8 file a string
// variable's cells hold its declared width; for other encodings they hold
// three times as many bytes (rounded to whole cells), so that converted text
// is never cut. Variable::DeclaredWidth() keeps the file's width.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/data/dataset.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data {

struct ReadOptions {
  // When the file does not declare its number of cases, count them with one
  // extra pass while opening (otherwise the dataset reports -1).
  bool countUnknownCases = true;
  // An encoding to use instead of what the file says (empty: the file's).
  std::string encoding;
  // What messages call the file (empty: the path as given).
  std::string name;
  // What the dataset reports as its file, for FILEINFO (unset: the path made
  // absolute, whatever the user typed).
  std::optional<std::string> fileSpec;
};

enum class FileCompression { kNone = 0, kBytecode = 1, kZlib = 2 };

// What the file says about itself beyond the dictionary.
struct FileInfo {
  FileCompression compression = FileCompression::kNone;
  bool bigEndian = false;
  std::string product;       // the writer's identification
  std::string creationDate;  // as stored, e.g. "01 Jan 24"
  std::string creationTime;  // as stored, e.g. "12:00:00"
  std::string encoding;      // the encoding used to decode the text
  bool encodingGuessed = false;
  std::int64_t declaredCases = -1;  // -1 when the file does not say
};

struct ReadResult {
  std::shared_ptr<Dataset> dataset;
  FileInfo info;
  std::vector<std::string> warnings;
};

ReadResult OpenDatasetFile(const std::string& path, const ReadOptions& options = {});

// The same over bytes in memory; `name` stands for the file in messages.
ReadResult ReadDatasetBytes(std::vector<std::uint8_t> bytes, const std::string& name,
                            const ReadOptions& options = {});

}  // namespace codebook::data
