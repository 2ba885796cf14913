#include "platform/data/sas/read_sas7bdat.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>

#include "platform/data/byte_cursor.h"
#include "platform/data/data_error.h"
#include "platform/data/read_ahead_stream.h"
#include "platform/data/row_case_stream.h"
#include "platform/data/sas/sas7bdat_decompress.h"
#include "platform/data/sas/sas7bdat_layout.h"
#include "platform/data/sas/sas_catalog.h"
#include "platform/data/sas/sas_dictionary.h"
#include "platform/data/sav/file_error.h"
#include "platform/data/sav/text_encoding.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::sas {
namespace {

constexpr std::uint64_t kReadAheadFrom = 1 << 20;  // bytes of case data
constexpr const char* kFormat = "SAS .sas7bdat file";
// A file that does not name its encoding: text that is valid UTF-8 is
// taken as such, other text as windows-1252.
constexpr const char* kFallback = "windows-1252";

// The encodings the header's code names, as far as they are known here;
// other codes read like a file that names none.
std::string EncodingOfCode(int code) {
  switch (code) {
    case 20: return "UTF-8";
    case 28: return "US-ASCII";
    case 29: return "ISO-8859-1";
    case 60: return "windows-1250";
    case 61: return "windows-1251";
    case 62: return "windows-1252";
    case 63: return "windows-1253";
    case 64: return "windows-1254";
    case 65: return "windows-1255";
    case 66: return "windows-1256";
    case 67: return "windows-1257";
    case 123: return "BIG5";
    case 125: return "GB2312";
    case 134: return "EUC-JP";
    case 138: return "SHIFT_JIS";
    case 140: return "EUC-KR";
    default: return {};
  }
}

// The rows, run after run, a page at a time; a page of compressed rows
// decompressed one row at a time into the caller's block.
class PagedRows final : public RowReader {
 public:
  PagedRows(std::shared_ptr<const sav::ByteSource> source, std::shared_ptr<const Sas7bdatLayout> layout)
      : source_(std::move(source)), layout_(std::move(layout)), page_(layout_->pageSize) {}

  std::size_t Read(std::uint8_t* out, std::size_t rows) override {
    if (damage_) throw *std::exchange(damage_, std::nullopt);
    std::size_t done = 0;
    const std::size_t rowBytes = static_cast<std::size_t>(layout_->rowLength);
    while (done < rows && run_ < layout_->runs.size()) {
      const RowRun& run = layout_->runs[run_];
      if (loaded_ != run.page) Load(run);
      const std::size_t n = std::min<std::size_t>(rows - done, run.rows - inRun_);
      if (run.packed) {
        for (std::size_t k = 0; k < n; ++k) {
          try {
            Unpack(inRun_ + k, std::span<std::uint8_t>(out + (done + k) * rowBytes, rowBytes));
          } catch (const DataError& e) {
            // The rows before the damaged one are delivered first, so that
            // the error names its case.
            if (done + k == 0) throw;
            damage_ = e;
            return done + k;
          }
        }
      } else {
        std::memcpy(out + done * rowBytes, page_.data() + run.offset + inRun_ * rowBytes, n * rowBytes);
      }
      done += n;
      inRun_ += n;
      if (inRun_ == run.rows) {
        ++run_;
        inRun_ = 0;
      }
    }
    return done;
  }

 private:
  void Load(const RowRun& run) {
    const std::uint64_t at = layout_->headerLength + run.page * layout_->pageSize;
    if (source_->ReadAt(at, page_) != page_.size()) throw DataError("", 0, "the file ends inside a page of rows");
    loaded_ = run.page;
    rowPointers_.clear();
    if (!run.packed) return;
    const bool compressed = layout_->compression != RowCompression::kNone;
    for (const SubheaderPointer& s : ReadSubheaderPointers(page_, *layout_, source_->Name(), run.page)) {
      if (s.Row(compressed)) rowPointers_.push_back(s);
    }
  }

  void Unpack(std::size_t index, std::span<std::uint8_t> row) const {
    if (index >= rowPointers_.size()) throw DataError("", 0, "a page holds fewer rows than it did when first read");
    const SubheaderPointer& s = rowPointers_[index];
    const auto packed = std::span<const std::uint8_t>(page_).subspan(s.offset, s.length);
    if (s.compression == 0) {
      if (packed.size() != row.size()) {
        throw DataError("", 0, "a row stored uncompressed has " + std::to_string(packed.size()) + " bytes, not " +
                                   std::to_string(row.size()));
      }
      std::memcpy(row.data(), packed.data(), row.size());
      return;
    }
    const bool rle = layout_->compression == RowCompression::kRle;
    try {
      if (rle) DecompressRle(packed, row);
      else DecompressRdc(packed, row);
    } catch (const DecompressError& e) {
      throw DataError("", 0, std::string("a row compressed with ") + (rle ? "RLE (SASYZCRL)" : "RDC (SASYZCR2)") +
                                 " is damaged: " + e.what());
    }
  }

  std::shared_ptr<const sav::ByteSource> source_;
  std::shared_ptr<const Sas7bdatLayout> layout_;
  std::vector<std::uint8_t> page_;
  std::vector<SubheaderPointer> rowPointers_;  // of the loaded page
  std::uint64_t loaded_ = ~std::uint64_t{0};
  std::size_t run_ = 0;
  std::size_t inRun_ = 0;
  std::optional<DataError> damage_;
};

// "01 Jan 2024" and "12:00:00" of seconds since 1960.
void SetCreated(double seconds, FileInfo& info) {
  if (!std::isfinite(seconds) || std::fabs(seconds) > 1e13) return;
  const auto whole = static_cast<std::int64_t>(std::floor(seconds));
  std::int64_t days = whole / 86400;
  std::int64_t rest = whole % 86400;
  if (rest < 0) {
    rest += 86400;
    --days;
  }
  // Civil from days (H. Hinnant's algorithm), counted from 1970.
  const std::int64_t z = days - 3653 + 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t doe = z - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  const int day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  const int month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  const std::int64_t year = yoe + era * 400 + (month <= 2 ? 1 : 0);
  static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  char text[64];
  std::snprintf(text, sizeof text, "%02d %s %lld", day, kMonths[month - 1], static_cast<long long>(year));
  info.creationDate = text;
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", static_cast<int>(rest / 3600), static_cast<int>(rest / 60 % 60),
                static_cast<int>(rest % 60));
  info.creationTime = text;
}

