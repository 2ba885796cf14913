// Every deliberately broken file gives a clear message naming the file and
// the problem: rejected when opened, rejected by the case stream at the case
// where the data break, or read with a warning about the damaged record.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/data/data_error.h"
#include "platform/data/sav/read_dataset.h"
#include "platform/data/sav/write_dataset.h"
#include "platform/data/sav/zlib_stream.h"
#include "tests/platform/data/sav_test_util.h"

namespace codebook::data {
namespace {

namespace fs = std::filesystem;

enum class Outcome { kRejectOpen, kRejectPass, kWarn };

struct Case {
  const char* file;
  Outcome outcome;
  const char* message;       // part of the error or warning
  std::int64_t caseNumber;   // kRejectPass: the case named by the error
};

std::ostream& operator<<(std::ostream& os, const Case& c) { return os << c.file; }

const Case kCases[] = {
    {"m01_empty_file.sav", Outcome::kRejectOpen, "not a dataset file (the file is empty)", 0},
    {"m02_truncated_header.sav", Outcome::kRejectOpen, "truncated file: the file header needs 176 bytes", 0},
    {"m03_bad_magic.sav", Outcome::kRejectOpen, "not a dataset file this program reads (it reads .sav and .zsav, Stata .dta", 0},
    {"m04_bad_layout_code.sav", Outcome::kRejectOpen, "bad layout code", 0},
    {"m05_truncated_dictionary.sav", Outcome::kRejectOpen, "file ends inside a value-label record", 0},
    {"m06_truncated_data_mid_case.sav", Outcome::kRejectPass, "the file ends inside a case", 11},
    {"m07_truncated_bytecode_data.sav", Outcome::kRejectPass, "the file ends inside a case", 1},
    {"m08_value_label_count_2p31.sav", Outcome::kRejectOpen, "invalid value-label count -2147483648", 0},
    {"m09_extension_size_2p40.sav", Outcome::kRejectOpen, "1099511627776 bytes exceeds the file size", 0},
    {"m10_continuation_without_string.sav", Outcome::kRejectOpen,
     "string continuation record without a string variable", 0},
    {"m11_compression_code_7.sav", Outcome::kRejectOpen, "unknown compression code 7", 0},
    {"m12_zsav_corrupt_block.zsav", Outcome::kRejectPass, "corrupt compressed data", 1},
    {"m13_attribute_unbalanced_quote.sav", Outcome::kWarn, "value not enclosed in quotes", 0},
    {"m14_case_count_larger_than_data.sav", Outcome::kRejectPass,
     "the data end after 40 cases, but the file declares 100", 41},
    {"m15_zsav_trailer_beyond_eof.zsav", Outcome::kRejectOpen, "trailer offset", 0},
    {"m16_document_line_count_huge.sav", Outcome::kRejectOpen, "document record claims 2147483647 lines", 0},
    {"m17_string_width_absurd.sav", Outcome::kRejectOpen, "invalid variable type 2147483647", 0},
    {"m18_value_label_variable_index_out_of_range.sav", Outcome::kWarn,
     "variable index 9999, outside the dictionary", 0},
};

class MalformedTest : public ::testing::TestWithParam<Case> {};

std::int64_t ReadAllCases(const Dataset& ds) {
  std::int64_t n = 0;
  if (auto stream = ds.OpenCases()) {
    while (stream->Next()) ++n;
  }
  return n;
}

TEST_P(MalformedTest, GivesAClearMessage) {
  const Case& c = GetParam();
  const std::string path = (fs::path(CODEBOOK_FIXTURES_DIR) / "malformed" / c.file).string();
  switch (c.outcome) {
    case Outcome::kRejectOpen:
      try {
        OpenDatasetFile(path);
        FAIL() << c.file << " opened";
      } catch (const FileError& e) {
        EXPECT_EQ(e.File(), path);
        EXPECT_EQ(std::string(e.what()).rfind(path + ": ", 0), 0u) << e.what();
        EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
      }
      break;
    case Outcome::kRejectPass: {
      ReadResult result = OpenDatasetFile(path);
      try {
        ReadAllCases(*result.dataset);
        FAIL() << c.file << " read to the end";
      } catch (const DataError& e) {
        EXPECT_EQ(e.FileName(), path);
        EXPECT_EQ(e.CaseNumber(), c.caseNumber) << e.what();
        EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
      }
      // A second pass meets the same problem again.
      EXPECT_THROW(ReadAllCases(*result.dataset), DataError);
      break;
    }
    case Outcome::kWarn: {
      ReadResult result = OpenDatasetFile(path);
      bool found = false;
      for (const auto& w : result.warnings) found = found || w.find(c.message) != std::string::npos;
      EXPECT_TRUE(found) << c.file << ": no warning containing \"" << c.message << "\"";
      EXPECT_EQ(ReadAllCases(*result.dataset), result.dataset->GetCaseCount());
      break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Malformed, MalformedTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) {
                           std::string name = info.param.file;
                           return name.substr(0, 3);
                         });

// What is not a file cannot be a dataset: a folder, a device.
TEST(MalformedTest, OnlyRegularFilesOpen) {
  for (const std::string path : {CODEBOOK_FIXTURES_DIR, "/dev/null"}) {
    try {
      OpenDatasetFile(path);
      ADD_FAILURE() << path << " opened";
    } catch (const FileError& e) {
      EXPECT_EQ(std::string(e.what()), path + ": cannot open: not a regular file");
    }
  }
}

// The data that precede a break are delivered before the error.
TEST(MalformedTest, CasesBeforeATruncationAreDelivered) {
  const std::string path =
      (fs::path(CODEBOOK_FIXTURES_DIR) / "malformed" / "m06_truncated_data_mid_case.sav").string();
  ReadResult result = OpenDatasetFile(path);
  bool warned = false;
  for (const auto& w : result.warnings) warned = warned || w.find("ends inside a case") != std::string::npos;
  EXPECT_TRUE(warned);
  auto stream = result.dataset->OpenCases();
  int n = 0;
  try {
    while (stream->Next()) ++n;
  } catch (const DataError&) {
  }
  EXPECT_EQ(n, 10);
}

// A damaged zlib block in the middle of the data: the cases of the blocks
// before it are delivered, then the error names the block and the case. The
// blocks are inflated ahead on other threads, but the error comes in order.
constexpr int kBlockSize = 1000;
constexpr std::size_t kDamaged = 100;  // of 217 blocks, counted from 0

struct Damage {
  const char* name;
  void (*apply)(test::ZlibParts::Block& block, test::ZlibParts& parts);
  const char* before;  // the message, around the block number
  const char* after;
};

std::ostream& operator<<(std::ostream& os, const Damage& d) { return os << d.name; }

const Damage kDamages[] = {
    {"checksum", [](auto& b, auto&) { b.compressed.back() ^= 1; },
     "corrupt compressed data in zlib block ", " (incorrect data check)"},
    {"header", [](auto& b, auto&) { b.compressed[1] ^= 1; },
     "corrupt compressed data in zlib block ", " (incorrect header check)"},
    {"cut_short", [](auto& b, auto&) { b.compressed.pop_back(); },
     "corrupt compressed data: zlib block ", " is incomplete"},
    {"bytes_after_the_end", [](auto& b, auto&) { b.compressed.push_back(0); },
     "corrupt compressed data: zlib block ", " ends before its compressed bytes"},
    {"declared_too_small", [](auto& b, auto&) { --b.declaredSize; },
     "corrupt compressed data: zlib block ", " inflates to more than its declared size"},
    {"declared_too_large",
     [](auto& b, auto& parts) {
       ++b.declaredSize;
       ++parts.blockSize;  // still within the block size
     },
     "corrupt compressed data: zlib block ", " inflates to less than its declared size"},
    // As m12: bytes in the middle overwritten; what zlib finds wrong varies.
    {"garbage", [](auto& b, auto&) { std::fill_n(b.compressed.begin() + b.compressed.size() / 2, 24, 0xA5); },
     "corrupt compressed data", ""},
};

class DamagedZlibBlockTest : public ::testing::TestWithParam<Damage> {
 protected:
  std::vector<std::uint8_t> DamagedFile() const {
    const auto ds = test::IncompressibleCases(3000);
    WriteOptions options;
    options.compression = FileCompression::kZlib;
    options.zlibBlockSize = kBlockSize;
    test::ZlibParts parts = test::SplitZlibFile(WriteDatasetBytes(*ds, options));
    EXPECT_GT(parts.blocks.size(), 2 * kDamaged);
    GetParam().apply(parts.blocks[kDamaged], parts);
    return test::JoinZlibFile(parts);
  }
  std::string Message() const {
    const Damage& d = GetParam();
    if (*d.after == '\0') return d.before;
    return d.before + std::to_string(kDamaged + 1) + d.after;
  }
  bool Matches(const std::string& error) const {
    if (*GetParam().after != '\0') return error == Message();
    return error.rfind(Message(), 0) == 0 &&
           error.find("zlib block " + std::to_string(kDamaged + 1) + " ") != std::string::npos;
  }
};

TEST_P(DamagedZlibBlockTest, CasesBeforeTheBlockThenItsNumber) {
  ReadResult result = ReadDatasetBytes(DamagedFile(), "damaged.zsav");
  const int before = static_cast<int>(kDamaged * kBlockSize / test::kIncompressibleCaseBytes);
  for (int pass = 0; pass < 2; ++pass) {  // a second pass meets the same damage
    auto stream = result.dataset->OpenCases();
    int n = 0;
    try {
      while (const OBS* row = stream->Next()) {
        ASSERT_EQ(row[6].d, test::IncompressibleNumber(n, 6)) << "case " << n + 1;
        ASSERT_EQ(std::string(reinterpret_cast<const char*>(row[7].c), 8), test::IncompressibleString(n));
        ++n;
      }
      FAIL() << "read to the end";
    } catch (const DataError& e) {
      EXPECT_EQ(n, before);
      EXPECT_EQ(e.CaseNumber(), before + 1);
      EXPECT_EQ(e.FileName(), "damaged.zsav");
      EXPECT_TRUE(Matches(e.Detail())) << e.Detail();
    }
  }
}

// The same at the stream, inflating ahead, on the reader's thread alone, and
// in pieces: a held block gives none of its bytes, one inflated in pieces
// may give those before the damage showed; the error is the same.
TEST_P(DamagedZlibBlockTest, StreamStopsAtTheBlockWhateverInflatesIt) {
  const auto file = DamagedFile();
  const std::vector<std::uint8_t> expected = test::BytecodeData(*test::IncompressibleCases(3000));
  const std::size_t before = kDamaged * kBlockSize;
  for (const sav::InflateOptions& options :
       {sav::InflateOptions{}, sav::InflateOptions{0, 1u << 20}, sav::InflateOptions{2, 0}}) {
    const test::Inflated got = test::InflateAll(file, options);
    EXPECT_TRUE(Matches(got.error)) << got.error;
    ASSERT_GE(got.bytes.size(), before);
    ASSERT_LE(got.bytes.size(), before + kBlockSize);
    if (options.maxHeldBlock > 0) {
      EXPECT_EQ(got.bytes.size(), before);
    }
    EXPECT_TRUE(std::equal(got.bytes.begin(), got.bytes.begin() + before, expected.begin()));
  }
}

INSTANTIATE_TEST_SUITE_P(Zlib, DamagedZlibBlockTest, ::testing::ValuesIn(kDamages),
                         [](const auto& info) { return std::string(info.param.name); });

// A file cut while it is read (its layout was checked when it was opened):
// the blocks before the cut are delivered, then the cut is named.
TEST(DamagedZlibBlockTest, FileCutWhileRead) {
  const auto ds = test::IncompressibleCases(3000);
  WriteOptions options;
  options.compression = FileCompression::kZlib;
  options.zlibBlockSize = kBlockSize;
  const auto file = WriteDatasetBytes(*ds, options);
  const test::ZlibParts parts = test::SplitZlibFile(file);
  std::uint64_t cut = parts.head.size() + 24;
  for (std::size_t i = 0; i < kDamaged; ++i) cut += parts.blocks[i].compressed.size();
  cut += 10;  // inside block kDamaged
  const std::vector<std::uint8_t> expected = test::BytecodeData(*ds);
  for (const sav::InflateOptions& options : {sav::InflateOptions{}, sav::InflateOptions{0, 1u << 20}}) {
    const test::Inflated got = test::InflateAll(file, options, cut);
    EXPECT_EQ(got.error, "corrupt compressed data: the file ends inside zlib block " + std::to_string(kDamaged + 1));
    EXPECT_EQ(got.bytes.size(), kDamaged * kBlockSize);
    EXPECT_TRUE(std::equal(got.bytes.begin(), got.bytes.end(), expected.begin()));
  }
}

}  // namespace
}  // namespace codebook::data
