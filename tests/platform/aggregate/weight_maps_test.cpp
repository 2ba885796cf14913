// The weight maps behind every table: distinct keys, summed weights, order.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "platform/aggregate/cell_values.h"
#include "platform/aggregate/hash.h"
#include "platform/aggregate/numeric_weight_map.h"
#include "platform/aggregate/string_weight_map.h"

namespace codebook::aggregate {
namespace {

// Every byte of a string counts in its hash, at any length: strings that
// differ in one byte hash apart (else they would share a chain of the
// string map, however many there are).
TEST(HashBytes, EveryByteCounts) {
  for (const std::size_t n : {1, 2, 3, 4, 7, 8, 9, 15, 16, 17, 23, 24, 25, 40, 100}) {
    const std::string base(n, 'a');
    std::set<std::uint64_t> hashes = {HashBytes(base), HashBytes(base + "a")};
    for (std::size_t i = 0; i < n; ++i) {
      std::string changed = base;
      changed[i] = 'b';
      hashes.insert(HashBytes(changed));
    }
    EXPECT_EQ(hashes.size(), n + 2) << n;
  }
}

TEST(NumericWeightMap, StaysUsableAfterSorting) {
  NumericWeightMap<> map;
  bool inserted = false;
  for (int i = 0; i < 100; ++i) map.FindOrInsert(100 - i, inserted).weight += 1;
  map.Sorted();
  ASSERT_NE(map.Find(42.0), nullptr);
  EXPECT_EQ(map.Find(42.0)->weight, 1.0);
  EXPECT_EQ(map.Find(0.5), nullptr);
  // Inserting again rebuilds the index and keeps what was there.
  map.FindOrInsert(42.0, inserted).weight += 1;
  EXPECT_FALSE(inserted);
  map.FindOrInsert(0.5, inserted).weight += 1;
  EXPECT_TRUE(inserted);
  EXPECT_EQ(map.size(), 101u);
  EXPECT_EQ(map.Find(42.0)->weight, 2.0);
  auto sorted = map.Sorted();
  EXPECT_EQ(sorted.front().value, 0.5);
  EXPECT_EQ(sorted.back().value, 100.0);
}

TEST(NumericWeightMap, ManyRandomKeysMatchAReferenceSet) {
  NumericWeightMap<> map;
  std::mt19937_64 rng(7);
  std::set<double> reference;
  for (int i = 0; i < 50000; ++i) {
    const double v = static_cast<double>(rng() % 20000) / 8.0 - 1000.0;
    bool inserted = false;
    map.FindOrInsert(v, inserted).weight += 1;
    EXPECT_EQ(inserted, reference.insert(v).second);
  }
  ASSERT_EQ(map.size(), reference.size());
  auto sorted = map.Sorted();
  std::size_t i = 0;
  double total = 0;
  for (double v : reference) {
    EXPECT_EQ(sorted[i++].value, v);
  }
  for (const auto& e : sorted) total += e.weight;
  EXPECT_EQ(total, 50000.0);
}

TEST(NumericWeightMap, AMillionDistinctValuesStayCompact) {
  NumericWeightMap<> map;
  bool inserted = false;
  for (int i = 0; i < 1000000; ++i) map.FindOrInsert(i * 0.001, inserted).weight += 1;
  EXPECT_EQ(map.size(), 1000000u);
  EXPECT_LE(map.MemoryBytes(), 32u * 1024 * 1024);
  EXPECT_GE(map.MemoryBytes(), 16u * 1000000);
}

TEST(CellValues, KeysAndTrimming) {
  EXPECT_TRUE(IsSystemMissing(kSysmis));
  EXPECT_TRUE(IsSystemMissing(std::nan("")));
  EXPECT_FALSE(IsSystemMissing(-1.7976931348623155e308));
  EXPECT_TRUE(std::signbit(-0.0));
  EXPECT_FALSE(std::signbit(NumericKey(-0.0)));
  EXPECT_EQ(TrimmedString("ab  ", 4), "ab");
  EXPECT_EQ(TrimmedString("    ", 4), "");
  EXPECT_EQ(TrimmedString(" a b", 4), " a b");
  EXPECT_EQ(CellCount(0), 1u);
  EXPECT_EQ(CellCount(8), 1u);
  EXPECT_EQ(CellCount(9), 2u);
}

TEST(StringWeightMap, KeysByContentAndSortsBytewise) {
  StringWeightMap map;
  const std::vector<std::string> keys = {"b", "a", "", "\xc3\xa9", "ab", "b", "A", "a"};
  for (const std::string& k : keys) {
    bool inserted = false;
    map.FindOrInsert(k, inserted).weight += 1;
  }
  ASSERT_EQ(map.size(), 6u);
  std::vector<std::string> order;
  for (const auto* e : map.SortedEntries()) order.emplace_back(map.Key(*e));
  // Bytes compare unsigned: the two-byte UTF-8 letter sorts after ASCII.
  EXPECT_EQ(order, (std::vector<std::string>{"", "A", "a", "ab", "b", "\xc3\xa9"}));
  EXPECT_EQ(map.Find("a")->weight, 2.0);
  EXPECT_EQ(map.Find("b")->weight, 2.0);
  EXPECT_EQ(map.Find("c"), nullptr);
}

// Short keys hash and compare by whole (overlapping) words: a key that
// differs from another of its length in any one byte, or only in length,
// must still be a key of its own.
TEST(StringWeightMap, KeysDifferingInOneByteAtAnyPositionStayApart) {
  StringWeightMap map;
  std::size_t expected = 0;
  for (std::size_t length = 0; length <= 40; ++length) {
    const std::string base(length, 'x');
    bool inserted = false;
    map.FindOrInsert(base, inserted).weight += 1;
    EXPECT_TRUE(inserted) << length;
    ++expected;
    for (std::size_t at = 0; at < length; ++at) {
      std::string other = base;
      other[at] = '\x01';
      map.FindOrInsert(other, inserted).weight += 2;
      EXPECT_TRUE(inserted) << length << " " << at;
      ++expected;
    }
  }
  ASSERT_EQ(map.size(), expected);
  for (std::size_t length = 0; length <= 40; ++length) {
    const std::string base(length, 'x');
    ASSERT_NE(map.Find(base), nullptr);
    EXPECT_EQ(map.Find(base)->weight, 1.0);
    if (length > 0) {
      std::string last = base;
      last[length - 1] = '\x01';
      ASSERT_NE(map.Find(last), nullptr);
      EXPECT_EQ(map.Find(last)->weight, 2.0);
    }
  }
  EXPECT_EQ(map.Find(std::string(41, 'x')), nullptr);
}

// A variable's values are kept at its full width; they sort as if their
// trailing blanks were not there, so a blank never sorts above a byte below it.
TEST(StringWeightMap, BlankPaddedKeysSortAsTrimmed) {
  StringWeightMap map;
  bool inserted = false;
  for (const std::string key : {"ab\x01   ", "ab    ", "a     ", "ab\x01\x01  "}) {
    ASSERT_EQ(key.size(), 6u);
    map.FindOrInsert(key, inserted);
  }
  std::vector<std::string> order;
  for (const auto* e : map.SortedEntries()) order.emplace_back(map.Key(*e));
  EXPECT_EQ(order, (std::vector<std::string>{"a     ", "ab    ", "ab\x01   ", "ab\x01\x01  "}));
}

TEST(StringWeightMap, GrowsPastManyKeysWithoutLosingAny) {
  StringWeightMap map;
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 5000; ++i) {
      bool inserted = false;
      map.FindOrInsert("key-" + std::to_string(i * 7919 % 5000), inserted).weight += 1;
      EXPECT_EQ(inserted, round == 0);
    }
  }
  EXPECT_EQ(map.size(), 5000u);
  for (int i = 0; i < 5000; i += 97) {
    const auto* e = map.Find("key-" + std::to_string(i));
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->weight, 2.0);
  }
}

}  // namespace
}  // namespace codebook::aggregate

