// The platform side of AggregationVariable: the state of one categorical
// dimension. Each kind (variable, category set, dichotomy set) derives from
// this and from its TableDimension kind, so the procedure can tell the kinds
// apart by dynamic type.
//
// A dimension counts a batch of cases in two steps. Before the procedure
// walks the batch, Prepare() puts each case into a bucket (a category, or
// a kind of missing) and notes where each new category was first met, which
// is what the category count answers from while the table takes the cases.
// Once the table has taken them, Count() adds their weights to their
// buckets. Only the cases the table took are ever counted: a category first
// met after the last of them stays out of every result.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/aggregate/aggregation_category.h"
#include "host/aggregate/aggregation_variable.h"
#include "host/data/case_iterator.h"
#include "host/data/obs.h"
#include "platform/aggregate/category.h"
#include "platform/aggregate/inline_vector.h"
#include "platform/data/case_batch.h"

namespace codebook::aggregate {
class CubeState;
}

using codebook::aggregate::InlineVector;

class AggregationVariable::Impl {
 public:
  // `count` is the dimension's own (its TableDimension's), which the
  // procedure reads during the pass.
  Impl(std::string name, CategoryCount& count);
  virtual ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  void SetIsTotalNo(bool noTotal) { noTotal_ = noTotal; }
  void SetExcludeUserMissing(bool exclude) { excludeUserMissing_ = exclude; }
  // Only a single variable can be restricted to given values; sets ignore
  // the list (and free it).
  virtual void SetCategories(std::vector<std::unique_ptr<ParsedCategory>> categories);
  virtual TableDimension& Dimension() = 0;
  // The cell its cases are read from first, or -1 (once bound).
  virtual std::ptrdiff_t column() const { return -1; }

  // The dimension joins `cube`, whose table takes the cases of `cases`, and
  // whose count of taken cases is at `taken`. Copies what the caller may
  // free from then on.
  void Attach(const VELA_InputCaseIterator& cases, codebook::aggregate::CubeState& cube, const std::int64_t* taken);
  bool attached() const { return cases_ != nullptr; }
  // The table's count of taken cases moved (the table went).
  void CountTakenAt(const std::int64_t* taken) { counting_.taken = taken; }

  // Buckets the counted cases of `batch`, whose cases the table may take.
  void Prepare(const codebook::data::CaseBatch& batch);
  // Whether Prepare saw `batch` (a dimension that joined its cube during a
  // batch counts from the next one).
  bool PreparedFor(const codebook::data::CaseBatch& batch) const {
    return preparedFor_ == batch.firstOrdinal() && preparedSize_ == batch.size();
  }
  // Adds the weights of the records [from, to) of `batch`, taken by the table.
  void Count(const codebook::data::CaseBatch& batch, std::size_t from, std::size_t to);

  // Weight of the cases that count as missing (statistic 198).
  double MissingWeight() const;
  // Weight of every case counted (W): the cube's.
  double TotalWeight() const;
  // The identity that this dimension's categories carry.
  const void* owner() const { return this; }

 protected:
  // Buckets every dimension has; its categories come after them.
  enum FixedBucket : std::uint32_t {
    kNoValue = 0,       // system-missing, no valid member value, a variable the dataset lacks
    kOtherMissing = 1,  // a missing value outside the given categories
    kIgnored = 2,       // a valid value outside the given categories
    kFirstCategory = 3,
  };
  struct BucketInfo {
    std::int64_t first = -1;  // ordinal of the case that made it; -1: made before the pass
    bool missing = false;     // user-missing
    bool category = true;     // listed among the categories
  };

  // Looks up the variables and whatever else the cases' layout decides.
  virtual void Bind(const VELA_InputCaseIterator& cases) = 0;
  // Puts each counted record of `batch` into its bucket(s): one per record
  // into `slots_` (single), or per record a run of `slots_` from
  // `slotStarts_` (multiple; `slotStarts_` has one more entry than records).
  virtual void Classify(const codebook::data::CaseBatch& batch) = 0;
  // Fills `list` with the categories in order, then the total unless
  // SetIsTotalNo(true) was given. Buckets made after the last counted case
  // are not categories yet (see Made()).
  virtual void BuildCategories(codebook::aggregate::CategoryList& list) const = 0;
  virtual void OnAttach(const VELA_InputCaseIterator& /*cases*/) {}

  // A new bucket; a category bucket counts toward the category count from
  // the case `ordinal` on.
  std::uint32_t NewBucket(std::int64_t ordinal, bool missing, bool category);
  // A bucket made before the pass (a given category).
  std::uint32_t FixedCategory(bool missing);
  // Whether bucket b had its first case among those counted.
  bool Made(std::uint32_t b) const;
  double WeightOf(std::uint32_t b) const { return weights_[b]; }
  const BucketInfo& InfoOf(std::uint32_t b) const { return info_[b]; }
  std::size_t BucketCount() const { return weights_.size(); }

  // The category list, rebuilt when cases were counted since the last call.
  // The cube counts what its table took first.
  const std::vector<const AggregationCategory*>& CurrentCategories() const;
  void AddTotal(codebook::aggregate::CategoryList& list) const;

  const std::string& name() const { return name_; }
  const VELA_InputCaseIterator* cases() const { return cases_; }
  bool noTotal() const { return noTotal_; }
  bool excludeUserMissing() const { return excludeUserMissing_; }
  bool multiple_ = false;  // records may fall into several buckets
  InlineVector<std::uint32_t, 8> slots_;
  std::vector<std::uint32_t> slotStarts_;

 private:
  std::string name_;
  bool noTotal_ = false;
  bool excludeUserMissing_ = true;
  CategoryCount& counting_;
  const VELA_InputCaseIterator* cases_ = nullptr;
  codebook::aggregate::CubeState* cube_ = nullptr;
  bool bound_ = false;
  std::int64_t preparedFor_ = -1;
  std::size_t preparedSize_ = 0;
  InlineVector<double, 8> weights_;  // per bucket
  std::vector<BucketInfo> info_;
  std::size_t categories_ = 0;   // category buckets, in all
  std::vector<std::int64_t> batchFirsts_;  // ordinals of the categories new in the batch being walked
  std::uint64_t generation_ = 0;  // counts of the buckets changed
  mutable std::uint64_t built_ = ~std::uint64_t{0};
  mutable codebook::aggregate::CategoryList list_;
};

namespace codebook::aggregate {

// The label of a value in a variable's value labels, or "" when it has none.
std::string ValueLabelOf(const VELA_Variable* variable, const OBS* value);

}  // namespace codebook::aggregate
