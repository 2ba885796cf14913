#include "platform/data/value_label_set.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numeric>

#include "host/data/text.h"
#include "platform/data/missing_values.h"

namespace {

using codebook::data::TrimTrailingBlanks;

// A strict weak order on doubles that keeps NaN (which a damaged file may
// hold) after every number instead of breaking the sort.
bool NumberLess(double a, double b) {
  if (std::isnan(a)) return false;
  if (std::isnan(b)) return true;
  return a < b;
}

bool NumberEquivalent(double a, double b) { return !NumberLess(a, b) && !NumberLess(b, a); }

int CellsFor(int width) { return width <= 8 ? 1 : (width + 7) / 8; }

// The value as it fits into cellWidth bytes, without splitting a character.
std::string FitValue(std::string_view value, int cellWidth) {
  value = TrimTrailingBlanks(value);
  std::string out(static_cast<std::size_t>(cellWidth), ' ');
  VELAMBCopyToFixed_A(out.data(), out.size(), value.data(), value.size());
  out.resize(TrimTrailingBlanks(out).size());
  return out;
}

// Stable sort by key, then keep the last of each run of equal keys, so that
// a later label for the same value replaces an earlier one.
template <typename Key, typename Less, typename Equal>
void SortAndKeepLast(std::vector<Key>& keys, std::vector<std::string>& labels, Less less,
                     Equal equal) {
  std::vector<std::size_t> order(keys.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return less(keys[a], keys[b]); });
  std::vector<Key> sortedKeys;
  std::vector<std::string> sortedLabels;
  sortedKeys.reserve(keys.size());
  sortedLabels.reserve(keys.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    const std::size_t k = order[i];
    if (i + 1 < order.size() && equal(keys[k], keys[order[i + 1]])) continue;
    sortedKeys.push_back(std::move(keys[k]));
    sortedLabels.push_back(std::move(labels[k]));
  }
  keys = std::move(sortedKeys);
  labels = std::move(sortedLabels);
}

}  // namespace

ValueLabelSetImpl::ValueLabelSetImpl(std::vector<NumericLabel> labels) {
  numbers_.reserve(labels.size());
  labels_.reserve(labels.size());
  for (auto& l : labels) {
    numbers_.push_back(l.value);
    labels_.push_back(std::move(l.label));
  }
  SortAndKeepLast(numbers_, labels_, NumberLess, NumberEquivalent);
  RebuildCells();
}

ValueLabelSetImpl::ValueLabelSetImpl(int cellWidth, std::vector<StringLabel> labels)
    : isString_(true), cellWidth_(std::max(cellWidth, 1)), cellsPerValue_(CellsFor(cellWidth_)) {
  strings_.reserve(labels.size());
  labels_.reserve(labels.size());
  for (auto& l : labels) {
    strings_.push_back(FitValue(l.value, cellWidth_));
    labels_.push_back(std::move(l.label));
  }
  SortAndKeepLast(
      strings_, labels_, [](const std::string& a, const std::string& b) { return a < b; },
      [](const std::string& a, const std::string& b) { return a == b; });
  RebuildCells();
}

void ValueLabelSetImpl::RebuildCells() {
  const std::size_t per = static_cast<std::size_t>(cellsPerValue_);
  cells_.assign(labels_.size() * per, OBS{});
  for (std::size_t i = 0; i < labels_.size(); ++i) {
    OBS* cell = &cells_[i * per];
    if (!isString_) {
      cell->d = numbers_[i];
      continue;
    }
    char* bytes = reinterpret_cast<char*>(cell);
    std::memset(bytes, ' ', per * sizeof(OBS));
    std::memcpy(bytes, strings_[i].data(), strings_[i].size());
  }
}

std::ptrdiff_t ValueLabelSetImpl::IndexOf(double value) const {
  if (isString_ || std::isnan(value)) return -1;
  const auto it = std::lower_bound(numbers_.begin(), numbers_.end(), value, NumberLess);
  if (it == numbers_.end() || *it != value) return -1;
  return it - numbers_.begin();
}

std::ptrdiff_t ValueLabelSetImpl::IndexOf(std::string_view value) const {
  if (!isString_) return -1;
  value = TrimTrailingBlanks(value);
  const auto it = std::lower_bound(strings_.begin(), strings_.end(), value,
                                   [](const std::string& a, std::string_view b) { return a < b; });
  if (it == strings_.end() || *it != value) return -1;
  return it - strings_.begin();
}

void ValueLabelSetImpl::Set(double value, std::string label) {
  if (isString_) return;
  const auto it = std::lower_bound(numbers_.begin(), numbers_.end(), value, NumberLess);
  const auto pos = it - numbers_.begin();
  if (it != numbers_.end() && NumberEquivalent(*it, value)) {
    labels_[static_cast<std::size_t>(pos)] = std::move(label);
    return;
  }
  numbers_.insert(it, value);
  labels_.insert(labels_.begin() + pos, std::move(label));
  RebuildCells();
}

void ValueLabelSetImpl::Set(std::string_view value, std::string label) {
  if (!isString_) return;
  std::string fitted = FitValue(value, cellWidth_);
  const auto it = std::lower_bound(strings_.begin(), strings_.end(), fitted);
  const auto pos = it - strings_.begin();
  if (it != strings_.end() && *it == fitted) {
    labels_[static_cast<std::size_t>(pos)] = std::move(label);
    return;
  }
  strings_.insert(it, std::move(fitted));
  labels_.insert(labels_.begin() + pos, std::move(label));
  RebuildCells();
}

std::shared_ptr<ValueLabelSetImpl> ValueLabelSetImpl::WithCellWidth(int cellWidth) const {
  if (!isString_) return std::make_shared<ValueLabelSetImpl>(*this);
  std::vector<StringLabel> labels;
  labels.reserve(labels_.size());
  for (std::size_t i = 0; i < labels_.size(); ++i) labels.push_back({strings_[i], labels_[i]});
  return std::make_shared<ValueLabelSetImpl>(cellWidth, std::move(labels));
}

const std::string* ValueLabelSetImpl::Find(const OBS* value) const {
  if (value == nullptr) return nullptr;
  if (!isString_) return Find(value->d);
  return FindString(
      std::string_view(reinterpret_cast<const char*>(value), static_cast<std::size_t>(cellWidth_)));
}

const std::string* ValueLabelSetImpl::Find(double value) const {
  const auto i = IndexOf(value);
  return i < 0 ? nullptr : &labels_[static_cast<std::size_t>(i)];
}

const std::string* ValueLabelSetImpl::FindString(std::string_view value) const {
  const auto i = IndexOf(value);
  return i < 0 ? nullptr : &labels_[static_cast<std::size_t>(i)];
}

const std::string* ValueLabelSetImpl::FindText(std::string_view text) const {
  if (isString_) return FindString(text);
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);  // from_chars refuses a plus sign
    if (!text.empty() && text.front() == '-') return nullptr;
  }
  double value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || text.empty()) return nullptr;
  return Find(value);
}

const OBS* ValueLabelSetImpl::ValueCells(std::size_t i) const {
  return &cells_[i * static_cast<std::size_t>(cellsPerValue_)];
}