#include "platform/aggregate/radix_sort.h"
#include "platform/aggregate/sorted_runs.h"

namespace codebook::aggregate {
namespace {

// Values that arrive in order (times, running numbers) take the path that
// appends runs instead of merging them; the result must not differ.
TEST(SortedRuns, OrderedAndInterleavedArrivalsGiveTheSameEntries) {
  SortedRuns ordered({});
  SortedRuns shuffled({});
  std::vector<double> values;
  for (int i = 0; i < 50000; ++i) values.push_back(-2000.0 + i * 0.125);
  for (double v : values) ordered.Add(v, 1.0);
  std::mt19937_64 rng(5);
  auto copy = values;
  std::shuffle(copy.begin(), copy.end(), rng);
  for (double v : copy) shuffled.Add(v, 1.0);
  for (double v : copy) shuffled.Add(v, 1.0);
  for (double v : values) ordered.Add(v, 1.0);
  auto a = ordered.Sorted();
  auto b = shuffled.Sorted();
  ASSERT_EQ(a.size(), values.size());
  ASSERT_EQ(b.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(a[i].value, values[i]);
    ASSERT_EQ(b[i].value, values[i]);
    ASSERT_EQ(a[i].weight, 2.0);
    ASSERT_EQ(b[i].weight, 2.0);
  }
}

}  // namespace
}  // namespace codebook::aggregate

