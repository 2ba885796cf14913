// The SAS readers on files made here, for what the fixtures do not have:
// .sas7bdat in the 32-bit layout and big-endian, rows on a mix page,
// shortened numbers, declared encodings;
// transport files with shortened numbers, long names and labels, several
// members, and the padding of the last record.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "platform/data/extended_missing.h"
#include "platform/data/read_dataset.h"
#include "platform/data/sav/file_error.h"
#include "testing/dataset_builder.h"
#include "testing/sas7bdat_writer.h"
#include "testing/xpt_writer.h"

namespace codebook::data {
namespace {

const double kA = *ExtendedMissingValue('A');
const double kUnderscore = *ExtendedMissingValue('_');
const double kDay = 86400.0;
const double kNewYear2024 = (23376.0 + 137775.0) * kDay;  // 2024-01-01

std::shared_ptr<Dataset> Sample() {
  DatasetBuilder b;
  b.Numeric("amount").Label("Amount");
  b.Numeric("visit").Label("Visit date");
  b.Numeric("short").Label("Four bytes");
  b.String("city", 12).Label("City");
  b.Case({1234.5, kNewYear2024, 2.5, "Zürich"});
  b.Case({kA, kSysmis, -0.75, ""});
  b.Case({kUnderscore, kNewYear2024 + kDay, 1e6, "Oslo"});
  b.Case({0.1, kNewYear2024 - kDay, 0.0, "  lead"});
  // Enough more cases to fill several small pages.
  for (int i = 0; i < 150; ++i) b.Case({static_cast<double>(i), kNewYear2024, 1.0, "more"});
  return b.Build();
}

std::vector<std::vector<OBS>> Cases(const Dataset& ds) {
  std::vector<std::vector<OBS>> out;
  auto stream = ds.OpenCases();
  while (const OBS* row = stream->Next()) out.emplace_back(row, row + ds.GetDictionary().CellsPerCase());
  return out;
}

std::string Text(const Dataset& ds, const std::vector<OBS>& row, int index) {
  const Dictionary& d = ds.GetDictionary();
  std::string_view s = d.GetVariable(index)->StringValue(row.data() + d.CellOffset(index));
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return std::string(s);
}

// What every layout must read back of Sample(); `shortened` is what a
// number of four bytes keeps of 0.1 (0.1 itself where all 8 are kept).
void ExpectSample(const ReadResult& read, double firstOfLast) {
  const Dataset& ds = *read.dataset;
  const Dictionary& d = ds.GetDictionary();
  ASSERT_EQ(d.VariableCount(), 4);
  EXPECT_EQ(d.GetVariable(0)->Name(), "amount");
  EXPECT_EQ(*d.GetVariable(1)->Label(), "Visit date");
  EXPECT_EQ(d.GetVariable(0)->PrintFormat(), VELA_Format(VELA_Format::DOLLAR, 10, 2));
  EXPECT_EQ(d.GetVariable(1)->PrintFormat(), VELA_Format(VELA_Format::DATE, 11, 0));
  EXPECT_EQ(d.GetVariable(2)->PrintFormat(), VELA_Format(VELA_Format::G, 12, 0));
  EXPECT_EQ(d.GetVariable(0)->GetMeasurementLevel(), VELA_Variable::kScale);
  EXPECT_EQ(d.GetVariable(3)->GetMeasurementLevel(), VELA_Variable::kNominal);
  const auto cases = Cases(ds);
  ASSERT_EQ(cases.size(), 154u);
  EXPECT_EQ(cases[153][0].d, 149.0);
  EXPECT_EQ(cases[0][0].d, 1234.5);
  EXPECT_EQ(cases[1][0].d, kA);
  EXPECT_EQ(cases[2][0].d, kUnderscore);
  EXPECT_EQ(cases[3][0].d, firstOfLast);
  EXPECT_EQ(cases[0][1].d, kNewYear2024);
  EXPECT_EQ(cases[1][1].d, kSysmis);
  EXPECT_EQ(cases[3][1].d, kNewYear2024 - kDay);
  EXPECT_EQ(cases[0][2].d, 2.5);
  EXPECT_EQ(cases[1][2].d, -0.75);
  EXPECT_EQ(cases[2][2].d, 1e6);
  EXPECT_EQ(cases[3][2].d, 0.0);
  EXPECT_EQ(Text(ds, cases[0], 3), "Zürich");
  EXPECT_EQ(Text(ds, cases[1], 3), "");
  EXPECT_EQ(Text(ds, cases[3], 3), "  lead");
}

struct Sas7bdatLayout {
  bool is64, bigEndian, mix;
};

void PrintTo(const Sas7bdatLayout& l, std::ostream* os) {
  *os << (l.is64 ? "64" : "32") << (l.bigEndian ? " big" : " little") << (l.mix ? " mix" : "");
}

class Sas7bdatLayouts : public ::testing::TestWithParam<Sas7bdatLayout> {};

Sas7bdatWriteOptions OptionsFor(const Sas7bdatLayout& l) {
  Sas7bdatWriteOptions o;
  o.is64 = l.is64;
  o.bigEndian = l.bigEndian;
  o.mixPage = l.mix;
  // Small pages: the rows take several of them.
  o.pageSize = 2048;
  o.columns["amount"].format = "DOLLAR10.2";
  o.columns["visit"].format = "DATE9.";
  o.columns["short"] = {"BEST12.", 4};
  return o;
}

TEST_P(Sas7bdatLayouts, ReadBackAlike) {
  const auto bytes = WriteSas7bdatBytes(*Sample(), OptionsFor(GetParam()));
  const ReadResult read = ReadDatasetBytes(bytes, "sample.sas7bdat");
  EXPECT_NE(read.info.format.find(GetParam().is64 ? "64-bit" : "32-bit"), std::string::npos);
  EXPECT_EQ(read.info.bigEndian, GetParam().bigEndian);
  // The writer stamps 2024-01-01 12:00:00, in seconds since 1960.
  EXPECT_EQ(read.info.creationDate + " " + read.info.creationTime, "01 Jan 2024 12:00:00");
  ExpectSample(read, 0.1);
}

INSTANTIATE_TEST_SUITE_P(Sas7bdat, Sas7bdatLayouts,
                         ::testing::Values(Sas7bdatLayout{true, false, false}, Sas7bdatLayout{true, true, false},
                                           Sas7bdatLayout{false, false, false}, Sas7bdatLayout{false, true, false},
                                           Sas7bdatLayout{true, false, true}, Sas7bdatLayout{false, true, true}));

// The header's encoding code decides; a file that names none is read as
// UTF-8 where its text is valid UTF-8, and as windows-1252 elsewhere.
TEST(Sas7bdat, EncodingOfTheHeaderOrGuessed) {
  DatasetBuilder b;
  b.String("s", 8).Label("Caf\xE9");  // windows-1252 bytes, as a writer in that encoding stores them
  b.Case({"\xE9t\xE9"});
  const auto latin = b.Build();
  for (const int code : {62, 0}) {
    Sas7bdatWriteOptions o;
    o.encodingCode = code;
    const ReadResult read = ReadDatasetBytes(WriteSas7bdatBytes(*latin, o), "latin.sas7bdat");
    EXPECT_EQ(*read.dataset->GetDictionary().GetVariable(0)->Label(), "Café") << code;
    EXPECT_EQ(Text(*read.dataset, Cases(*read.dataset)[0], 0), "été") << code;
    EXPECT_EQ(read.info.encodingGuessed, code == 0);
  }
}

XptWriteOptions XptOptions(int version) {
  XptWriteOptions o;
  o.version = version;
  o.datasetName = "SAMPLE";
  o.datasetLabel = "A sample";
  o.columns["amount"] = {"DOLLAR", 10, 2, 8};
  o.columns["visit"] = {"DATE", 9, 0, 8};
  o.columns["short"] = {"", 0, 0, 4};
  return o;
}

TEST(Xpt, BothVersionsReadBackAlike) {
  for (const int version : {5, 8}) {
    SCOPED_TRACE(version);
    const ReadResult read = ReadDatasetBytes(WriteXptBytes(*Sample(), XptOptions(version)), "sample.xpt");
    EXPECT_EQ(read.info.format, "SAS transport file version " + std::to_string(version));
    EXPECT_EQ(read.dataset->GetDictionary().FileLabel().value_or(""), "A sample");
    ExpectSample(read, 0.1);
  }
}

// The transport format's numbers are exact for every double in its range,
// and a shortened one keeps its leading bytes.
TEST(Xpt, HexadecimalFloatingPointIsExact) {
  const double values[] = {0.1, 1.0 / 3.0, 1e-10, 123456789.125, -2.5, 1e70, 5e-70, 0.0, -0.0};
  DatasetBuilder b;
  b.Numeric("x");
  for (const double v : values) b.Case({v});
  const ReadResult read = ReadDatasetBytes(WriteXptBytes(*b.Build(), XptOptions(5)), "x.xpt");
  const auto cases = Cases(*read.dataset);
  ASSERT_EQ(cases.size(), std::size(values));
  for (std::size_t i = 0; i < cases.size(); ++i) EXPECT_EQ(cases[i][0].d, values[i]) << values[i];
}

TEST(Xpt, Version8KeepsLongNamesAndLabels) {
  const std::string label(120, 'L');
  DatasetBuilder b;
  b.Numeric("a_name_of_thirty_two_characters_").Label(label);
  b.Case({1});
  const ReadResult read = ReadDatasetBytes(WriteXptBytes(*b.Build(), XptOptions(8)), "long.xpt");
  const Variable& v = *read.dataset->GetDictionary().GetVariable(0);
  EXPECT_EQ(v.Name(), "a_name_of_thirty_two_characters_");
  EXPECT_EQ(*v.Label(), label);
}

TEST(Xpt, TheFirstOfSeveralMembersIsReadWithAWarning) {
  XptWriteOptions o = XptOptions(5);
  o.members = 2;
  const ReadResult read = ReadDatasetBytes(WriteXptBytes(*Sample(), o), "two.xpt");
  EXPECT_EQ(Cases(*read.dataset).size(), 154u);
  ASSERT_EQ(read.warnings.size(), 1u);
  EXPECT_NE(read.warnings[0].find("more than one data set"), std::string::npos);
}

// Rows of 10 bytes: three rows fill 30 bytes of the last record, and its
// 50 blank bytes of padding are no five more rows; so for rows of one byte.
TEST(Xpt, BlankPaddingIsNoRows) {
  for (const int width : {10, 1}) {
    SCOPED_TRACE(width);
    DatasetBuilder b;
    b.String("code", width);
    b.Cases({{"a"}, {"b"}, {"c"}});
    const ReadResult read = ReadDatasetBytes(WriteXptBytes(*b.Build(), XptOptions(5)), "pad.xpt");
    EXPECT_EQ(read.dataset->GetCaseCount(), 3);
    EXPECT_EQ(Cases(*read.dataset).size(), 3u);
  }
}

}  // namespace
}  // namespace codebook::data
