// The dataset as the host sees it: variables by name, file metadata,
// documents and multiple-response sets, and passes that start over.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "host/data/documents.h"
#include "host/data/variable_sets.h"
#include "testing/dataset_builder.h"

using codebook::data::DatasetBuilder;

namespace {

TEST(Dataset, VariablesAndCasesAsTheHostSeesThem) {
  auto ds = DatasetBuilder()
                .Numeric("age").Label("Age").Level(3).ValueLabel(99, "No answer").MissingDiscrete({99})
                .String("name", 12)
                .Cases({{25, "Ann"}, {99.0, ""}})
                .Build();
  ASSERT_EQ(ds->ColumnCount(), 2);
  EXPECT_EQ(ds->GetCaseCount(), 2);
  const VELA_Variable* age = ds->GetVariable(0);
  EXPECT_STREQ(age->GetLabel(), "Age");
  EXPECT_EQ(age->GetMeasurementLevel(), 3);
  VELA_ValueLabelMap labels(age->GetValueLabels());
  EXPECT_EQ(labels.Size(), 1u);
  EXPECT_STREQ(labels.GetLabel(std::string("99")), "No answer");
  EXPECT_EQ(ds->GetVariable(1)->GetType(), 12);
  EXPECT_EQ(ds->FindVarIndex("NAME", 0), 1);
  EXPECT_EQ(ds->FindVarIndex(nullptr, 0), -1);

  auto stream = ds->OpenCases();
  ASSERT_NE(stream->Next(), nullptr);
  const OBS* c = stream->Next();
  ASSERT_NE(c, nullptr);
  EXPECT_NE(age->IsMissing(&c[0]), 0);
  EXPECT_EQ(stream->Next(), nullptr);
  EXPECT_EQ(stream->Next(), nullptr);  // the end stays the end

  // Every pass starts from the first case.
  auto again = ds->OpenCases();
  const OBS* first = again->Next();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first[0].d, 25);
}

TEST(Dataset, FileMetadataDocumentsAndVariableSets) {
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

TEST(Dataset, WithoutFileThingsEverythingIsAbsent) {
  auto ds = DatasetBuilder().Numeric("x").Build();
  EXPECT_EQ(ds->GetLabel(), nullptr);
  EXPECT_EQ(ds->GetFileSpec(), nullptr);
  EXPECT_EQ(ds->GetCaseCount(), 0);
  EXPECT_TRUE(ds->GetDocumentList().empty());
  EXPECT_TRUE(ds->GetMRSets().empty());
  EXPECT_EQ(ds->GetAttributes().Size(), 0u);
  EXPECT_EQ(ds->OpenCases()->Next(), nullptr);
}

TEST(Dataset, StringValueLabelsAndMissingStringsIgnoreTrailingBlanks) {
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

}  // namespace
