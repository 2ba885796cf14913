// Write -> read -> write gives the same bytes, in every layout and with the
// writer's options, over a dictionary that uses every feature the file
// format carries; and what is read back is what was written.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string>

#include "platform/data/data_error.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/raw_dictionary.h"
#include "platform/data/sav/read_dataset.h"
#include "platform/data/sav/warnings.h"
#include "platform/data/sav/write_dataset.h"
#include "platform/data/sav/zlib_stream.h"
#include "testing/dataset_builder.h"
#include "tests/platform/data/sav_test_util.h"

namespace codebook::data {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

std::shared_ptr<Dataset> EveryFeature(std::string encoding = "UTF-8") {
  DatasetBuilder b;
  b.Numeric("id").Format(VELA_Format::F, 4).Level(1).DisplayWidth(6).Align(Alignment::kLeft);
  b.Numeric("Income_2023").Label("Yearly income (€)").PrintFormat({VELA_Format::COMMA, 12, 2})
      .WriteFormat({VELA_Format::F, 12, 2}).Level(3).Role(1)
      .MissingRange(-kInf, 0).Attribute("Source", {"survey"}).Attribute("$Reserved", {"x"})
      .Attribute("Notes", {"first", "second, with 'quotes'", ""});
  b.Numeric("satisfaction").Label("").Format(VELA_Format::F, 1).Level(2).Role(2)
      .ValueLabel(1, "Low").ValueLabel(2, "Middle").ValueLabel(3, "High").ValueLabel(9, "No answer")
      .MissingDiscrete({9, 8, -1});
  b.Numeric("score").Format(VELA_Format::F, 6, 3).MissingRange(90, kInf, -5.5).Role(4);
  b.Numeric("born").Format(VELA_Format::DATE, 11).Role(5);
  b.Numeric("stamp").Format(VELA_Format::DATETIME, 22, 1).Role(3);
  b.Numeric("lap").Format(VELA_Format::MTIME, 8, 2);
  b.Numeric("when").Format(VELA_Format::YMDHMS, 19);
  b.Numeric("wgt").Format(VELA_Format::F, 8, 3);
  b.String("flag", 1).ValueLabel("Y", "Yes").ValueLabel("N", "No").MissingStrings({"?"});
  b.String("code", 8).Label("Code – ünïcödé").ValueLabel("alpha", "First").MissingStrings({"n/a", "none", "xx"});
  b.String("city", 20).ValueLabel("Zürich", "City").ValueLabel("Oslo", "Capital").MissingStrings({"unknown"});
  b.String("comment", 300).Label("A very long string").ValueLabel(std::string(290, 'x'), "Long value")
      .MissingStrings({"n/a"}).Level(1);
  b.String("essay", 1000).Align(Alignment::kCenter);
  b.Numeric("brand_a").Label("Uses brand A").ValueLabel(1, "Yes");
  b.Numeric("brand_b").Label("Uses brand B").ValueLabel(1, "Yes");
  b.String("media_tv", 1);
  b.String("media_web", 1);
  b.Weight("wgt");
  b.FileLabel("Round trip – every feature");
  b.Document({"First document line.", "   (Entered 01 Jan 2024)"});
  b.Document({"Second document, ünïcödé.", "   (Entered 02 Jan 2024)"});
  b.FileAttribute("Origin", {"generated"}).FileAttribute("Versions", {"1.0", "1.1", "1.2"});
  auto set = [](std::string name, std::string label, int kind, std::vector<std::string> members,
                std::string counted = "", bool enhanced = false, bool fromFirst = false) {
    VariableSetImpl::Definition d;
    d.name = std::move(name);
    d.label = std::move(label);
    d.kind = kind;
    d.members = std::move(members);
    d.countedValue = std::move(counted);
    d.enhanced = enhanced;
    d.categoryLabelsFromCountedValue = enhanced;
    d.labelFromFirstVariable = fromFirst;
    return d;
  };
  const auto cat = set("$cities", "Cities", VariableSetImpl::kMultipleCategory, {"flag", "code"});
  const auto dich = set("$media", "", VariableSetImpl::kMultipleDichotomy, {"media_tv", "media_web"}, "Y");
  const auto ext = set("$brands", "Brands", VariableSetImpl::kMultipleDichotomy, {"brand_a", "brand_b"}, "1", true);
  const auto first = set("$brands_vl", "Uses brand A", VariableSetImpl::kMultipleDichotomy,
                         {"brand_a", "brand_b"}, "1", true, true);
  b.MRSet(cat).MRSet(dich).MRSet(ext).MRSet(first);
  b.Encoding(encoding);
  const std::string essay = std::string(600, 'e') + "ünï" + std::string(200, 'z');
  for (int i = 0; i < 40; ++i) {
    Row row;
    row.push_back(i + 1);
    row.push_back(i % 7 == 0 ? kSysmis : 1000.25 * i - 5000);
    row.push_back(i % 4 + 1);
    row.push_back(i % 5 == 0 ? -0.0 : i * 1.0e-7 + (i % 3 == 0 ? 1e20 : 151));
    row.push_back(13166064000.0 + 86400.0 * i);
    row.push_back(i % 9 == 0 ? kSysmis : 13928544000.5);
    row.push_back(-99.0 + i);
    row.push_back(252.0 - i);
    row.push_back(i % 6 == 0 ? 0.0 : 1.5 * (i % 4));
    row.push_back(i % 2 ? "Y" : "N");
    row.push_back(i % 3 ? "alpha" : "");
    row.push_back(i % 2 ? "Zürich" : "  Oslo");
    row.push_back(std::string(static_cast<std::size_t>(i * 7), 'c') + "é");
    row.push_back(i % 5 == 0 ? std::string() : essay);
    row.push_back(i % 2);
    row.push_back((i / 2) % 2);
    row.push_back(i % 3 ? "Y" : "N");
    row.push_back(i % 4 ? "N" : "Y");
    b.Case(std::move(row));
  }
  return b.Build();
}

// A readable dump of everything a dataset says, to compare what was written
// with what was read.
std::string Describe(const Dataset& ds) {
  std::ostringstream out;
  const Dictionary& d = ds.GetDictionary();
  out << "label=" << d.FileLabel().value_or("<none>") << " weight=" << d.WeightIndex()
      << " cases=" << ds.GetCaseCount() << "\n";
  for (const auto& doc : d.Documents()) {
    out << "doc:";
    for (int i = 0; i < doc.Size(); ++i) out << " [" << doc[i] << "]";
    out << "\n";
  }
  for (const auto& a : d.Attributes().All()) {
    out << "fattr " << a.name << ":";
    for (const auto& v : a.values) out << " [" << v << "]";
    out << "\n";
  }
  for (int i = 0; i < d.VariableCount(); ++i) {
    const Variable& v = *d.GetVariable(i);
    out << v.Name() << " w=" << v.DeclaredWidth() << " label=" << (v.Label() ? "[" + *v.Label() + "]" : "none")
        << " " << test::FormatText(v.PrintFormat()) << "/" << test::FormatText(v.WriteFormat())
        << " level=" << v.GetMeasurementLevel() << " role=" << v.GetRole() << " dw=" << v.DisplayWidth()
        << " align=" << static_cast<int>(v.GetAlignment()) << "\n";
    for (const auto& a : v.GetAttributes().All()) {
      out << "  attr " << a.name << ":";
      for (const auto& x : a.values) out << " [" << x << "]";
      out << "\n";
    }
    if (const auto& set = v.ValueLabels()) {
      for (std::size_t k = 0; k < set->Size(); ++k) {
        out << "  vl ";
        if (set->IsString()) out << "[" << set->StringValue(k) << "]";
        else out << set->NumericValue(k);
        out << " = " << set->Label(k) << "\n";
      }
    }
    const MissingValues& m = v.Missing();
    for (double x : m.Discrete()) out << "  miss " << x << "\n";
    for (const auto& x : m.StringValues()) out << "  miss [" << x << "]\n";
    if (m.GetRange()) out << "  range " << m.GetRange()->low << " " << m.GetRange()->high << "\n";
  }
  for (const auto& s : d.MRSets()) {
    const auto& def = s.Get();
    out << "set " << def.name << " [" << def.label << "] kind=" << def.kind << " counted=[" << def.countedValue
        << "] e=" << def.enhanced << def.categoryLabelsFromCountedValue << def.labelFromFirstVariable << ":";
    for (const auto& m : def.members) out << " " << m;
    out << "\n";
  }
  if (auto cases = ds.OpenCases()) {
    while (const OBS* c = cases->Next()) {
      for (int i = 0; i < d.VariableCount(); ++i) {
        const Variable& v = *d.GetVariable(i);
        const OBS* cell = c + d.CellOffset(i);
        if (v.IsNumeric()) {
          char buf[40];
          std::snprintf(buf, sizeof buf, "%.17g%s", cell->d, std::signbit(cell->d) && cell->d == 0 ? "(-)" : "");
          out << buf << "|";
        } else {
          out << "[" << TrimTrailingBlanks(v.StringValue(cell)) << "]|";
        }
      }
      out << "\n";
    }
  }
  return out.str();
}

struct Layout {
  const char* name;
  WriteOptions options;
};

WriteOptions Options(FileCompression c, bool bigEndian = false, bool hostCodes = false, int block = 0x3FF000) {
  WriteOptions o;
  o.compression = c;
  o.bigEndian = bigEndian;
  o.hostTimeCodes = hostCodes;
  o.zlibBlockSize = block;
  return o;
}

std::ostream& operator<<(std::ostream& os, const Layout& l) { return os << l.name; }

class RoundTripTest : public ::testing::TestWithParam<Layout> {};

TEST_P(RoundTripTest, WriteReadWriteIsByteIdentical) {
  const WriteOptions& options = GetParam().options;
  auto original = EveryFeature();
  const std::vector<std::uint8_t> first = WriteDatasetBytes(*original, options);
  ReadResult read = ReadDatasetBytes(first, "first.sav");
  for (const auto& w : read.warnings) {
    // Blocks of another size than the usual are allowed but worth a note.
    const bool expected = options.zlibBlockSize != 0x3FF000 && w.find("zlib block size") != std::string::npos;
    if (!expected) ADD_FAILURE() << "warning: " << w;
  }
  EXPECT_EQ(static_cast<int>(read.info.compression), static_cast<int>(options.compression));
  EXPECT_EQ(read.info.bigEndian, options.bigEndian);
  const std::vector<std::uint8_t> second = WriteDatasetBytes(*read.dataset, options);
  EXPECT_EQ(first.size(), second.size());
  EXPECT_TRUE(first == second) << "the second write differs";
  EXPECT_EQ(Describe(*original), Describe(*read.dataset));
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, RoundTripTest,
    ::testing::Values(Layout{"uncompressed", Options(FileCompression::kNone)},
                      Layout{"bytecode", Options(FileCompression::kBytecode)},
                      Layout{"zlib", Options(FileCompression::kZlib)},
                      Layout{"zlib_small_blocks", Options(FileCompression::kZlib, false, false, 64)},
                      Layout{"bigendian_bytecode", Options(FileCompression::kBytecode, true)},
                      Layout{"bigendian_zlib", Options(FileCompression::kZlib, true, false, 1000)},
                      Layout{"host_time_codes", Options(FileCompression::kNone, false, true)}),
    [](const auto& info) { return std::string(info.param.name); });

// A file in a single-byte encoding: text is converted on the way out and
// back, string cells are widened so that converted text fits, and the
// second write is the same as the first.
TEST(RoundTripEncodingTest, Windows1252) {
  auto original = EveryFeature("windows-1252");
  WriteOptions options;
  options.encoding = "windows-1252";
  const auto first = WriteDatasetBytes(*original, options);
  ReadResult read = ReadDatasetBytes(first, "cp1252.sav");
  EXPECT_EQ(read.dataset->GetDictionary().Encoding(), "windows-1252");
  const auto second = WriteDatasetBytes(*read.dataset, options);
  EXPECT_TRUE(first == second);
  const Dictionary& d = read.dataset->GetDictionary();
  const Variable& city = *d.GetVariable(d.FindVarIndex("city"));
  EXPECT_EQ(city.DeclaredWidth(), 20);
  EXPECT_EQ(city.CellWidth(), 64);  // three bytes per declared byte, whole cells
  EXPECT_EQ(Describe(*original), Describe(*read.dataset));
}

// The same through files on disk.
TEST(RoundTripFileTest, WritesAndReadsAFile) {
  const auto path = std::filesystem::temp_directory_path() / "codebook_sav_roundtrip_test.zsav";
  auto original = EveryFeature();
  WriteDatasetFile(*original, path.string(), Options(FileCompression::kZlib));
  ReadResult read = OpenDatasetFile(path.string());
  EXPECT_EQ(read.dataset->GetFileSpec(), path.string());
  EXPECT_EQ(Describe(*original), Describe(*read.dataset));
  std::filesystem::remove(path);
}

// A file that cannot be made, or whose writes fail (a full disk).
TEST(RoundTripFileTest, UnwritablePathNamesTheFile) {
  auto original = EveryFeature();
  for (const std::string expected : {"/nonexistent-dir/x.sav: cannot create", "/dev/full: cannot write"}) {
    try {
      WriteDatasetFile(*original, expected.substr(0, expected.find(':')));
      ADD_FAILURE() << expected;
    } catch (const FileError& e) {
      EXPECT_EQ(std::string(e.what()).rfind(expected, 0), 0u) << e.what();
    }
  }
}

// A dataset whose case count is unknown is written with the count found.
TEST(RoundTripFileTest, UnknownCountIsPatched) {
  auto ds = DatasetBuilder().Numeric("x").Cases({{1}, {2}, {3}}).DeclaredCaseCount(-1).Build();
  for (auto c : {FileCompression::kNone, FileCompression::kBytecode, FileCompression::kZlib}) {
    ReadResult read = ReadDatasetBytes(WriteDatasetBytes(*ds, Options(c)), "n.sav");
    EXPECT_EQ(read.dataset->GetCaseCount(), 3);
    EXPECT_EQ(read.info.declaredCases, 3);
  }
}

TEST(RoundTripFileTest, NoVariables) {
  auto ds = DatasetBuilder().FileLabel("empty").Build();
  for (auto c : {FileCompression::kNone, FileCompression::kBytecode, FileCompression::kZlib}) {
    const auto bytes = WriteDatasetBytes(*ds, Options(c));
    ReadResult read = ReadDatasetBytes(bytes, "empty.sav");
    EXPECT_EQ(read.dataset->ColumnCount(), 0);
    EXPECT_EQ(read.dataset->GetCaseCount(), 0);
    EXPECT_TRUE(bytes == WriteDatasetBytes(*read.dataset, Options(c)));
  }
}

// Every shared fixture, written again in each layout and in its own
// encoding, reads back with the same dictionary and cases.
TEST(RoundTripFixturesTest, FixturesSurviveRewriting) {
  for (const auto& entry : std::filesystem::directory_iterator(CODEBOOK_FIXTURES_DIR)) {
    const auto ext = entry.path().extension();
    if (ext != ".sav" && ext != ".zsav") continue;
    const std::string name = entry.path().filename().string();
    ReadResult original = OpenDatasetFile(entry.path().string());
    const std::string expected = Describe(*original.dataset);
    for (auto c : {FileCompression::kNone, FileCompression::kBytecode, FileCompression::kZlib}) {
      WriteOptions options = Options(c);
      options.encoding = original.dataset->GetDictionary().Encoding();
      const auto bytes = WriteDatasetBytes(*original.dataset, options);
      ReadResult again = ReadDatasetBytes(bytes, name);
      for (const auto& w : again.warnings) ADD_FAILURE() << name << ": " << w;
      EXPECT_EQ(expected, Describe(*again.dataset)) << name << " layout " << static_cast<int>(c);
      EXPECT_TRUE(bytes == WriteDatasetBytes(*again.dataset, options)) << name;
    }
  }
}

}  // namespace
}  // namespace codebook::data

