// The one place where a dataset file's format is chosen: by its first bytes.
#include "platform/data/read_dataset.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <span>

#include "platform/data/dataset_formats.h"
#include "platform/data/dta/read_dta.h"
#include "platform/data/sas/read_sas7bdat.h"
#include "platform/data/sas/read_xpt.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/read_dataset.h"

namespace codebook::data {
namespace {

constexpr std::uint8_t kSasMagic[32] = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                        0x00, 0xC2, 0xEA, 0x81, 0x60, 0xB3, 0x14, 0x11, 0xCF, 0xBD, 0x92,
                                        0x08, 0x00, 0x09, 0xC7, 0x31, 0x8C, 0x18, 0x1F, 0x10, 0x11};

bool StartsWith(const std::uint8_t* head, std::size_t size, std::string_view text, std::size_t at = 0) {
  return size >= at + text.size() && std::memcmp(head + at, text.data(), text.size()) == 0;
}

ReadResult Read(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                std::optional<std::string> fileSpec, const std::string& path) {
  std::uint8_t head[kSniffBytes] = {};
  const std::size_t size = source->ReadAt(0, std::span<std::uint8_t>(head, std::min<std::uint64_t>(source->Size(), kSniffBytes)));
  switch (SniffDatasetFormat(head, size)) {
    case DatasetFormat::kEmpty:
      throw FileError(source->Name(), "not a dataset file (the file is empty)");
    case DatasetFormat::kSav:
      return sav::ReadSav(std::move(source), options, std::move(fileSpec));
    case DatasetFormat::kDta:
      return dta::ReadDta(std::move(source), options, std::move(fileSpec));
    case DatasetFormat::kSas7bdat:
      return sas::ReadSas7bdat(std::move(source), options, std::move(fileSpec), path);
    case DatasetFormat::kSasCatalog:
      throw FileError(source->Name(), "a SAS format catalog (.sas7bcat), not a dataset; give it with --catalog "
                                      "beside its .sas7bdat file");
    case DatasetFormat::kXpt:
      return sas::ReadXpt(std::move(source), options, std::move(fileSpec));
    case DatasetFormat::kUnknown:
      break;
  }
  if (StartsWith(head, size, "**COMPRESSED** **COMPRESSED**")) {
    throw FileError(source->Name(), "a SAS CPORT file, which is not read; the formats read are " + FormatsReadText());
  }
  throw FileError(source->Name(), NotADatasetFileText());
}

}  // namespace

DatasetFormat SniffDatasetFormat(const std::uint8_t* head, std::size_t size) {
  if (size == 0) return DatasetFormat::kEmpty;
  static const std::uint8_t kEbcdicSav[4] = {0x5B, 0xC6, 0xD3, 0xF2};
  if (StartsWith(head, size, "$FL2") || StartsWith(head, size, "$FL3") ||
      (size >= 4 && std::memcmp(head, kEbcdicSav, 4) == 0) || StartsWith(head, size, "ENCRYPTED", 8)) {
    return DatasetFormat::kSav;
  }
  if (StartsWith(head, size, "<stata_dta>")) return DatasetFormat::kDta;
  // Releases before 117 begin with the release number, the byte order (1
  // most significant byte first, 2 least) and the file type, always 1.
  if (size >= 4 && head[0] >= 104 && head[0] <= 115 && (head[1] == 1 || head[1] == 2) && head[2] == 1) {
    return DatasetFormat::kDta;
  }
  if (size >= sizeof kSasMagic && std::memcmp(head, kSasMagic, sizeof kSasMagic) == 0) {
    // The file type follows the data set's name; the header's first
    // alignment shifts it by 4 bytes.
    const std::size_t shift = size > 35 && head[35] == 0x33 ? 4 : 0;
    if (StartsWith(head, size, "CATALOG", 156 + shift)) return DatasetFormat::kSasCatalog;
    return DatasetFormat::kSas7bdat;
  }
  if (StartsWith(head, size, "HEADER RECORD*******LIBRARY HEADER RECORD!!!!!!!") ||
      StartsWith(head, size, "HEADER RECORD*******LIBV8   HEADER RECORD!!!!!!!")) {
    return DatasetFormat::kXpt;
  }
  return DatasetFormat::kUnknown;
}

ReadResult OpenDatasetFile(const std::string& path, const ReadOptions& options) {
  std::optional<std::string> fileSpec = options.fileSpec;
  if (!fileSpec) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    fileSpec = error ? path : absolute.lexically_normal().string();
  }
  return Read(sav::OpenFileSource(path, options.name), options, std::move(fileSpec),
              options.catalogBeside ? path : std::string());
}

ReadResult ReadDatasetBytes(std::vector<std::uint8_t> bytes, const std::string& name, const ReadOptions& options) {
  return Read(sav::MemorySource(std::move(bytes), name), options, std::nullopt, std::string());
}

}  // namespace codebook::data