// Kinds of data that stress the radix sort's choice of digits: which bits
// vary, which do not, and where equal values must keep their order.
namespace codebook::aggregate {
namespace {

using Entry = NumericEntry<NoExtra>;
using Values = std::vector<double>;

double FromBits(std::uint64_t bits) {
  const double v = std::bit_cast<double>(bits);
  return v == 0.0 ? 0.0 : v;  // -0 is normalised before values get here
}

struct ValueKind {
  const char* name;
  Values (*make)(std::size_t n, std::mt19937_64& rng);
};

const ValueKind kValueKinds[] = {
    {"any finite double", [](std::size_t n, std::mt19937_64& rng) {
       Values v;
       while (v.size() < n) {
         const double x = FromBits(rng());
         if (std::isfinite(x)) v.push_back(x);
       }
       return v;
     }},
    {"all equal", [](std::size_t n, std::mt19937_64&) { return Values(n, 3.25); }},
    {"already sorted", [](std::size_t n, std::mt19937_64&) {
       Values v;
       for (std::size_t i = 0; i < n; ++i) v.push_back(static_cast<double>(i) * 0.5 - 100);
       return v;
     }},
    {"reversed across zero", [](std::size_t n, std::mt19937_64&) {
       Values v;
       for (std::size_t i = 0; i < n; ++i) v.push_back(static_cast<double>(n - i) * 0.5 - 100);
       return v;
     }},
    {"negative and positive", [](std::size_t n, std::mt19937_64& rng) {
       std::uniform_real_distribution<double> u(-1000, 1000);
       Values v;
       for (std::size_t i = 0; i < n; ++i) v.push_back(u(rng));
       return v;
     }},
    {"differing only in the last mantissa bits", [](std::size_t n, std::mt19937_64& rng) {
       Values v;
       for (std::size_t i = 0; i < n; ++i) {
         const std::uint64_t ulps = rng() % 64;
         const double x = std::bit_cast<double>(std::bit_cast<std::uint64_t>(1.0) + ulps);
         v.push_back(rng() % 2 == 0 ? x : -x);
       }
       return v;
     }},
    {"huge and tiny magnitudes", [](std::size_t n, std::mt19937_64& rng) {
       const double extremes[] = {std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(),
                                  std::numeric_limits<double>::min(), 1e300, 1e-300, 0.0};
       Values v;
       for (std::size_t i = 0; i < n; ++i) {
         double x = rng() % 4 == 0 ? extremes[rng() % 6]
                                   : std::ldexp(static_cast<double>(rng() % 1000 + 1), static_cast<int>(rng() % 2080) - 1084);
         v.push_back(rng() % 2 == 0 || x == 0.0 ? x : -x);
       }
       return v;
     }},
    {"zero among its nearest neighbours", [](std::size_t n, std::mt19937_64& rng) {
       const double near[] = {0.0, std::numeric_limits<double>::denorm_min(), -std::numeric_limits<double>::denorm_min(),
                              FromBits(std::uint64_t{1} << 63)};  // -0, normalised
       Values v;
       for (std::size_t i = 0; i < n; ++i) v.push_back(near[rng() % 4]);
       return v;
     }},
    {"a few codes", [](std::size_t n, std::mt19937_64& rng) {
       Values v;
       for (std::size_t i = 0; i < n; ++i) v.push_back(static_cast<double>(rng() % 5));
       return v;
     }},
    {"whole numbers", [](std::size_t n, std::mt19937_64& rng) {
       Values v;
       for (std::size_t i = 0; i < n; ++i) v.push_back(static_cast<double>(rng() % 1000000));
       return v;
     }},
    {"a narrow range", [](std::size_t n, std::mt19937_64& rng) {
       std::uniform_real_distribution<double> u(1000, 1000 + 1e-9);
       Values v;
       for (std::size_t i = 0; i < n; ++i) v.push_back(u(rng));
       return v;
     }},
    {"varying high and low bits around constant middle ones", [](std::size_t n, std::mt19937_64& rng) {
       Values v;
       for (std::size_t i = 0; i < n; ++i) {
         const std::uint64_t r = rng();
         v.push_back(FromBits(std::bit_cast<std::uint64_t>(1.0) | (r & 0xFF) | ((r >> 8) & 0xFF) << 44));
       }
       return v;
     }},
};

// Below 2048 entries a comparison sort runs instead; 70000 spans several
// buffers of the sorted runs.
constexpr std::size_t kSortSizes[] = {1, 2, 7, 1000, 2048, 5000, 70000};

std::vector<Entry> InArrivalOrder(const Values& values) {
  std::vector<Entry> entries;
  for (std::size_t i = 0; i < values.size(); ++i) entries.push_back({values[i], static_cast<double>(i), {}});
  return entries;
}

void ExpectSameEntries(std::span<const Entry> got, std::span<const Entry> want, const std::string& what) {
  ASSERT_EQ(got.size(), want.size()) << what;
  for (std::size_t i = 0; i < want.size(); ++i) {
    ASSERT_EQ(std::bit_cast<std::uint64_t>(got[i].value), std::bit_cast<std::uint64_t>(want[i].value))
        << what << " at " << i << ": " << got[i].value << " for " << want[i].value;
    ASSERT_EQ(std::bit_cast<std::uint64_t>(got[i].weight), std::bit_cast<std::uint64_t>(want[i].weight))
        << what << " at " << i;
  }
}

// Weights are arrival numbers: equal values out of arrival order show.
TEST(RadixSort, OrdersLikeAStableComparisonSort) {
  std::mt19937_64 rng(11);
  for (const ValueKind& kind : kValueKinds) {
    for (const std::size_t n : kSortSizes) {
      const std::string what = std::string(kind.name) + ", " + std::to_string(n) + " entries";
      std::vector<Entry> want = InArrivalOrder(kind.make(n, rng));
      std::vector<Entry> entries = want;
      std::stable_sort(want.begin(), want.end(), [](const Entry& a, const Entry& b) { return a.value < b.value; });

      std::vector<Entry> scratch(n);
      std::vector<Entry> copy = entries;
      ExpectSameEntries(RadixSortByValue(copy, scratch), want, what);

      std::vector<Entry> reused = {{9.0, 9.0, {}}};  // the in-place form grows its scratch
      SortByValue(entries, reused);
      ExpectSameEntries(entries, want, what + " in place");
    }
  }
}

TEST(RadixSort, WithTooShortAScratchStillSortsInPlace) {
  std::mt19937_64 rng(4);
  Values values;
  for (int i = 0; i < 5000; ++i) values.push_back(static_cast<double>(rng() % 100000) - 50000);
  std::vector<Entry> entries = InArrivalOrder(values);
  std::vector<Entry> want = entries;
  std::stable_sort(want.begin(), want.end(), [](const Entry& a, const Entry& b) { return a.value < b.value; });
  std::vector<Entry> scratch(10);
  const auto sorted = RadixSortByValue(entries, scratch);
  EXPECT_EQ(sorted.data(), entries.data());
  ExpectSameEntries(sorted, want, "short scratch");
}

// What the runs must give: every value once, in order, with the weights of
// its cases summed in case order.
std::vector<Entry> StableSortAndSum(std::vector<Entry> entries) {
  std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.value < b.value; });
  std::vector<Entry> out;
  for (const Entry& e : entries) {
    if (!out.empty() && out.back().value == e.value) {
      out.back().weight += e.weight;
    } else {
      out.push_back(e);
    }
  }
  return out;
}

