#include "platform/data/sas/sas_catalog.h"

#include <cstring>
#include <filesystem>

#include "platform/data/read_dataset.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::sas {

std::string CatalogBeside(const std::string& dataPath) {
  if (dataPath.empty()) return {};
  namespace fs = std::filesystem;
  const fs::path data(dataPath);
  std::error_code error;
  for (const fs::path& candidate : {fs::path(data).replace_extension(".sas7bcat"), data.parent_path() / "formats.sas7bcat"}) {
    if (fs::is_regular_file(candidate, error)) return candidate.string();
  }
  return {};
}

std::optional<CatalogLabels> FindCatalogLabels(const std::string& given, const std::string& dataPath,
                                               sav::Warnings& warnings) {
  const std::string path = given.empty() ? CatalogBeside(dataPath) : given;
  if (path.empty()) return std::nullopt;
  std::shared_ptr<const sav::ByteSource> source;
  try {
    source = sav::OpenFileSource(path);
  } catch (const FileError& e) {
    if (!given.empty()) throw FileError(dataPath, "the format catalog " + path + " cannot be read: " + e.Problem());
    return std::nullopt;
  }
  std::uint8_t head[kSniffBytes] = {};
  const std::size_t got = source->ReadAt(0, std::span<std::uint8_t>(head, std::min<std::uint64_t>(source->Size(), kSniffBytes)));
  if (SniffDatasetFormat(head, got) != DatasetFormat::kSasCatalog) {
    if (!given.empty()) throw FileError(dataPath, path + " is not a SAS format catalog (.sas7bcat)");
    return std::nullopt;
  }
  warnings.Add("catalog", "the value labels of the format catalog " + path +
                              " are not read by this version; values are shown without them");
  return std::nullopt;
}

}  // namespace codebook::data::sas
