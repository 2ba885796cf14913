#include "platform/aggregate/radix_sort.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <utility>

namespace codebook::aggregate {

namespace {

using Entry = NumericEntry<NoExtra>;

// Up to 11 bits a digit: 6 passes cover the 64 bits of any data. Wider
// digits save passes but the 2^bits places a pass writes to stop fitting
// the first-level cache, and each pass costs more than the one it saves
// (16-bit digits measured slower than 11-bit ones on 16K-64K entries;
// bytes need 8 passes where 11 bits need 6, and measured slower too).
constexpr int kMaxDigitBits = 11;
constexpr int kMaxPasses = (64 + kMaxDigitBits - 1) / kMaxDigitBits;
using Counts = std::array<std::array<std::uint32_t, std::size_t{1} << kMaxDigitBits>, kMaxPasses>;

// Below this many entries clearing and summing the 2048 counters of each
// pass costs more than a comparison sort (measured even at about 2000
// entries of random values, the comparison sort 25% ahead at 1000).
constexpr std::size_t kComparisonSortBelow = 2048;

// The bits of a double as an unsigned integer that sorts like the double:
// a negative number has all its bits flipped (a larger magnitude sorts
// lower), any other its sign bit set (above every negative).
std::uint64_t OrderedBits(double x) {
  const auto bits = std::bit_cast<std::uint64_t>(x);
  const auto negative = static_cast<std::uint64_t>(static_cast<std::int64_t>(bits) >> 63);
  return bits ^ (negative | (std::uint64_t{1} << 63));
}

// `passes` digits of `bits` bits each, from bit `low` up.
struct Digits {
  int low;
  int bits;
  int passes;
  std::uint64_t Mask() const { return (std::uint64_t{1} << bits) - 1; }
};

// Counts every digit of every entry in one sweep. The number of passes is
// a constant so that the inner loop unrolls: with a loop over a variable
// count the sweep cost as much as two passes of the sort.
template <int kPasses>
void CountDigits(std::span<const Entry> entries, const Digits& digits, Counts& counts) {
  const std::uint64_t mask = digits.Mask();
  for (const Entry& e : entries) {
    const std::uint64_t key = OrderedBits(e.value) >> digits.low;
    for (int p = 0; p < kPasses; ++p) ++counts[static_cast<std::size_t>(p)][(key >> (p * digits.bits)) & mask];
  }
}

void CountAllDigits(std::span<const Entry> entries, const Digits& digits, Counts& counts) {
  switch (digits.passes) {
    case 1: CountDigits<1>(entries, digits, counts); break;
    case 2: CountDigits<2>(entries, digits, counts); break;
    case 3: CountDigits<3>(entries, digits, counts); break;
    case 4: CountDigits<4>(entries, digits, counts); break;
    case 5: CountDigits<5>(entries, digits, counts); break;
    default: CountDigits<kMaxPasses>(entries, digits, counts); break;
  }
}

}  // namespace

std::span<Entry> RadixSortByValue(std::span<Entry> entries, std::span<Entry> scratch) {
  const std::size_t n = entries.size();
  const auto byValue = [](const Entry& a, const Entry& b) { return a.value < b.value; };
  // Measurements often arrive in order (times, running numbers): one look
  // settles it.
  if (std::is_sorted(entries.begin(), entries.end(), byValue)) return entries;
  if (n < kComparisonSortBelow || scratch.size() < n || n > std::numeric_limits<std::uint32_t>::max()) {
    std::stable_sort(entries.begin(), entries.end(), byValue);
    return entries;
  }
  // Only the bits in which some entries differ need passes, and the digits
  // are spread evenly over them: data in a narrow range share their sign,
  // exponent and leading digits, and whole numbers or amounts in cents
  // leave the low bits of the mantissa zero. Either way the passes over
  // bits that never vary would copy every entry for nothing.
  const std::uint64_t first = OrderedBits(entries.front().value);
  std::uint64_t differ = 0;
  for (const Entry& e : entries) differ |= OrderedBits(e.value) ^ first;
  Digits digits{};
  digits.low = std::countr_zero(differ);
  const int width = static_cast<int>(std::bit_width(differ)) - digits.low;
  digits.passes = (width + kMaxDigitBits - 1) / kMaxDigitBits;
  digits.bits = (width + digits.passes - 1) / digits.passes;
  const std::uint64_t mask = digits.Mask();
  const std::size_t buckets = std::size_t{1} << digits.bits;

  Counts counts;
  for (int p = 0; p < digits.passes; ++p) std::fill_n(counts[static_cast<std::size_t>(p)].begin(), buckets, 0u);
  CountAllDigits(entries, digits, counts);

  // Least significant digit first; each pass keeps the order of the one
  // before among entries with the same digit, which makes the sort stable.
  std::span<Entry> from = entries;
  std::span<Entry> to = scratch.first(n);
  for (int p = 0; p < digits.passes; ++p) {
    std::uint32_t* offsets = counts[static_cast<std::size_t>(p)].data();
    const int shift = digits.low + p * digits.bits;
    // A digit the same in every entry (constant bits between varying ones).
    if (offsets[(first >> shift) & mask] == n) continue;
    std::uint32_t sum = 0;
    for (std::size_t b = 0; b < buckets; ++b) sum += std::exchange(offsets[b], sum);
    Entry* out = to.data();
    for (const Entry& e : from) out[offsets[(OrderedBits(e.value) >> shift) & mask]++] = e;
    std::swap(from, to);
  }
  return from;
}

void SortByValue(std::vector<Entry>& entries, std::vector<Entry>& scratch) {
  const std::size_t n = entries.size();
  if (scratch.size() < n) scratch.resize(n);
  if (RadixSortByValue(entries, scratch).data() != entries.data()) {
    entries.swap(scratch);
    entries.resize(n);
  }
}

}  // namespace codebook::aggregate