// Weights in quarters up to 2, so that every partial sum is exact and the
// comparison can be bitwise whatever the grouping of the additions. A
// user-missing value (here: one whose bits are a multiple of 3) always
// comes with its weight negated.
double WeightOf(double value, std::mt19937_64& rng) {
  const double w = static_cast<double>(1 + rng() % 8) * 0.25;
  return std::bit_cast<std::uint64_t>(value) % 3 == 0 ? -w : w;
}

// From a few values to many buffers, with results read half way and the
// adding going on after.
TEST(SortedRuns, MatchAStableSortAndSumOnEveryKindOfData) {
  std::mt19937_64 rng(17);
  for (const ValueKind& kind : kValueKinds) {
    for (const std::size_t n : {std::size_t{1}, std::size_t{5000}, std::size_t{70000}, std::size_t{300000}}) {
      const std::string what = std::string(kind.name) + ", " + std::to_string(n) + " values";
      const Values values = kind.make(n, rng);
      // The runs start from the distinct values of the first cases, as when a
      // table turns from hashing to runs.
      std::vector<Entry> seen;
      for (std::size_t i = 0; i < std::min<std::size_t>(n, 50); ++i) seen.push_back({values[i], WeightOf(values[i], rng), {}});
      const std::vector<Entry> start = StableSortAndSum(seen);
      SortedRuns runs(start);
      for (std::size_t i = 50; i < n; ++i) {
        seen.push_back({values[i], WeightOf(values[i], rng), {}});
        runs.Add(seen.back().value, seen.back().weight);
        if (i == n / 2) ExpectSameEntries(runs.Sorted(), StableSortAndSum(seen), what + ", half way");
      }
      ExpectSameEntries(runs.Sorted(), StableSortAndSum(seen), what);
    }
  }
}

