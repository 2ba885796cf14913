// Every deliberately broken file gives a clear message naming the file and
// the problem: rejected when opened, rejected by the case stream at the case
// where the data break, or read with a warning about the damaged record.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/data/data_error.h"
#include "platform/data/sav/read_dataset.h"

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
    {"m03_bad_magic.sav", Outcome::kRejectOpen, "not a dataset file (bad signature)", 0},
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

}  // namespace
}  // namespace codebook::data
