// DatasetBuilder and the in-memory dataset: dictionary and file metadata,
// cells of numbers and blank-padded strings, split-group ends, and clear
// errors for mistakes.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include "host/data/documents.h"
#include "host/data/variable_sets.h"
#include "testing/dataset_builder.h"
#include "testing/in_memory_cases.h"

using codebook::data::CaseStream;
using codebook::data::DatasetBuilder;

namespace {

std::string Cells(const OBS* cells, int count) {
  return std::string(reinterpret_cast<const char*>(cells), static_cast<std::size_t>(count) * 8);
}

TEST(DatasetBuilder, BuildsDictionaryAndCases) {
  auto ds = DatasetBuilder()
                .Numeric("age").Label("Age").Level(3).ValueLabel(99, "No answer").MissingDiscrete({99})
                .String("name", 12)
                .Cases({{25, "Ann"}, {kSysmis, "Bob"}, {99.0, ""}})
                .Build();
  ASSERT_EQ(ds->ColumnCount(), 2);
  EXPECT_EQ(ds->GetCaseCount(), 3);
  const VELA_Variable* age = ds->GetVariable(0);
  EXPECT_STREQ(age->GetLabel(), "Age");
  EXPECT_EQ(age->GetMeasurementLevel(), 3);
  VELA_ValueLabelMap labels(age->GetValueLabels());
  EXPECT_EQ(labels.Size(), 1u);
  EXPECT_STREQ(labels.GetLabel(std::string("99")), "No answer");
  EXPECT_EQ(ds->GetVariable(1)->GetType(), 12);
  EXPECT_EQ(ds->FindVarIndex("NAME", 0), 1);
  EXPECT_EQ(ds->FindVarIndex(nullptr, 0), -1);

  const auto& dict = ds->GetDictionary();
  auto stream = ds->OpenCases();
  const OBS* c = stream->Next();
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c[dict.CellOffset(0)].d, 25);
  EXPECT_EQ(Cells(c + dict.CellOffset(1), 2), "Ann             ");
  c = stream->Next();
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c[0].d, kSysmis);
  c = stream->Next();
  ASSERT_NE(c, nullptr);
  EXPECT_NE(age->IsMissing(&c[0]), 0);
  EXPECT_EQ(Cells(c + 1, 2), std::string(16, ' '));
  EXPECT_EQ(stream->Next(), nullptr);
  EXPECT_EQ(stream->Next(), nullptr);  // the end stays the end

  // Every pass starts from the first case.
  auto again = ds->OpenCases();
  ASSERT_NE(again->Next(), nullptr);
}

TEST(DatasetBuilder, FileMetadata) {
  VariableSetImpl::Definition set;
  set.name = "$fruit";
  set.label = "Fruit eaten";
  set.kind = VariableSetImpl::kMultipleDichotomy;
  set.members = {"apple", "pear"};
  set.countedValue = "1";
  auto ds = DatasetBuilder()
                .Numeric("apple").Numeric("pear").Numeric("w")
                .FileLabel("Survey 2024").FileSpec("/data/survey.sav")
                .Document({"line one", "line two"}).Document({"second"})
                .FileAttribute("Origin", {"lab"}).FileAttribute("Tags", {"a", "b"})
                .MRSet(set).Encoding("UTF-8").Weight("W")
                .DeclaredCaseCount(-1)
                .Build();
  EXPECT_STREQ(ds->GetLabel(), "Survey 2024");
  EXPECT_STREQ(ds->GetFileSpec(), "/data/survey.sav");
  EXPECT_EQ(ds->GetCaseCount(), -1);
  EXPECT_EQ(ds->GetDictionary().WeightIndex(), 2);
  EXPECT_EQ(ds->GetDictionary().Encoding(), "UTF-8");
  ASSERT_EQ(ds->GetAttributes().Size(), 2u);
  EXPECT_EQ(ds->GetAttributes().Values(1).size(), 2u);

  const std::vector<DSDocument> docs = GetDocuments(*ds);
  ASSERT_EQ(docs.size(), 2u);
  EXPECT_EQ(docs[0].Size(), 2);
  EXPECT_EQ(docs[0][1], "line two");

  const VariableSets sets(*ds, 1);
  ASSERT_EQ(sets.size(), 1u);
  VariableSet copy;
  copy = sets[0];
  EXPECT_EQ(copy.GetName(VariableSet::kAsDefined), "$fruit");
  EXPECT_EQ(copy.GetName(VariableSet::kUpper), "$FRUIT");
  EXPECT_EQ(copy.GetVariableNames(VariableSet::kAsDictionary),
            (std::vector<std::string>{"apple", "pear"}));
  EXPECT_EQ(copy.GetVariableNames(VariableSet::kUpper),
            (std::vector<std::string>{"APPLE", "PEAR"}));
  EXPECT_EQ(copy.GetType(), 2);
  EXPECT_EQ(copy.GetValue(), "1");
  EXPECT_EQ(copy.GetLabel(), "Fruit eaten");
  EXPECT_EQ(VariableSets(*ds, 0).size(), 0u);
}

