// ProcDSIterator over sources of our own, and data errors from a damaged
// case stream reaching the procedure through the iterator.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/data/case_batch.h"
#include "platform/data/case_source.h"
#include "platform/data/data_error.h"
#include "platform/data/dataset.h"
#include "platform/data/selection.h"

using codebook::data::CaseStream;
using codebook::data::DataError;
using codebook::data::Dataset;
using codebook::data::Dictionary;
using codebook::data::Variable;

namespace {

// Two cases, the second weighing 0.5, then a split-group end; or, without
// weights, the same cases and nothing said of their weights.
class ScriptedSource final : public ProcDSIterator::Source {
 public:
  explicit ScriptedSource(bool weighted = true) : weighted_(weighted) {}
  ~ScriptedSource() override { EndListening(); }
  int CellOffset(int varIndex) const override { return varIndex == 0 ? 0 : -1; }
  const VELA_Variable* GetVariable(int varIndex) const override {
    return varIndex == 0 ? &variable_ : nullptr;
  }

 protected:
  bool FillBatch(codebook::data::CaseBatch& batch) override {
    batch.Shape(1, 8);
    if (filled_) return false;
    filled_ = true;
    for (double x : {0.0, 10.0}) {
      OBS cell;
      cell.d = x;
      batch.AppendCase(&cell);
    }
    batch.AppendSplitGroupEnd();
    if (!weighted_) return true;
    batch.weights() = {1.0, 0.5, 1.0};
    batch.counted() = {0, 1};
    batch.SetAllCounted(false);
    return true;
  }

 private:
  bool weighted_;
  bool filled_ = false;
  Variable variable_{"x"};
};

// A batch shaped again for wider cases holds them, whatever its capacity.
TEST(CaseBatch, ReshapedForWiderCasesHoldsThem) {
  codebook::data::CaseBatch batch;
  batch.Shape(1, 4);
  OBS one[1] = {{1.0}};
  batch.AppendCase(one);
  batch.Shape(3, 4);
  EXPECT_EQ(batch.cases(), 0u);
  OBS three[3] = {{1.0}, {2.0}, {3.0}};
  batch.AppendCase(three);
  batch.AppendCase(three);
  ASSERT_EQ(batch.cellsPerCase(), 3u);
  EXPECT_EQ(batch.Column(2)[1].d, 3.0);
  EXPECT_EQ(batch.Column(0)[1].d, 1.0);
}

TEST(ProcDSIterator, CopiesCellsWeightAndSplitFlag) {
  ProcDSIterator it(std::make_unique<ScriptedSource>());
  EXPECT_EQ(it.CurrentCase(), nullptr);
  ASSERT_EQ(it.NextCase(), 1);
  EXPECT_EQ(it.CurrentCase()->d, 0.0);
  EXPECT_EQ(it.CaseWeight(), 1.0);
  EXPECT_FALSE(it.SplitGroupEnd());
  ASSERT_EQ(it.NextCase(), 1);
  EXPECT_EQ(it.CurrentCase()->d, 10.0);
  EXPECT_EQ(it.CaseWeight(), 0.5);
  ASSERT_EQ(it.NextCase(), 1);
  EXPECT_TRUE(it.SplitGroupEnd());
  EXPECT_EQ(it.NextCase(), 0);
  EXPECT_EQ(it.CurrentCase(), nullptr);
  EXPECT_FALSE(it.SplitGroupEnd());
  EXPECT_EQ(it.NextCase(), 0);
  EXPECT_EQ(it.CellOffset(0), 0);
  EXPECT_STREQ(it.GetVariable(0)->GetName(), "x");
  EXPECT_EQ(it.GetVariable(1), nullptr);
}

TEST(ProcDSIterator, CasesOfASourceThatGivesNoWeightsWeighOne) {
  ProcDSIterator it(std::make_unique<ScriptedSource>(false));
  for (const double x : {0.0, 10.0}) {
    ASSERT_EQ(it.NextCase(), 1);
    EXPECT_EQ(it.CurrentCase()->d, x);
    EXPECT_EQ(it.CaseWeight(), 1.0);
  }
}

TEST(ProcDSIterator, WithoutSourceItIsEmpty) {
  ProcDSIterator it(nullptr);
  EXPECT_EQ(it.NextCase(), 0);
  EXPECT_EQ(it.CellOffset(0), -1);
  EXPECT_EQ(it.GetVariable(0), nullptr);
}

// A stream that delivers two cases and then finds the file damaged.
class DamagedStream final : public CaseStream {
 public:
  const OBS* Next() override {
    if (++read_ > 2) throw DataError("broken.sav", read_, "file ends inside a case");
    cell_.d = read_;
    return &cell_;
  }

 private:
  int read_ = 0;
  OBS cell_{};
};

TEST(ProcDSIterator, DataErrorsReachTheProcedure) {
  Dictionary dict;
  dict.AddVariable(std::make_unique<Variable>("x"));
  auto ds = std::make_shared<Dataset>(std::move(dict), 5,
                                      [] { return std::make_unique<DamagedStream>(); },
                                      "/tmp/broken.sav");
  const ProcedureDataSource source(std::make_shared<ProcedureDataSource::Selection>(ds));
  std::unique_ptr<VELA_InputCaseIterator> it(source.CreateCaseIterator(false));
  ASSERT_EQ(it->NextCase(), 1);
  ASSERT_EQ(it->NextCase(), 1);
  try {
    it->NextCase();
    FAIL() << "no data error";
  } catch (const DataError& e) {
    EXPECT_EQ(e.CaseNumber(), 3);
    EXPECT_STREQ(e.what(), "broken.sav: case 3: file ends inside a case");
  }
}

TEST(ProcDSIterator, FactoryFailureIsADataErrorAtOpen) {
  auto ds = std::make_shared<Dataset>(Dictionary(), -1, []() -> std::unique_ptr<CaseStream> {
    throw DataError("gone.sav", 0, "cannot open the file");
  });
  const ProcedureDataSource source(std::make_shared<ProcedureDataSource::Selection>(ds));
  EXPECT_THROW(std::unique_ptr<VELA_InputCaseIterator>(source.CreateCaseIterator(false)),
               DataError);
}

// Context added on the way up fills in what the error did not know.
TEST(DataErrorTest, ContextFillsInTheFileAndCaseOnlyWhereUnknown) {
  const DataError placed = DataError("", 0, "bad cell").WithContext("f.sav", 7);
  EXPECT_STREQ(placed.what(), "f.sav: case 7: bad cell");
  EXPECT_EQ(placed.CaseNumber(), 7);
  const DataError known = DataError("a.sav", 3, "bad cell").WithContext("f.sav", 7);
  EXPECT_STREQ(known.what(), "a.sav: case 3: bad cell");
  EXPECT_STREQ(DataError("", -2, "no case").what(), "no case");
}

}  // namespace