ReadResult Read(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                std::optional<std::string> fileSpec, const std::string& path) {
  sav::Warnings warnings;
  auto layout = std::make_shared<const Sas7bdatLayout>(ReadSas7bdatLayout(*source, warnings));
  std::string declared = EncodingOfCode(layout->encodingCode);
  if (declared.empty() && layout->encodingCode != 0) {
    warnings.Add("encoding", "the encoding code " + std::to_string(layout->encodingCode) +
                                 " is not known here; text is read as UTF-8, or windows-1252 where it is not valid UTF-8");
  }
  const bool guess = options.encoding.empty() && declared.empty();
  const std::string encoding = sav::ResolveEncodingName(!options.encoding.empty() ? options.encoding
                                                        : declared.empty()        ? "UTF-8"
                                                                                  : declared);
  if (encoding.empty()) throw FileError(source->Name(), "unknown encoding " + options.encoding);
  const sav::TextDecoder decoder(encoding);
  const sav::TextDecoder fallback(kFallback);
  const sav::TextDecoder* alternative = guess ? &fallback : nullptr;

  const std::optional<CatalogLabels> catalog = FindCatalogLabels(options.catalog, path, warnings);
  std::vector<SasVariable> variables;
  for (const Sas7bdatColumn& c : layout->columns) {
    SasVariable v;
    v.name = DecodeSasText(c.name, decoder, alternative);
    v.label = DecodeSasText(c.label, decoder, alternative);
    v.format = ParseSasFormat(c.format, c.formatWidth, c.formatDecimals);
    v.isString = c.isString;
    v.offset = static_cast<std::uint32_t>(c.offset);
    v.length = static_cast<std::uint32_t>(c.length);
    variables.push_back(std::move(v));
  }
  SasDictionary built;
  try {
    built = BuildSasDictionary(variables, decoder.IsUtf8() && !guess ? 1 : 3, catalog ? &*catalog : nullptr, warnings);
  } catch (const std::logic_error& e) {
    throw FileError(source->Name(), std::string("unusable dictionary: ") + e.what());
  }
  const std::string name = DecodeSasText(layout->datasetName, decoder, alternative);
  if (!name.empty()) built.dictionary.SetAttributes(DatasourceAttributes({{"DatasetName", {name}}}));
  built.dictionary.SetEncoding(sav::CanonicalEncodingName(encoding));

  RowLayout rows;
  rows.fileName = source->Name();
  rows.format = kFormat;
  rows.rowBytes = static_cast<std::size_t>(layout->rowLength);
  rows.cellsPerCase = static_cast<std::size_t>(built.dictionary.CellsPerCase());
  rows.cases = static_cast<std::int64_t>(layout->rowCount);
  SasRows kind;
  kind.numbers = NumberKind::kIeee;
  kind.bigEndian = layout->bigEndian;
  kind.encoding = encoding;
  kind.fallback = guess ? kFallback : "";
  const bool readAhead = layout->rowCount * layout->rowLength >= kReadAheadFrom;
  auto columns = std::make_shared<const std::vector<SasColumn>>(built.columns);
  auto factory = [source, layout, rows, kind, columns, readAhead]() -> std::unique_ptr<CaseStream> {
    std::unique_ptr<CaseStream> stream =
        MakeRowCaseStream(std::make_unique<PagedRows>(source, layout), MakeSasRowDecoder(*columns, kind), rows);
    return readAhead ? ReadAhead(std::move(stream), rows.cellsPerCase) : std::move(stream);
  };

  ReadResult result;
  const char* packing = layout->compression == RowCompression::kRle   ? ", rows compressed with RLE"
                        : layout->compression == RowCompression::kRdc ? ", rows compressed with RDC"
                                                                      : "";
  result.info.format = std::string("SAS .sas7bdat (") + (layout->is64 ? "64" : "32") + "-bit layout, release " +
                       layout->release + packing + ")";
  result.info.bigEndian = layout->bigEndian;
  result.info.encoding = sav::CanonicalEncodingName(encoding);
  result.info.encodingGuessed = guess;
  result.info.declaredCases = static_cast<std::int64_t>(layout->rowCount);
  SetCreated(layout->created, result.info);
  // No rows, no stream: the row length of an empty file is never allocated.
  const bool hasRows = layout->rowLength > 0 && !layout->columns.empty() && layout->rowCount > 0;
  const auto count = static_cast<std::int64_t>(hasRows ? layout->rowCount : 0);
  result.dataset = std::make_shared<Dataset>(std::move(built.dictionary), count,
                                             hasRows ? factory : Dataset::CaseStreamFactory(), std::move(fileSpec));
  result.warnings = warnings.Finish();
  return result;
}

}  // namespace

ReadResult ReadSas7bdat(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                        std::optional<std::string> fileSpec, const std::string& path) {
  const std::string name = source->Name();
  return NamingTheFormat(name, kFormat, [&] { return Read(std::move(source), options, std::move(fileSpec), path); });
}

}  // namespace codebook::data::sas
