// Value-label sets and the host's map over them: order, lookups by cells and
// by text, strings without trailing blanks, iteration.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/data/value_labels.h"
#include "platform/data/value_label_set.h"

namespace {

std::vector<std::pair<double, std::string>> NumericPairs(VELA_ValueLabelMap& map) {
  std::vector<std::pair<double, std::string>> out;
  map.Reset();
  const OBS* value = nullptr;
  const char* label = nullptr;
  while (map.GetNextPair(value, label)) out.emplace_back(value->d, label);
  return out;
}

std::vector<std::pair<std::string, std::string>> StringPairs(VELA_ValueLabelMap& map,
                                                             std::size_t width) {
  std::vector<std::pair<std::string, std::string>> out;
  map.Reset();
  const OBS* value = nullptr;
  const char* label = nullptr;
  while (map.GetNextPair(value, label)) {
    out.emplace_back(std::string(reinterpret_cast<const char*>(value), width), label);
  }
  return out;
}

VELA_ValueLabelMap MapOf(std::shared_ptr<const ValueLabelSetImpl> set) {
  return VELA_ValueLabelMap(VELA_VLImplPointer(std::move(set)));
}

TEST(ValueLabels, NumbersAscendNumerically) {
  auto set = std::make_shared<ValueLabelSetImpl>(std::vector<ValueLabelSetImpl::NumericLabel>{
      {10, "ten"}, {-1, "minus one"}, {2, "two"}, {1e10, "big"}, {2.5, "two and a half"}});
  auto map = MapOf(set);
  EXPECT_EQ(map.Size(), 5u);
  const std::vector<std::pair<double, std::string>> expected = {
      {-1, "minus one"}, {2, "two"}, {2.5, "two and a half"}, {10, "ten"}, {1e10, "big"}};
  EXPECT_EQ(NumericPairs(map), expected);
  // Reset starts over; iteration past the end keeps answering 0.
  const OBS* v = nullptr;
  const char* l = nullptr;
  EXPECT_EQ(map.GetNextPair(v, l), 0);
  map.Reset();
  ASSERT_EQ(map.GetNextPair(v, l), 1);
  EXPECT_EQ(v->d, -1);
}

TEST(ValueLabels, LaterLabelForSameValueWins) {
  auto set = std::make_shared<ValueLabelSetImpl>(std::vector<ValueLabelSetImpl::NumericLabel>{
      {1, "first"}, {2, "two"}, {1, "second"}});
  auto map = MapOf(set);
  EXPECT_EQ(map.Size(), 2u);
  OBS one{1.0};
  EXPECT_STREQ(map.GetLabel(&one), "second");
}

TEST(ValueLabels, NumericLookupByCellAndText) {
  auto set = std::make_shared<ValueLabelSetImpl>(std::vector<ValueLabelSetImpl::NumericLabel>{
      {1, "yes"}, {0, "no"}, {-9, "refused"}, {0.5, "half"}});
  auto map = MapOf(set);
  OBS v{1.0};
  EXPECT_STREQ(map.GetLabel(&v), "yes");
  v.d = 0.5;
  EXPECT_STREQ(map.GetLabel(&v), "half");
  v.d = 2;
  EXPECT_EQ(map.GetLabel(&v), nullptr);
  v.d = kSysmis;
  EXPECT_EQ(map.GetLabel(&v), nullptr);
  v.d = std::nan("");
  EXPECT_EQ(map.GetLabel(&v), nullptr);

  EXPECT_STREQ(map.GetLabel(std::string("1")), "yes");
  EXPECT_STREQ(map.GetLabel(std::string("1.0")), "yes");
  EXPECT_STREQ(map.GetLabel(std::string(" -9 ")), "refused");
  EXPECT_STREQ(map.GetLabel(std::string("+1")), "yes");
  EXPECT_STREQ(map.GetLabel(std::string("5e-1")), "half");
  // The whole text must be a number.
  EXPECT_EQ(map.GetLabel(std::string("1x")), nullptr);
  EXPECT_EQ(map.GetLabel(std::string("")), nullptr);
  EXPECT_EQ(map.GetLabel(std::string("yes")), nullptr);
  EXPECT_EQ(map.GetLabel(std::string("+-1")), nullptr);
}

TEST(ValueLabels, NaNInADamagedFileDoesNotBreakTheOrder) {
  auto set = std::make_shared<ValueLabelSetImpl>(std::vector<ValueLabelSetImpl::NumericLabel>{
      {3, "c"}, {std::nan(""), "nan"}, {1, "a"}, {2, "b"}});
  auto map = MapOf(set);
  const auto pairs = NumericPairs(map);
  ASSERT_EQ(pairs.size(), 4u);
  EXPECT_EQ(pairs[0].first, 1);
  EXPECT_EQ(pairs[1].first, 2);
  EXPECT_EQ(pairs[2].first, 3);
  EXPECT_TRUE(std::isnan(pairs[3].first));
  OBS two{2.0};
  EXPECT_STREQ(map.GetLabel(&two), "b");
}

TEST(ValueLabels, StringsAscendBytewiseAndIgnoreTrailingBlanks) {
  auto set = std::make_shared<ValueLabelSetImpl>(
      10, std::vector<ValueLabelSetImpl::StringLabel>{
              {"b", "Bee"}, {"a  ", "Ay"}, {"B", "Big bee"}, {"é", "E acute"}, {"ab", "Ay bee"}});
  auto map = MapOf(set);
  // Byte order: "B" (0x42) < "a" < "ab" < "b" < "é" (0xC3...).
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"B         ", "Big bee"}, {"a         ", "Ay"},     {"ab        ", "Ay bee"},
      {"b         ", "Bee"},     {"é        ", "E acute"}};
  EXPECT_EQ(StringPairs(map, 10), expected);

  EXPECT_STREQ(map.GetLabel(std::string("a")), "Ay");
  EXPECT_STREQ(map.GetLabel(std::string("a     ")), "Ay");
  EXPECT_EQ(map.GetLabel(std::string(" a")), nullptr);
  EXPECT_EQ(map.GetLabel(std::string("A")), nullptr);  // case matters in values

  // Lookup by cells reads the set's cell width: 10 bytes over 2 cells.
  OBS cells[2];
  std::memset(cells, ' ', sizeof cells);
  std::memcpy(cells, "ab", 2);
  EXPECT_STREQ(map.GetLabel(cells), "Ay bee");
}

