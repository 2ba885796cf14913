// Reading dataset files into a Dataset, whatever their format. The format is
// chosen by the file's first bytes, never by its name:
//
//   .sav, .zsav          platform/data/sav/
//   .dta (104 to 119)    platform/data/dta/
//   .sas7bdat, .xpt      platform/data/sas/
//
//   auto result = codebook::data::OpenDatasetFile("survey.dta");
//   // result.dataset: dictionary + cases; result.warnings: damaged but
//   // readable parts of the file, one message each.
//
// Opening reads the whole dictionary, all text converted to UTF-8. The cases
// are read on demand, in batches, each time a pass opens them; memory does
// not depend on the number of cases.
//
// Errors:
//  - FileError (sav/file_error.h) when the file cannot be opened, is of no
//    format read here, or its dictionary is unreadable: "<path>: <problem>",
//    e.g. "m03_bad_magic.sav: not a dataset file this program reads (it reads
//    .sav and .zsav, Stata .dta releases 104 to 119, ...)".
//  - DataError (platform/data/data_error.h), thrown by a case stream, when
//    the case data are damaged: "<path>: case N: <problem>".
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
  // An encoding to use instead of what the file says, or assumes for a
  // format that says nothing (empty: the file's, or the format's default).
  std::string encoding;
  // What messages call the file (empty: the path as given).
  std::string name;
  // What the dataset reports as its file, for FILEINFO (unset: the path made
  // absolute, whatever the user typed).
  std::optional<std::string> fileSpec;
  // A .sas7bdat file's format catalog (.sas7bcat) for its value labels;
  // empty: a catalog beside the file, when there is one and catalogBeside.
  std::string catalog;
  bool catalogBeside = true;
};

enum class FileCompression { kNone = 0, kBytecode = 1, kZlib = 2 };

// What the file says about itself beyond the dictionary.
struct FileInfo {
  // The format as people name it, e.g. "Stata .dta release 118"; empty for
  // .sav and .zsav, which `compression` describes.
  std::string format;
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

// What the first bytes of a file say it is.
enum class DatasetFormat { kUnknown, kEmpty, kSav, kDta, kSas7bdat, kSasCatalog, kXpt };
DatasetFormat SniffDatasetFormat(const std::uint8_t* head, std::size_t size);
// How many first bytes SniffDatasetFormat looks at (fewer when the file is
// shorter).
inline constexpr std::size_t kSniffBytes = 256;

}  // namespace codebook::data
