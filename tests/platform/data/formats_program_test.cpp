// The other formats as a person uses them with the program: from standard
// input, several on one command line, a SAS format catalog given or found,
// compressed .sas7bdat rows, and what is not a dataset.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "testing/dataset_builder.h"
#include "testing/sas7bdat_writer.h"
#include "tests/platform/data/program_runner.h"

namespace {

namespace fs = std::filesystem;
using codebook::testing_data::ReadWhole;
using codebook::testing_data::RunProgram;
using codebook::testing_data::ShellQuote;

const fs::path kFolder = fs::path(CODEBOOK_FIXTURES_DIR).parent_path() / "fixtures-formats";

class FormatsProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("codebook-formats-program-" + std::to_string(getpid()));
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }
  fs::path Copy(const std::string& fixture, const std::string& name) const {
    const fs::path to = folder_ / name;
    fs::copy_file(kFolder / fixture, to, fs::copy_options::overwrite_existing);
    return to;
  }
  // The fixture ff06 with its file type made a catalog's.
  fs::path Catalog(const std::string& name) const {
    std::string bytes = ReadWhole(kFolder / "ff06_sas7bdat.sas7bdat");
    bytes.replace(156, 8, "CATALOG ");
    const fs::path to = folder_ / name;
    std::ofstream(to, std::ios::binary) << bytes;
    return to;
  }
  fs::path folder_;
};

TEST_F(FormatsProgram, EveryFormatReadsFromStandardInput) {
  for (const char* file : {"ff02_dta117_latin1.dta", "ff06_sas7bdat.sas7bdat", "ff07_xpt5.xpt", "ff08_xpt8.xpt"}) {
    SCOPED_TRACE(file);
    const std::string path = (kFolder / file).string();
    // A pipe (copied to a temporary file) and a redirected file alike.
    for (const std::string& input : {"cat " + ShellQuote(path) + " |", "<" + ShellQuote(path)}) {
      const auto piped = RunProgram({"--format", "json", "-", "/FILEINFO", "CASECOUNT", "/STATISTICS", "NONE"}, input);
      const auto direct = RunProgram({"--format", "json", path, "/FILEINFO", "CASECOUNT", "/STATISTICS", "NONE"});
      EXPECT_EQ(piped.status, 0) << piped.err;
      EXPECT_EQ(nlohmann::json::parse(piped.out)["items"].size(), nlohmann::json::parse(direct.out)["items"].size());
    }
  }
}

TEST_F(FormatsProgram, FurtherArgumentsOfEveryExtensionAreDatasets) {
  const auto result = RunProgram({"--format", "json", (kFolder / "ff05_dta117_one_case.dta").string(),
                                  (kFolder / "ff07_xpt5.xpt").string(), (kFolder / "ff06_sas7bdat.sas7bdat").string(),
                                  "/STATISTICS", "NONE"});
  EXPECT_EQ(result.status, 0) << result.err;
  const nlohmann::json document = nlohmann::json::parse(result.out);
  int headings = 0;
  for (const auto& item : document["items"]) headings += item["kind"] == "heading" ? 1 : 0;
  EXPECT_EQ(headings, 3);
}

// The contents decide, not the name.
TEST_F(FormatsProgram, TheFormatIsToldByTheContents) {
  const fs::path misnamed = Copy("ff03_dta115_storage.dta", "really_stata.sav");
  const auto result = RunProgram({misnamed.string(), "/STATISTICS", "NONE"});
  EXPECT_EQ(result.status, 0) << result.err;
  const fs::path text = folder_ / "notes.dta";
  std::ofstream(text) << "not a dataset at all\n";
  const auto refused = RunProgram({text.string()});
  EXPECT_EQ(refused.status, 3);
  EXPECT_NE(refused.err.find("not a dataset file"), std::string::npos);
  EXPECT_NE(refused.err.find(".sas7bdat"), std::string::npos) << "lists the formats read: " << refused.err;
}

TEST_F(FormatsProgram, AFormatCatalogIsCheckedAndItsLabelsSaidNotRead) {
  const fs::path data = Copy("ff06_sas7bdat.sas7bdat", "survey.sas7bdat");
  // Found beside the file.
  Catalog("survey.sas7bcat");
  const auto beside = RunProgram({data.string(), "id", "/STATISTICS", "NONE"});
  EXPECT_EQ(beside.status, 0) << beside.err;
  EXPECT_NE(beside.err.find("survey.sas7bcat"), std::string::npos) << beside.err;
  EXPECT_NE(beside.err.find("are not read"), std::string::npos) << beside.err;
  // Given: one that is missing, or none, is an error.
  const auto missing = RunProgram({"--catalog", (folder_ / "nowhere.sas7bcat").string(), data.string()});
  EXPECT_EQ(missing.status, 3);
  EXPECT_NE(missing.err.find("nowhere.sas7bcat"), std::string::npos) << missing.err;
  const auto notCatalog = RunProgram({"--catalog", (kFolder / "ff07_xpt5.xpt").string(), data.string()});
  EXPECT_EQ(notCatalog.status, 3);
  EXPECT_NE(notCatalog.err.find("is not a SAS format catalog"), std::string::npos) << notCatalog.err;
  // A catalog is no dataset.
  const auto opened = RunProgram({Catalog("formats.sas7bcat").string()});
  EXPECT_EQ(opened.status, 3);
  EXPECT_NE(opened.err.find("a SAS format catalog"), std::string::npos) << opened.err;
}

