// Damaged variants of every .dta, .sas7bdat and .xpt fixture, made here:
// cut at several points, a header field corrupted, the signature wrong.
// Each gives one clear error naming the file and the format, and status 3;
// the program never crashes, hangs or writes a partial codebook. (Under
// AddressSanitizer the same runs check that nothing is read out of
// bounds.)
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "tests/platform/data/program_runner.h"

namespace {

namespace fs = std::filesystem;
using codebook::testing_data::ReadWhole;
using codebook::testing_data::RunProgram;

const fs::path kFolder = fs::path(CODEBOOK_FIXTURES_DIR).parent_path() / "fixtures-formats";

struct Damage {
  std::string name;
  std::function<void(std::string&)> apply;
};

// A cut at a fraction of the file, moved off the 80-byte records of a
// transport file: a transport file cut at a record boundary inside its
// rows is a shorter file as far as anyone can tell (the format stores no
// case count).
Damage CutAt(double fraction) {
  return {"cut_at_" + std::to_string(static_cast<int>(fraction * 100)) + "pct", [fraction](std::string& bytes) {
            std::size_t at = static_cast<std::size_t>(static_cast<double>(bytes.size()) * fraction);
            if (at % 80 == 0) at += 7;
            bytes.resize(std::min(at, bytes.size() - 1));
          }};
}

std::vector<Damage> Damages() {
  return {
      {"empty", [](std::string& bytes) { bytes.clear(); }},
      {"cut_in_header", [](std::string& bytes) { bytes.resize(40); }},
      {"cut_after_header", [](std::string& bytes) { bytes.resize(300); }},
      CutAt(0.1), CutAt(0.37), CutAt(0.5), CutAt(0.83), CutAt(0.99),
      {"cut_last_byte", [](std::string& bytes) { bytes.pop_back(); }},
      {"wrong_signature", [](std::string& bytes) { bytes.replace(0, 4, "\x7f" "ELF"); }},
  };
}

// A header field that the reader must check, per format.
void CorruptHeader(const std::string& extension, std::string& bytes) {
  if (extension == ".dta") {
    if (bytes.starts_with("<stata_dta>")) {
      bytes.replace(bytes.find("<K>") + 3, 2, "\xff\xff");  // 65535 variables
    } else {
      bytes[4] = '\xff';  // the number of variables
      bytes[5] = '\xff';
    }
  } else if (extension == ".sas7bdat") {
    bytes.replace(200, 4, std::string("\x00\x00\x00\x7f", 4));  // the page size
  } else {
    bytes.replace(3 * 80 + 74, 4, "0999");  // the descriptors' size
  }
}

struct Case {
  std::string file;
  Damage damage;
};

void PrintTo(const Case& c, std::ostream* os) { *os << c.file << " " << c.damage.name; }

std::vector<Case> Cases() {
  std::vector<Case> out;
  if (!fs::exists(kFolder)) return out;
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(kFolder)) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".dta" || extension == ".sas7bdat" || extension == ".xpt") files.push_back(entry.path().filename());
  }
  std::sort(files.begin(), files.end());
  for (const std::string& file : files) {
    for (const Damage& damage : Damages()) out.push_back({file, damage});
    const std::string extension = fs::path(file).extension().string();
    out.push_back({file, {"corrupt_header", [extension](std::string& b) { CorruptHeader(extension, b); }}});
  }
  return out;
}

std::string FormatName(const std::string& extension) {
  if (extension == ".dta") return "Stata .dta";
  if (extension == ".sas7bdat") return "SAS .sas7bdat";
  return "SAS transport";
}

class Malformed : public ::testing::TestWithParam<Case> {};

TEST_P(Malformed, OneClearErrorAndStatusThree) {
  const Case& c = GetParam();
  std::string bytes = ReadWhole(kFolder / c.file);
  c.damage.apply(bytes);
  const fs::path damaged = fs::temp_directory_path() / ("damaged-" + std::to_string(getpid()) + "-" + c.file);
  std::ofstream(damaged, std::ios::binary) << bytes;
  const auto result = RunProgram({"--format", "json", damaged.string()});
  fs::remove(damaged);
  EXPECT_EQ(result.status, 3) << result.err;
  EXPECT_NE(result.err.find(damaged.string()), std::string::npos) << "names the file: " << result.err;
  const std::string extension = fs::path(c.file).extension().string();
  const bool unknown = c.damage.name == "empty" || c.damage.name == "wrong_signature" ||
                       (c.damage.name == "cut_in_header" && extension == ".dta" && bytes.size() < 11);
  if (unknown) {
    EXPECT_NE(result.err.find("not a dataset file"), std::string::npos) << result.err;
  } else {
    EXPECT_NE(result.err.find(FormatName(extension)), std::string::npos) << "names the format: " << result.err;
  }
  EXPECT_EQ(result.out.find("\"Variable Information\""), std::string::npos) << "no partial codebook";
}

std::string Name(const ::testing::TestParamInfo<Case>& info) {
  std::string name = fs::path(info.param.file).stem().string() + "_" + info.param.damage.name;
  for (char& ch : name) {
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Files, Malformed, ::testing::ValuesIn(Cases()), Name);

}  // namespace
