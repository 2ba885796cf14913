// Decoding on a second thread must not change what a reader sees: the same
// cases, split-group ends and error, at the same place.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "platform/data/data_error.h"
#include "platform/data/read_ahead_stream.h"

namespace codebook::data {
namespace {

// Case c holds c, c + 1, ... in its cells; every `splitEvery`-th record is a
// split-group end; after `failAfter` records the stream throws.
class CountingStream final : public CaseStream {
 public:
  CountingStream(std::size_t cells, long cases, long splitEvery = 0, long failAfter = -1)
      : row_(cells), cases_(cases), splitEvery_(splitEvery), failAfter_(failAfter) {}
  const OBS* Next() override {
    if (next_ == failAfter_) throw DataError("counting.sav", next_ + 1, "damaged case");
    if (next_ == cases_) return nullptr;
    for (std::size_t i = 0; i < row_.size(); ++i) row_[i].d = static_cast<double>(next_) + static_cast<double>(i);
    splitGroupEnd_ = splitEvery_ > 0 && next_ % splitEvery_ == splitEvery_ - 1;
    ++next_;
    return row_.data();
  }

 private:
  std::vector<OBS> row_;
  long cases_;
  long splitEvery_;
  long failAfter_;
  long next_ = 0;
};

// Reads everything, checking each case against the counting pattern.
long ReadAll(CaseStream& stream, std::size_t cells, long splitEvery) {
  long c = 0;
  while (const OBS* row = stream.Next()) {
    EXPECT_EQ(row[0].d, static_cast<double>(c));
    EXPECT_EQ(row[cells - 1].d, static_cast<double>(c) + static_cast<double>(cells - 1));
    EXPECT_EQ(stream.SplitGroupEnd(), splitEvery > 0 && c % splitEvery == splitEvery - 1) << c;
    ++c;
  }
  return c;
}

TEST(ReadAhead, DeliversEveryCaseAndSplitGroupEndInOrder) {
  // Narrow cases (many per block) and cases wider than a block (one each).
  for (const std::size_t cells : {std::size_t{3}, std::size_t{50000}}) {
    const long cases = cells == 3 ? 100000 : 40;
    auto stream = ReadAhead(std::make_unique<CountingStream>(cells, cases, 7), cells);
    EXPECT_EQ(ReadAll(*stream, cells, 7), cases);
    EXPECT_EQ(stream->Next(), nullptr);  // the end stays the end
  }
}

TEST(ReadAhead, EmptyStreamEndsAtOnce) {
  auto stream = ReadAhead(std::make_unique<CountingStream>(4, 0), 4);
  EXPECT_EQ(stream->Next(), nullptr);
}

TEST(ReadAhead, ErrorComesAfterTheCasesBeforeIt) {
  for (const long failAfter : {0L, 1L, 12345L}) {
    auto stream = ReadAhead(std::make_unique<CountingStream>(5, 1000000, 0, failAfter), 5);
    long c = 0;
    try {
      while (stream->Next() != nullptr) ++c;
      FAIL() << "no error";
    } catch (const DataError& e) {
      EXPECT_EQ(c, failAfter);
      EXPECT_NE(std::string(e.what()).find("damaged case"), std::string::npos) << e.what();
    }
    EXPECT_EQ(stream->Next(), nullptr);  // the error is reported once
  }
}

TEST(ReadAhead, StoppingEarlyEndsTheWorker) {
  // A procedure may stop long before the end (an early stop, an error of
  // its own): destroying the stream must neither hang nor leak.
  for (int round = 0; round < 50; ++round) {
    auto stream = ReadAhead(std::make_unique<CountingStream>(8, 10000000), 8);
    for (int i = 0; i < round * 100; ++i) ASSERT_NE(stream->Next(), nullptr);
  }
}

}  // namespace
}  // namespace codebook::data
