// Format names and descriptors, and the free helpers of the tables.
#include <gtest/gtest.h>

#include "cbkoutput.h"

namespace {

std::string Descriptor(int type, int width, int decimals) {
  return GetFormatDescriptor(VELA_Format(static_cast<VELA_Format::FormatType>(type), width, decimals));
}

TEST(FormatNames, DescriptorsShowDecimalsOnlyWhenThereAreAny) {
  EXPECT_EQ(Descriptor(5, 8, 2), "F8.2");
  EXPECT_EQ(Descriptor(5, 8, 0), "F8");
  EXPECT_EQ(Descriptor(1, 20, 0), "A20");
  EXPECT_EQ(Descriptor(22, 20, 0), "DATETIME20");
  EXPECT_EQ(Descriptor(85, 8, 2), "MTIME8.2");
  EXPECT_EQ(Descriptor(86, 19, 0), "YMDHMS19");
  EXPECT_EQ(Descriptor(40, 8, 0), "G8");
}

TEST(FormatNames, UnnamedCodesAreBadFormat) {
  for (int code : {0, 13, 14, 18, 19, 41, 60, 84, 87, 255}) {
    EXPECT_EQ(GetFormatName(VELA_Format(static_cast<VELA_Format::FormatType>(code), 8, 0)), "badFormat")
        << code;
  }
  EXPECT_EQ(Descriptor(13, 8, 2), "badFormat8.2");
}

TEST(AttributeNames, ArraysAreNumberedWithTheDigitsOfTheirSize) {
  std::string out;
  BuildAttrName("Note", 0, 1, out);
  EXPECT_EQ(out, "Note");
  BuildAttrName("Note", 0, 9, out);
  EXPECT_EQ(out, "Note[1]");
  BuildAttrName("Note", 0, 10, out);
  EXPECT_EQ(out, "Note[01]");
  BuildAttrName("Note", 11, 12, out);
  EXPECT_EQ(out, "Note[12]");
  BuildAttrName("Note", 99, 100, out);
  EXPECT_EQ(out, "Note[100]");
  BuildAttrName("Note", 0, 100, out);
  EXPECT_EQ(out, "Note[001]");
}

TEST(Comparators, Orderings) {
  const VarEntry a{"a", 2};
  const VarEntry b{"b", 1};
  EXPECT_TRUE(CompairPairByIndexAsending(b, a));
  EXPECT_TRUE(CompairPairByIndexDesending(a, b));
  EXPECT_TRUE(CompairStringPair(b, a));
  EXPECT_FALSE(CompairStringPair(a, a));
  // Equal keys: name less than or equal, so an entry goes before itself.
  EXPECT_TRUE(CompairIntPair({1, a}, {1, a}));
  EXPECT_TRUE(CompairIntPair({1, b}, {2, a}));
  // Empty values first ascending, last descending; values run opposite to names.
  EXPECT_TRUE(CompairStringAndStringPairAscending({"", b}, {"x", a}));
  EXPECT_TRUE(CompairStringAndStringPairAscending({"y", b}, {"x", a}));
  EXPECT_TRUE(CompairStringAndStringPairAscending({"x", a}, {"x", b}));
  EXPECT_TRUE(CompairStringAndStringPairDescending({"x", a}, {"", b}));
  EXPECT_TRUE(CompairStringAndStringPairDescending({"x", a}, {"y", b}));
  EXPECT_TRUE(CompairStringAndStringPairDescending({"x", b}, {"x", a}));
  EXPECT_TRUE(IsEqual("Age", "aGE"));
  EXPECT_FALSE(IsEqual("Age", "Ages"));
}

}  // namespace