TEST(DatasetBuilder, WithoutFileThingsEverythingIsAbsent) {
  auto ds = DatasetBuilder().Numeric("x").Build();
  EXPECT_EQ(ds->GetLabel(), nullptr);
  EXPECT_EQ(ds->GetFileSpec(), nullptr);
  EXPECT_EQ(ds->GetCaseCount(), 0);
  EXPECT_TRUE(ds->GetDocumentList().empty());
  EXPECT_TRUE(ds->GetMRSets().empty());
  EXPECT_EQ(ds->GetAttributes().Size(), 0u);
  EXPECT_EQ(ds->OpenCases()->Next(), nullptr);
}

TEST(DatasetBuilder, StringValueLabelsAndMissingStrings) {
  auto ds = DatasetBuilder()
                .String("code", 3).ValueLabel("a", "Alpha").ValueLabel("b  ", "Beta")
                .MissingStrings({"x"})
                .Build();
  const VELA_Variable* v = ds->GetVariable(0);
  VELA_ValueLabelMap labels(v->GetValueLabels());
  EXPECT_STREQ(labels.GetLabel(std::string("b")), "Beta");
  OBS cell;
  std::memcpy(cell.c, "x       ", 8);
  EXPECT_NE(v->IsMissing(&cell), 0);
}

TEST(DatasetBuilder, SplitGroupEndsBetweenCases) {
  auto ds = DatasetBuilder()
                .Numeric("x")
                .Case({1}).Case({2}).SplitGroupEnd()
                .Case({3}).SplitGroupEnd()
                .Build();
  auto stream = ds->OpenCases();
  std::string seen;
  while (const OBS* c = stream->Next()) {
    seen += stream->SplitGroupEnd() ? "|" : std::to_string(static_cast<int>(c->d));
  }
  EXPECT_EQ(seen, "12|3|");
}

TEST(DatasetBuilder, MistakesAreClearErrors) {
  EXPECT_THROW(DatasetBuilder().Label("no variable yet"), std::invalid_argument);
  EXPECT_THROW(DatasetBuilder().Numeric("x").ValueLabel("a", "A"), std::invalid_argument);
  EXPECT_THROW(DatasetBuilder().String("s", 4).ValueLabel(1, "one"), std::invalid_argument);
  EXPECT_THROW(DatasetBuilder().Numeric("x").Numeric("X"), std::invalid_argument);
  EXPECT_THROW(DatasetBuilder().Numeric("x").Weight("y").Build(), std::invalid_argument);
  EXPECT_THROW(DatasetBuilder().String("s", 4).Weight("s").Build(), std::invalid_argument);
  try {
    DatasetBuilder().Numeric("x").Numeric("y").Case({1, 2}).Case({1}).Build();
    FAIL() << "a short row was accepted";
  } catch (const std::invalid_argument& e) {
    EXPECT_NE(std::string(e.what()).find("case 2"), std::string::npos) << e.what();
  }
  try {
    DatasetBuilder().Numeric("x").String("name", 4).Case({1, 2}).Build();
    FAIL() << "a number for a string was accepted";
  } catch (const std::invalid_argument& e) {
    EXPECT_NE(std::string(e.what()).find("name"), std::string::npos) << e.what();
  }
  EXPECT_THROW(DatasetBuilder().String("s", 4).Case({"toolong"}).Build(), std::invalid_argument);
  EXPECT_THROW(DatasetBuilder().Numeric("x").Case({"text"}).Build(), std::invalid_argument);
}

TEST(DatasetBuilder, DatasetWithoutVariablesStillCountsCases) {
  auto ds = DatasetBuilder().Case({}).Case({}).Build();
  EXPECT_EQ(ds->ColumnCount(), 0);
  EXPECT_EQ(ds->GetCaseCount(), 2);
  auto stream = ds->OpenCases();
  EXPECT_NE(stream->Next(), nullptr);
  EXPECT_NE(stream->Next(), nullptr);
  EXPECT_EQ(stream->Next(), nullptr);
}

}  // namespace
