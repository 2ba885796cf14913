// The active dataset as a procedure sees it: filter, case limit, weight
// (from the file, overridden, switched off), split-group ends, case counts,
// and the state with no active dataset.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "platform/data/active_dataset.h"
#include "platform/data/case_source.h"
#include "platform/data/selection.h"
#include "testing/dataset_builder.h"

using codebook::data::Dataset;
using codebook::data::DatasetBuilder;
using Selection = ProcedureDataSource::Selection;

namespace {

// x: 1..6; f: filter values; w: weights; s: a string.
std::shared_ptr<const Dataset> Sample() {
  return DatasetBuilder()
      .Numeric("x")
      .Numeric("f").MissingDiscrete({9})
      .Numeric("w").MissingDiscrete({-1})
      .String("s", 10)
      .Weight("w")
      .Cases({{1, 1, 2.0, "a"},
              {2, 0, 1.5, "b"},
              {3, kSysmis, 0.0, "c"},
              {4, 9, kSysmis, "d"},
              {5, -2, -1, "e"},
              {6, 0.5, 3.0, "f"}})
      .Build();
}

struct Seen {
  std::vector<double> x;
  std::vector<double> weight;
  int splitEnds = 0;
};

Seen Drain(VELA_InputCaseIterator& it) {
  Seen seen;
  auto* proc = dynamic_cast<ProcDSIterator*>(&it);
  while (it.NextCase()) {
    if (proc && proc->SplitGroupEnd()) {
      ++seen.splitEnds;
      continue;
    }
    seen.x.push_back(it.CurrentCase()[it.CellOffset(0)].d);
    seen.weight.push_back(it.CaseWeight());
  }
  return seen;
}

Seen Pass(const ProcedureDataSource& source) {
  std::unique_ptr<VELA_InputCaseIterator> it(source.CreateCaseIterator(false));
  return Drain(*it);
}

TEST(Selection, DefaultWeightComesFromTheFile) {
  const ProcedureDataSource source(std::make_shared<Selection>(Sample()));
  EXPECT_FALSE(source.FatalError());
  EXPECT_EQ(source.GetWeightVarIndex(), 2);
  EXPECT_EQ(source.GetCaseCount(), 6);
  const Seen seen = Pass(source);
  EXPECT_EQ(seen.x, (std::vector<double>{1, 2, 3, 4, 5, 6}));
  // System-missing stays so; a user-missing weight reads as system-missing;
  // zero and negative weights are passed on for the statistics to skip.
  EXPECT_EQ(seen.weight, (std::vector<double>{2.0, 1.5, 0.0, kSysmis, kSysmis, 3.0}));
}

TEST(Selection, WeightOffAndWeightBy) {
  Selection::Options off;
  off.weightIndex = -1;
  const ProcedureDataSource unweighted(std::make_shared<Selection>(Sample(), off));
  EXPECT_EQ(unweighted.GetWeightVarIndex(), -1);
  EXPECT_EQ(Pass(unweighted).weight, std::vector<double>(6, 1.0));

  Selection::Options byX;
  byX.weightIndex = 0;
  const ProcedureDataSource weightedByX(std::make_shared<Selection>(Sample(), byX));
  EXPECT_EQ(weightedByX.GetWeightVarIndex(), 0);
  EXPECT_EQ(Pass(weightedByX).weight, (std::vector<double>{1, 2, 3, 4, 5, 6}));

  Selection::Options byString;
  byString.weightIndex = 3;
  EXPECT_THROW(Selection(Sample(), byString), std::invalid_argument);
  Selection::Options byNothing;
  byNothing.weightIndex = 42;
  EXPECT_THROW(Selection(Sample(), byNothing), std::invalid_argument);
}

TEST(Selection, FilterKeepsNonZeroValidValues) {
  Selection::Options filter;
  filter.filterIndex = 1;
  const ProcedureDataSource source(std::make_shared<Selection>(Sample(), filter));
  // Dropped: 0, system-missing, user-missing 9. Kept: 1, -2, 0.5.
  EXPECT_EQ(Pass(source).x, (std::vector<double>{1, 5, 6}));
  EXPECT_EQ(source.GetCaseCount(), -1);

  Selection::Options outOfRange;
  outOfRange.filterIndex = 9;
  EXPECT_THROW(Selection(Sample(), outOfRange), std::invalid_argument);
}

TEST(Selection, StringFilterKeepsNonBlankValues) {
  auto ds = DatasetBuilder()
                .Numeric("x").String("keep", 4).MissingStrings({"no"})
                .Cases({{1, "yes"}, {2, ""}, {3, "no"}, {4, "  y"}})
                .Build();
  Selection::Options filter;
  filter.filterIndex = 1;
  EXPECT_EQ(Pass(ProcedureDataSource(std::make_shared<Selection>(ds, filter))).x,
            (std::vector<double>{1, 4}));
}

TEST(Selection, CaseLimitReadsOnlyTheFirstCases) {
  Selection::Options limit;
  limit.caseLimit = 4;
  const ProcedureDataSource limited(std::make_shared<Selection>(Sample(), limit));
  EXPECT_EQ(Pass(limited).x, (std::vector<double>{1, 2, 3, 4}));
  EXPECT_EQ(limited.GetCaseCount(), 4);

  limit.caseLimit = 100;
  EXPECT_EQ(ProcedureDataSource(std::make_shared<Selection>(Sample(), limit)).GetCaseCount(), 6);
  limit.caseLimit = 0;
  const ProcedureDataSource none(std::make_shared<Selection>(Sample(), limit));
  EXPECT_TRUE(Pass(none).x.empty());
  EXPECT_EQ(none.GetCaseCount(), 0);

  // The limit counts cases read, before the filter.
  Selection::Options both;
  both.caseLimit = 4;
  both.filterIndex = 1;
  EXPECT_EQ(Pass(ProcedureDataSource(std::make_shared<Selection>(Sample(), both))).x,
            (std::vector<double>{1}));
}

TEST(Selection, CaseCountUnknownStaysUnknownUnderALimit) {
  auto ds = DatasetBuilder().Numeric("x").Cases({{1}, {2}, {3}}).DeclaredCaseCount(-1).Build();
  Selection::Options limit;
  limit.caseLimit = 2;
  EXPECT_EQ(ProcedureDataSource(std::make_shared<Selection>(ds)).GetCaseCount(), -1);
  EXPECT_EQ(ProcedureDataSource(std::make_shared<Selection>(ds, limit)).GetCaseCount(), -1);
  EXPECT_EQ(Pass(ProcedureDataSource(std::make_shared<Selection>(ds, limit))).x.size(), 2u);
}

TEST(Selection, SplitGroupEndsPassThroughFilterAndLimit) {
  auto ds = DatasetBuilder()
                .Numeric("x").Numeric("f")
                .Case({1, 1}).Case({2, 0}).SplitGroupEnd()
                .Case({3, 0}).SplitGroupEnd()
                .Case({4, 1}).Case({5, 1}).SplitGroupEnd()
                .Build();
  Selection::Options filter;
  filter.filterIndex = 1;
  const Seen filtered = Pass(ProcedureDataSource(std::make_shared<Selection>(ds, filter)));
  EXPECT_EQ(filtered.x, (std::vector<double>{1, 4, 5}));
  EXPECT_EQ(filtered.splitEnds, 3);

  Selection::Options limit;
  limit.caseLimit = 3;
  const Seen limited = Pass(ProcedureDataSource(std::make_shared<Selection>(ds, limit)));
  EXPECT_EQ(limited.x, (std::vector<double>{1, 2, 3}));
  // Nothing is read past the limit, not even the group end behind the last
  // case: on a file, that read could fail on data the user excluded.
  EXPECT_EQ(limited.splitEnds, 1);
}

TEST(Selection, NoActiveDatasetIsEmptyAndFatal) {
  codebook::data::SetActiveSelection(nullptr);
  const ProcedureDataSource source;
  EXPECT_TRUE(source.FatalError());
  // Every question about the dataset has an empty answer, none a crash.
  EXPECT_EQ(source.ColumnCount(), 0);
  EXPECT_EQ(source.GetVariable(0), nullptr);
  EXPECT_EQ(source.FindVarIndex("x", 0), -1);
  EXPECT_EQ(source.GetFileSpec(), nullptr);
  EXPECT_TRUE(source.GetMRSets().empty());
  EXPECT_TRUE(source.GetDocumentList().empty());
  EXPECT_EQ(source.GetCaseCount(), -1);
  std::unique_ptr<VELA_InputCaseIterator> it(source.CreateCaseIterator(false));
  ASSERT_NE(it, nullptr);
  EXPECT_EQ(it->NextCase(), 0);

  const ProcedureDataSource nullDataset(std::make_shared<Selection>(nullptr));
  EXPECT_TRUE(nullDataset.FatalError());
  EXPECT_EQ(nullDataset.ColumnCount(), 0);
}

TEST(Selection, DefaultConstructorReadsTheActiveSlot) {
  auto ds = Sample();
  codebook::data::SetActiveSelection(std::make_shared<Selection>(ds));
  {
    const ProcedureDataSource source;
    EXPECT_FALSE(source.FatalError());
    EXPECT_EQ(source.Parent(), ds.get());
  }
  // The session changes the selection by setting a new one.
  Selection::Options off;
  off.weightIndex = -1;
  codebook::data::SetActiveSelection(codebook::data::ActiveSelection()->With(off));
  EXPECT_EQ(ProcedureDataSource().GetWeightVarIndex(), -1);
  codebook::data::SetActiveSelection(nullptr);
  EXPECT_TRUE(ProcedureDataSource().FatalError());
}

TEST(Selection, IteratorKeepsTheDatasetAlive) {
  std::unique_ptr<VELA_InputCaseIterator> it;
  {
    auto selection = std::make_shared<Selection>(Sample());
    it.reset(ProcedureDataSource(selection).CreateCaseIterator(false));
  }
  EXPECT_EQ(Drain(*it).x.size(), 6u);
  EXPECT_EQ(it->GetVariable(0)->GetType(), 0);
}

}  // namespace