TEST(ValueLabels, ValueLongerThanTheWidthIsCutAtACharacter) {
  auto set = std::make_shared<ValueLabelSetImpl>(
      4, std::vector<ValueLabelSetImpl::StringLabel>{{"abcdef", "long"}, {"abé", "accent"}});
  // "abé" is 4 bytes and fits; "abcdef" becomes "abcd".
  EXPECT_STREQ(set->FindString("abcd")->c_str(), "long");
  EXPECT_STREQ(set->FindString("abé")->c_str(), "accent");
  auto cut = std::make_shared<ValueLabelSetImpl>(
      3, std::vector<ValueLabelSetImpl::StringLabel>{{"abé", "accent"}});
  EXPECT_STREQ(cut->FindString("ab")->c_str(), "accent");
}

TEST(ValueLabels, SetKeepsOrderAndReplaces) {
  ValueLabelSetImpl set(std::vector<ValueLabelSetImpl::NumericLabel>{});
  set.Set(3.0, "three");
  set.Set(1.0, "one");
  set.Set(2.0, "two");
  set.Set(1.0, "uno");
  ASSERT_EQ(set.Size(), 3u);
  EXPECT_EQ(set.NumericValue(0), 1);
  EXPECT_EQ(set.Label(0), "uno");
  EXPECT_EQ(set.ValueCells(2)->d, 3);

  ValueLabelSetImpl strings(8, {});
  strings.Set("b", "B");
  strings.Set("a   ", "A");
  strings.Set("a", "A2");
  ASSERT_EQ(strings.Size(), 2u);
  EXPECT_EQ(strings.StringValue(0), "a");
  EXPECT_EQ(strings.Label(0), "A2");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(strings.ValueCells(1)), 8), "b       ");
}

TEST(ValueLabels, WiderCellsKeepTheLabels) {
  ValueLabelSetImpl narrow(8, {{"a", "A"}, {"b", "B"}});
  auto wide = narrow.WithCellWidth(20);
  EXPECT_EQ(wide->CellWidth(), 20);
  EXPECT_EQ(wide->CellsPerValue(), 3);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(wide->ValueCells(1)), 24),
            "b" + std::string(23, ' '));
  EXPECT_STREQ(wide->FindString("a")->c_str(), "A");
}

}  // namespace