namespace codebook::data {
namespace {

// Files with more than a megabyte of cases are decoded on a second thread.
// A large file cut inside a case must deliver the same cases and the same
// error, at the same case number, as a small one does.
TEST(RoundTripFileTest, LargeFileCutInsideACaseFailsAtTheSameCase) {
  DatasetBuilder builder;
  builder.Numeric("id").Numeric("x");
  std::vector<Row> rows;
  for (int c = 0; c < 200000; ++c) rows.push_back({Value(static_cast<double>(c)), Value(c * 0.5)});
  auto ds = builder.Cases(std::move(rows)).Build();
  for (auto compression : {FileCompression::kNone, FileCompression::kBytecode}) {
    std::vector<std::uint8_t> bytes = WriteDatasetBytes(*ds, Options(compression));
    ASSERT_GT(bytes.size(), std::size_t{2} << 20);
    bytes.resize(bytes.size() - (compression == FileCompression::kNone ? 4 : bytes.size() / 3));
    ReadResult read = ReadDatasetBytes(bytes, "cut.sav");
    auto cases = read.dataset->OpenCases();
    long c = 0;
    try {
      while (const OBS* row = cases->Next()) {
        ASSERT_EQ(row[0].d, static_cast<double>(c));
        ++c;
      }
      FAIL() << "no error after " << c << " cases";
    } catch (const DataError& e) {
      EXPECT_GT(c, 0);
      EXPECT_NE(std::string(e.what()).find("case " + std::to_string(c + 1)), std::string::npos) << e.what();
    }
  }
}

// The zlib data stream: whether blocks are inflated ahead on worker threads,
// on the reader's thread, or in pieces when too large to hold, the reader
// gets the byte code of the data in file order, however it slices its reads.
struct InflateCase {
  const char* name;
  std::int32_t blockSize;
  sav::InflateOptions options;
};

std::ostream& operator<<(std::ostream& os, const InflateCase& c) { return os << c.name; }

class ZlibStreamTest : public ::testing::TestWithParam<InflateCase> {};

TEST_P(ZlibStreamTest, DeliversTheByteCodeInOrder) {
  const InflateCase& c = GetParam();
  auto ds = test::IncompressibleCases(3000);
  const std::vector<std::uint8_t> expected = test::BytecodeData(*ds);
  const auto file = WriteDatasetBytes(*ds, Options(FileCompression::kZlib, false, false, c.blockSize));
  const test::Inflated got = test::InflateAll(file, c.options);
  EXPECT_EQ(got.error, "");
  ASSERT_EQ(got.bytes.size(), expected.size());
  EXPECT_TRUE(got.bytes == expected);
}

constexpr std::size_t kHeld = std::size_t{8} << 20;

INSTANTIATE_TEST_SUITE_P(
    Inflate, ZlibStreamTest,
    ::testing::Values(InflateCase{"default_workers", 1000, {}},
                      InflateCase{"one_worker", 1000, {1, kHeld}},
                      InflateCase{"two_workers_tiny_blocks", 64, {2, kHeld}},
                      InflateCase{"reader_thread_only", 1000, {0, kHeld}},
                      InflateCase{"all_streamed", 1000, {2, 0}},
                      // full blocks streamed, the short last one held
                      InflateCase{"held_and_streamed", 4096, {2, 4095}},
                      InflateCase{"one_standard_block", 0x3FF000, {}}),
    [](const auto& info) { return std::string(info.param.name); });

// A reader that stops early (after no case, a few, or in the middle) frees
// the stream while its workers are still inflating ahead: the threads stop
// and nothing leaks (the sanitizer builds check that), and the next pass
// starts again from the first case.
TEST(ZlibReadTest, AStreamLeftEarlyStopsItsWorkers) {
  auto ds = test::IncompressibleCases(20000);
  ReadResult read = ReadDatasetBytes(WriteDatasetBytes(*ds, Options(FileCompression::kZlib, false, false, 1000)),
                                     "early.zsav");
  for (int stopAfter : {0, 1, 5, 10000}) {
    auto cases = read.dataset->OpenCases();
    for (int c = 0; c < stopAfter; ++c) {
      const OBS* row = cases->Next();
      ASSERT_NE(row, nullptr);
      ASSERT_EQ(row[0].d, test::IncompressibleNumber(c, 0));
    }
  }
  const auto file = WriteDatasetBytes(*ds, Options(FileCompression::kZlib, false, false, 1000));
  for (const sav::InflateOptions& options : {sav::InflateOptions{2, kHeld}, sav::InflateOptions{2, 0}}) {
    for (std::size_t bytes : {std::size_t{0}, std::size_t{100}, std::size_t{700000}}) {
      std::vector<std::uint8_t> prefix(bytes);
      auto source = sav::MemorySource(file, "early.zsav");
      sav::Warnings warnings;
      const auto raw = sav::ReadRawDictionary(*source, warnings);
      auto stream = sav::MakeZlibStream(
          source, sav::ReadZlibLayout(*source, raw.dataOffset, false, raw.header.bias, warnings), options);
      EXPECT_EQ(stream->Read(prefix), bytes);
    }
  }
  auto cases = read.dataset->OpenCases();
  ASSERT_NE(cases->Next(), nullptr);
}

}  // namespace
}  // namespace codebook::data