// Distinct values but one, which comes once early and once late, so that
// two runs hold it: wherever it falls among the others, the merge must
// find the pair and sum it, or the value would show twice.
TEST(SortedRuns, FindTheOneValueInTwoRunsAtEitherEndOrInTheMiddle) {
  for (const double repeated : {-1.0, 50000.5, 200000.0}) {
    SortedRuns runs({});
    std::mt19937_64 rng(29);
    std::vector<double> others;
    for (int i = 0; i < 200000; ++i) others.push_back(static_cast<double>(i));
    std::shuffle(others.begin(), others.end(), rng);
    runs.Add(repeated, 0.5);
    for (double v : others) runs.Add(v, 1.0);
    runs.Add(repeated, 0.25);
    const auto sorted = runs.Sorted();
    ASSERT_EQ(sorted.size(), others.size() + 1) << repeated;
    const auto it = std::find_if(sorted.begin(), sorted.end(), [&](const Entry& e) { return e.value == repeated; });
    ASSERT_NE(it, sorted.end()) << repeated;
    EXPECT_EQ(it->weight, 0.75) << repeated;
    EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end(), [](const Entry& a, const Entry& b) { return a.value < b.value; }));
  }
}

// Within a buffer the sum of a value's weights follows case order: with
// weights that do not add exactly, another order gives other bits.
TEST(SortedRuns, SumsTheWeightsOfAValueInCaseOrder) {
  SortedRuns runs({});
  runs.Add(7.0, 0.1);
  runs.Add(7.0, 0.2);
  runs.Add(7.0, 0.3);
  for (int i = 0; i < 100000; ++i) runs.Add(100.0 + i * 0.001, 1.0);
  const auto sorted = runs.Sorted();
  ASSERT_EQ(sorted.front().value, 7.0);
  ASSERT_NE((0.1 + 0.2) + 0.3, 0.1 + (0.2 + 0.3));
  EXPECT_EQ(std::bit_cast<std::uint64_t>(sorted.front().weight), std::bit_cast<std::uint64_t>((0.1 + 0.2) + 0.3));
  EXPECT_EQ(sorted.size(), 100001u);
}

// A user-missing value with zero weight keeps the sign that marks it.
TEST(SortedRuns, KeepTheSignOfAZeroWeight) {
  SortedRuns runs({});
  std::mt19937_64 rng(8);
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 40000; ++i) runs.Add(static_cast<double>(rng() % 1000000), 1.0);
    runs.Add(-5.0, -0.0);
  }
  const auto sorted = runs.Sorted();
  ASSERT_EQ(sorted.front().value, -5.0);
  EXPECT_TRUE(std::signbit(sorted.front().weight));
  EXPECT_EQ(sorted.front().weight, 0.0);
}

// Memory follows the distinct values, not the cases: three million cases of
// 5,000 values hold about what one million did, a few times the values'
// own 16 bytes; once read, only the results remain.
TEST(SortedRuns, HoldMemoryInProportionToTheDistinctValues) {
  SortedRuns runs({});
  std::mt19937_64 rng(23);
  std::size_t afterOneMillion = 0;
  std::size_t most = 0;
  for (int i = 1; i <= 3000000; ++i) {
    runs.Add(static_cast<double>(rng() % 5000) * 0.01, 1.0);
    if (i % 1000 == 0) most = std::max(most, runs.MemoryBytes());
    if (i == 1000000) afterOneMillion = most;
  }
  EXPECT_LE(most, afterOneMillion + afterOneMillion / 10);
  EXPECT_LE(most, 5000u * sizeof(Entry) * 8);
  const auto sorted = runs.Sorted();
  ASSERT_EQ(sorted.size(), 5000u);
  EXPECT_LE(runs.MemoryBytes(), 2 * 5000u * sizeof(Entry));
  double total = 0;
  for (const Entry& e : sorted) total += e.weight;
  EXPECT_EQ(total, 3000000.0);
}

}  // namespace
}  // namespace codebook::aggregate
