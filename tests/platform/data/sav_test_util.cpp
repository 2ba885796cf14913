#include "tests/platform/data/sav_test_util.h"

#include <algorithm>
#include <stdexcept>

#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/raw_dictionary.h"
#include "platform/data/sav/warnings.h"
#include "platform/data/sav/write_dataset.h"
#include "platform/data/sav/zlib_layout.h"
#include "testing/dataset_builder.h"

namespace codebook::data::test {

std::string FormatText(const VELA_Format& format) {
  static const char* const kNames[] = {
      "none", "A", "AHEX", "COMMA", "DOLLAR", "F", "IB", "PIBHEX", "P", "PIB", "PK", "RB",
      "RBHEX", "?13", "?14", "Z", "N", "E", "?18", "?19", "DATE", "TIME", "DATETIME", "ADATE",
      "JDATE", "DTIME", "WKDAY", "MONTH", "MOYR", "QYR", "WKYR", "PCT", "DOT", "CCA", "CCB",
      "CCC", "CCD", "CCE", "EDATE", "SDATE", "G"};
  const unsigned code = format.TypeEx();
  std::string name;
  if (code == 85) name = "MTIME";
  else if (code == 86) name = "YMDHMS";
  else if (code < sizeof kNames / sizeof kNames[0]) name = kNames[code];
  else name = "?" + std::to_string(code);
  name += std::to_string(format.Width());
  if (format.Decimals() != 0) name += "." + std::to_string(format.Decimals());
  return name;
}

}  // namespace codebook::data::test

namespace codebook::data::test {

double IncompressibleNumber(int caseIndex, int variable) { return caseIndex * 8.0 + variable + 0.25; }

std::string IncompressibleString(int caseIndex) {
  std::string s = std::to_string(caseIndex);
  return "s" + std::string(7 - std::min<std::size_t>(7, s.size()), '0') + s;
}

std::shared_ptr<Dataset> IncompressibleCases(int cases) {
  DatasetBuilder b;
  for (int v = 0; v < 7; ++v) b.Numeric("x" + std::to_string(v));
  b.String("s", 8);
  for (int c = 0; c < cases; ++c) {
    auto x = [c](int v) { return Value(IncompressibleNumber(c, v)); };
    b.Case({x(0), x(1), x(2), x(3), x(4), x(5), x(6), Value(IncompressibleString(c))});
  }
  return b.Build();
}

ZlibParts SplitZlibFile(const std::vector<std::uint8_t>& file) {
  auto source = sav::MemorySource(file, "split.zsav");
  sav::Warnings warnings;
  const sav::RawDictionary raw = sav::ReadRawDictionary(*source, warnings);
  const sav::ZlibLayout layout =
      sav::ReadZlibLayout(*source, raw.dataOffset, raw.header.bigEndian, raw.header.bias, warnings);
  if (raw.header.bigEndian) throw std::invalid_argument("SplitZlibFile: little-endian files only");
  ZlibParts parts;
  parts.head.assign(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(raw.dataOffset));
  parts.bias = raw.header.bias;
  parts.blockSize = layout.blockSize;
  for (const sav::ZlibBlock& b : layout.blocks) {
    const auto from = file.begin() + static_cast<std::ptrdiff_t>(b.compressedOffset);
    parts.blocks.push_back({std::vector<std::uint8_t>(from, from + b.compressedSize), b.uncompressedSize});
  }
  return parts;
}

std::vector<std::uint8_t> JoinZlibFile(const ZlibParts& parts) {
  std::vector<std::uint8_t> out = parts.head;
  auto put = [&out](std::uint64_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
  };
  const std::uint64_t header = out.size();
  std::uint64_t trailer = header + 24;
  for (const auto& b : parts.blocks) trailer += b.compressed.size();
  put(header, 8);
  put(trailer, 8);
  put(24 * (parts.blocks.size() + 1), 8);
  for (const auto& b : parts.blocks) out.insert(out.end(), b.compressed.begin(), b.compressed.end());
  put(static_cast<std::uint64_t>(static_cast<std::int64_t>(-parts.bias)), 8);
  put(0, 8);
  put(static_cast<std::uint32_t>(parts.blockSize), 4);
  put(parts.blocks.size(), 4);
  std::uint64_t uncompressed = header;
  std::uint64_t compressed = header + 24;
  for (const auto& b : parts.blocks) {
    put(uncompressed, 8);
    put(compressed, 8);
    put(b.declaredSize, 4);
    put(b.compressed.size(), 4);
    uncompressed += b.declaredSize;
    compressed += b.compressed.size();
  }
  return out;
}

namespace {

sav::ZlibLayout LayoutOf(const sav::ByteSource& source, std::uint64_t* dataOffset = nullptr) {
  sav::Warnings warnings;
  const sav::RawDictionary raw = sav::ReadRawDictionary(source, warnings);
  if (dataOffset) *dataOffset = raw.dataOffset;
  return sav::ReadZlibLayout(source, raw.dataOffset, raw.header.bigEndian, raw.header.bias, warnings);
}

// The file's bytes, of which only the first `readable` can still be read.
class CutSource final : public sav::ByteSource {
 public:
  CutSource(std::vector<std::uint8_t> bytes, std::uint64_t readable)
      : ByteSource("cut.zsav"), bytes_(std::move(bytes)), readable_(std::min<std::uint64_t>(readable, bytes_.size())) {}
  std::uint64_t Size() const override { return bytes_.size(); }
  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) const override {
    if (offset >= readable_) return 0;
    const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), readable_ - offset));
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), n, out.begin());
    return n;
  }

 private:
  std::vector<std::uint8_t> bytes_;
  std::uint64_t readable_;
};

}  // namespace

std::vector<std::uint8_t> BytecodeData(const Dataset& dataset) {
  WriteOptions options;
  options.compression = FileCompression::kBytecode;
  std::vector<std::uint8_t> file = WriteDatasetBytes(dataset, options);
  sav::Warnings warnings;
  const std::uint64_t offset = sav::ReadRawDictionary(*sav::MemorySource(file, "b.sav"), warnings).dataOffset;
  file.erase(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(offset));
  return file;
}

Inflated InflateAll(const std::vector<std::uint8_t>& file, const sav::InflateOptions& options,
                    std::uint64_t readableBytes) {
  const sav::ZlibLayout layout = LayoutOf(*sav::MemorySource(file, "whole.zsav"));
  auto stream = sav::MakeZlibStream(std::make_shared<CutSource>(file, readableBytes), layout, options);
  static const std::size_t kSizes[] = {1, 7, 4093, 65536, 333, 72};
  Inflated result;
  std::vector<std::uint8_t> chunk(65536);
  for (std::size_t i = 0;; ++i) {
    const std::size_t want = kSizes[i % std::size(kSizes)];
    std::size_t got = 0;
    try {
      got = stream->Read(std::span<std::uint8_t>(chunk.data(), want));
    } catch (const sav::CorruptData& e) {
      result.error = e.what();
      break;
    }
    result.bytes.insert(result.bytes.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(got));
    if (got == 0) break;
  }
  return result;
}

}  // namespace codebook::data::test
