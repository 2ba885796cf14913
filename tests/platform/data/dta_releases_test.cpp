// One dataset written as a .dta file of every release from 104 to 119, in
// both byte orders, and read back: the same dictionary and the same values
// wherever the release can hold them (extended missing values from 113,
// strL from 117, characteristics from 105). The fixtures check the
// releases against files of other writers; this checks that the layouts
// of releases and byte orders they do not cover are read alike.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/data/data_error.h"
#include "platform/data/dta/dta_layout.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/warnings.h"
#include "platform/data/extended_missing.h"
#include "platform/data/read_dataset.h"
#include "testing/dataset_builder.h"
#include "testing/dta_writer.h"

namespace codebook::data {
namespace {

struct Layout {
  int release;
  bool bigEndian;
};

void PrintTo(const Layout& l, std::ostream* os) { *os << l.release << (l.bigEndian ? " MSF" : " LSF"); }

std::string Name(const ::testing::TestParamInfo<Layout>& info) {
  return std::to_string(info.param.release) + (info.param.bigEndian ? "_msf" : "_lsf");
}

const double kA = *ExtendedMissingValue('a');
const double kDay = 86400.0;
// 2024-02-29 and 1959-12-31 in seconds since 1582, the reader's dates.
const double kLeapDay = (23435.0 + 137775.0) * kDay;
const double kNewYearsEve = (137775.0 - 1.0) * kDay;

std::shared_ptr<Dataset> Sample(const Layout& layout) {
  const bool codes = layout.release >= 113;
  auto agree = std::make_shared<ValueLabelSetImpl>(std::vector<ValueLabelSetImpl::NumericLabel>{{1, "Low"}, {2, "High"}});
  if (codes) agree->Set(kA, "Refused");
  DatasetBuilder b;
  b.Numeric("id").Label("Case");
  if (layout.release >= 117) b.String("essay", 3000).Label("Long");
  b.Numeric("q1").Label("First").ValueLabels(agree);
  b.Numeric("q2").Label("Second").ValueLabels(agree);
  b.Numeric("x").Label("Float");
  b.Numeric("born").Label("Date");
  b.String("city", 10).Label("City");
  b.FileLabel("Every release");
  const std::string essay(2999, 'e');
  const auto row = [&](double id, double q1, double q2, double x, double born, std::string city, std::string text) {
    Row r{id, q1, q2, x, born, std::move(city)};
    if (layout.release >= 117) r.insert(r.begin() + 1, std::move(text));
    b.Case(std::move(r));
  };
  row(1, 1, 2, 0.5, kLeapDay, "Zürich", essay);
  row(2, 2, kSysmis, -1.25, kNewYearsEve, "", "short");
  row(3, codes ? kA : kSysmis, 1, 1.5e38, kSysmis, " lead", essay);
  return b.Build();
}

DtaWriteOptions OptionsFor(const Layout& layout) {
  DtaWriteOptions o;
  o.release = layout.release;
  o.bigEndian = layout.bigEndian;
  o.columns["id"].storage = "long";
  o.columns["q1"].storage = "byte";
  o.columns["q1"].labelTable = "agree";
  o.columns["q2"].storage = "int";
  o.columns["x"].storage = "float";
  o.columns["x"].format = "%9.2f";
  o.columns["born"].format = "%td";
  o.columns["city"].format = "%-10s";
  if (layout.release >= 117) o.columns["essay"].storage = "strL";
  o.shareStrLs = true;
  o.characteristics = {{"_dta", "note0", "2"},     {"_dta", "note1", "First note\nits second line"},
                       {"_dta", "note2", "Second"}, {"q1", "note1", "About q1"},
                       {"q1", "source", "wave 2"},  {"_dta", "_lang", "default"}};
  o.extraTables = {{"unused", {{1, "one"}}}};
  return o;
}

class DtaReleases : public ::testing::TestWithParam<Layout> {
 protected:
  void SetUp() override {
    const std::vector<std::uint8_t> bytes = WriteDtaBytes(*Sample(GetParam()), OptionsFor(GetParam()));
    read_ = ReadDatasetBytes(bytes, "sample.dta");
    ASSERT_TRUE(read_.dataset);
  }
  const Dictionary& Dict() const { return read_.dataset->GetDictionary(); }
  const Variable& Var(const char* name) const { return *Dict().GetVariable(Dict().FindVarIndex(name)); }
  std::vector<std::vector<OBS>> Cases() const {
    std::vector<std::vector<OBS>> out;
    auto stream = read_.dataset->OpenCases();
    while (const OBS* row = stream->Next()) out.emplace_back(row, row + Dict().CellsPerCase());
    return out;
  }
  double At(const std::vector<OBS>& row, const char* name) const { return row[static_cast<std::size_t>(Dict().CellOffset(Dict().FindVarIndex(name)))].d; }
  std::string Text(const std::vector<OBS>& row, const char* name) const {
    std::string_view s = Var(name).StringValue(row.data() + Dict().CellOffset(Dict().FindVarIndex(name)));
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return std::string(s);
  }
  ReadResult read_;
};

TEST_P(DtaReleases, Dictionary) {
  const Layout layout = GetParam();
  EXPECT_EQ(read_.info.format, "Stata .dta release " + std::to_string(layout.release));
  EXPECT_EQ(read_.info.bigEndian, layout.bigEndian);
  // Before 118 the code page is not in the file: windows-1252 is assumed.
  EXPECT_EQ(read_.info.encodingGuessed, layout.release < 118);
  EXPECT_EQ(Dict().FileLabel().value_or(""), "Every release");
  ASSERT_EQ(Dict().VariableCount(), layout.release >= 117 ? 7 : 6);
  EXPECT_EQ(*Var("q1").Label(), "First");
  // One table, shared; its labels of missing codes only from 113.
  EXPECT_EQ(Var("q1").ValueLabels(), Var("q2").ValueLabels());
  EXPECT_EQ(Var("q1").ValueLabels()->Size(), layout.release >= 113 ? 3u : 2u);
  EXPECT_EQ(Var("q1").GetMeasurementLevel(), VELA_Variable::kNominal);
  EXPECT_EQ(Var("x").GetMeasurementLevel(), VELA_Variable::kScale);
  EXPECT_EQ(Var("city").GetMeasurementLevel(), VELA_Variable::kNominal);
  EXPECT_EQ(Var("x").PrintFormat(), VELA_Format(VELA_Format::F, 9, 2));
  EXPECT_EQ(Var("born").PrintFormat(), VELA_Format(VELA_Format::DATE, 11, 0));
  EXPECT_EQ(Var("id").PrintFormat(), VELA_Format(VELA_Format::F, 9, 0));
  EXPECT_EQ(Var("city").GetAlignment(), Alignment::kLeft);
  EXPECT_EQ(Var("x").Missing().HasExtendedCodes(), layout.release >= 113);
  if (layout.release < 105) return;  // no characteristics before 105
  ASSERT_EQ(Dict().Documents().size(), 2u);
  EXPECT_EQ(Dict().Documents()[0].Size(), 2);
  EXPECT_EQ(Dict().Documents()[0][1], "its second line");
  const auto& attributes = Var("q1").GetAttributes().All();
  ASSERT_EQ(attributes.size(), 2u);
  EXPECT_EQ(attributes[0].name, "source");
  EXPECT_EQ(attributes[1].name, "Note");
  EXPECT_EQ(attributes[1].values, std::vector<std::string>{"About q1"});
  const auto& file = Dict().Attributes().All();
  ASSERT_EQ(file.size(), 2u);
  EXPECT_EQ(file[0].name, "$_lang");
  EXPECT_EQ(file[1].name, "UnusedValueLabels.unused");
  EXPECT_EQ(file[1].values, std::vector<std::string>{"1 = one"});
}

TEST_P(DtaReleases, Values) {
  const Layout layout = GetParam();
  const auto cases = Cases();
  ASSERT_EQ(cases.size(), 3u);
  EXPECT_EQ(At(cases[0], "id"), 1);
  EXPECT_EQ(At(cases[1], "q2"), kSysmis);
  EXPECT_EQ(At(cases[2], "q1"), layout.release >= 113 ? kA : kSysmis);
  EXPECT_EQ(At(cases[1], "x"), -1.25);
  // Near the largest valid float (1.7014117e38): the double of the float.
  EXPECT_EQ(At(cases[2], "x"), static_cast<double>(1.5e38f));
  EXPECT_EQ(At(cases[0], "born"), kLeapDay);
  EXPECT_EQ(At(cases[1], "born"), kNewYearsEve);
  EXPECT_EQ(At(cases[2], "born"), kSysmis);
  EXPECT_EQ(Text(cases[0], "city"), "Zürich") << "windows-1252 before 118, UTF-8 after";
  EXPECT_EQ(Text(cases[1], "city"), "");
  EXPECT_EQ(Text(cases[2], "city"), " lead");
  if (layout.release < 117) return;
  EXPECT_EQ(Text(cases[0], "essay"), std::string(2999, 'e'));
  EXPECT_EQ(Text(cases[1], "essay"), "short");
  EXPECT_EQ(Text(cases[2], "essay"), std::string(2999, 'e')) << "a shared strL";
}

// A strL cell of the second case that refers to no stored strL: the first
// case is delivered, whole, in rows and in batches, then one error names
// the second.
TEST(DtaDamage, AStrLReferenceToNothingEndsThePassAtItsCase) {
  const Layout layout{118, false};
  std::vector<std::uint8_t> bytes = WriteDtaBytes(*Sample(layout), OptionsFor(layout));
  sav::Warnings warnings;
  const dta::DtaLayout parts = dta::ReadDtaLayout(*sav::MemorySource(bytes, "x"), warnings);
  const std::uint64_t essay = parts.variables[0].bytes;  // after id
  bytes[parts.dataOffset + parts.rowBytes + essay] = 0x7F;  // v of case 2: variable 127
  const ReadResult read = ReadDatasetBytes(bytes, "damaged.dta");
  auto stream = read.dataset->OpenCases();
  const OBS* first = stream->Next();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first[0].d, 1);
  try {
    stream->Next();
    ADD_FAILURE() << "no error";
  } catch (const DataError& e) {
    EXPECT_EQ(e.CaseNumber(), 2);
    EXPECT_NE(e.Detail().find("refers to a strL"), std::string::npos) << e.what();
  }
  auto batches = read.dataset->OpenCases();
  CaseBatch batch;
  batch.Shape(static_cast<std::size_t>(read.dataset->GetDictionary().CellsPerCase()), 64);
  ASSERT_TRUE(batches->NextBatch(batch));
  ASSERT_EQ(batch.cases(), 1u);
  const Dictionary& d = read.dataset->GetDictionary();
  EXPECT_EQ(batch.Column(static_cast<std::size_t>(d.CellOffset(d.FindVarIndex("q1"))))[0].d, 1)
      << "a column after the strL's is decoded too";
  EXPECT_THROW(batches->NextBatch(batch), DataError);
}

std::vector<Layout> Layouts() {
  std::vector<Layout> out;
  for (const int release : {104, 105, 108, 110, 111, 113, 114, 115, 117, 118, 119}) {
    for (const bool bigEndian : {false, true}) out.push_back({release, bigEndian});
  }
  return out;
}

INSTANTIATE_TEST_SUITE_P(Dta, DtaReleases, ::testing::ValuesIn(Layouts()), Name);

}  // namespace
}  // namespace codebook::data