// The exports show an extended missing code as people write it, and count
// it as missing.
TEST_F(FormatsProgram, ExportsShowExtendedMissingCodes) {
  const std::string file = (kFolder / "ff01_dta118_utf8.dta").string();
  const auto dictionary = RunProgram({"--format", "dictionary", file, "q1"});
  EXPECT_EQ(dictionary.status, 0) << dictionary.err;
  EXPECT_NE(dictionary.out.find("5=Strongly agree; .a=Don't know; .b=Refused; .c=Not asked (never occurs),184,16"),
            std::string::npos)
      << dictionary.out;
  const auto ddi = RunProgram({"--format", "ddi", file, "q1"});
  EXPECT_EQ(ddi.status, 0) << ddi.err;
  EXPECT_NE(ddi.out.find("<catgry missing=\"Y\">\n        <catValu>.a</catValu>"), std::string::npos) << ddi.out;
  EXPECT_EQ(ddi.out.find("<invalrng>"), std::string::npos) << "the codes are no declared missing range";
}

// The codebook of a .sas7bdat file of compressed rows is that of the same
// rows uncompressed; a damaged row ends the run with status 3 and names
// the file, the format, the case and the fault.
TEST_F(FormatsProgram, CompressedSas7bdatRowsGiveTheSameCodebook) {
  using codebook::data::Sas7bdatWriteOptions;
  codebook::data::DatasetBuilder b;
  b.Numeric("score").Label("Score");
  b.Numeric("visit").Label("Visit");
  b.String("group", 16).Label("Group");
  for (int i = 0; i < 300; ++i) {
    b.Case({i % 7 == 0 ? ::kSysmis : i * 0.25, (21000.0 + i % 30 + 137775.0) * 86400.0,
            i % 3 == 0 ? "control" : i % 3 == 1 ? "treated" : "treated again"});
  }
  const auto data = b.Build();
  Sas7bdatWriteOptions o;
  o.pageSize = 2048;
  o.columns["visit"].format = "DATE9.";
  const auto write = [&](const Sas7bdatWriteOptions& options, const std::string& folder) {
    fs::create_directories(folder_ / folder);
    const fs::path path = folder_ / folder / "visits.sas7bdat";
    const auto bytes = codebook::data::WriteSas7bdatBytes(*data, options);
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
    return path;
  };
  const auto run = [&](const fs::path& path, const std::string& folder) {
    auto result = RunProgram({path.string()});
    // The file's location is the only difference allowed.
    for (std::size_t at; (at = result.out.find(folder_.string() + "/" + folder)) != std::string::npos;) {
      result.out.replace(at, folder_.string().size() + 1 + folder.size(), "FOLDER");
    }
    return result;
  };
  const auto plain = run(write(o, "plain"), "plain");
  ASSERT_EQ(plain.status, 0) << plain.err;
  EXPECT_NE(plain.out.find("treated again"), std::string::npos) << plain.out;
  for (const auto& [packing, name] : {std::pair{Sas7bdatWriteOptions::Packing::kRle, "SASYZCRL"},
                                      std::pair{Sas7bdatWriteOptions::Packing::kRdc, "SASYZCR2"}}) {
    SCOPED_TRACE(name);
    Sas7bdatWriteOptions packed = o;
    packed.packing = packing;
    packed.compression = name;
    const auto result = run(write(packed, name), name);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, plain.out);
    EXPECT_EQ(result.err, plain.err);
    packed.cutRow = 99;
    const fs::path cut = write(packed, std::string(name) + "-cut");
    const auto damaged = RunProgram({cut.string()});
    EXPECT_EQ(damaged.status, 3);
    for (const std::string& piece : {cut.string(), std::string("case 100"), std::string("SAS .sas7bdat file"),
                                     std::string(name), std::string("is damaged")}) {
      EXPECT_NE(damaged.err.find(piece), std::string::npos) << piece << " in " << damaged.err;
    }
  }
}

}  // namespace
