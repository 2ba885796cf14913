// The format traits table against the code that relies on it: lookups by
// host and file code, the reader and writer of packed formats, the host's
// own string test and the module's format names.
#include <gtest/gtest.h>

#include <cstdint>
#include <set>

#include "cbkoutput.h"
#include "platform/data/format_traits.h"
#include "platform/data/sav/format_codes.h"

namespace {

using codebook::data::FindFileFormatTraits;
using codebook::data::FindFormatTraits;
using codebook::data::FormatTraits;
using codebook::data::kFormatTraits;

std::uint32_t Packed(unsigned int code, int width, int decimals) {
  return static_cast<std::uint32_t>(code) << 16 | static_cast<std::uint32_t>(width) << 8 |
         static_cast<std::uint32_t>(decimals);
}

TEST(FormatTraits, LookupsFindEachEntryByItsCodes) {
  std::set<unsigned int> fileCodes;
  for (const FormatTraits& traits : kFormatTraits) {
    EXPECT_EQ(FindFormatTraits(traits.type), &traits) << traits.name;
    if (traits.InFile()) {
      EXPECT_TRUE(fileCodes.insert(traits.fileCode).second) << traits.name << ": file code used twice";
      EXPECT_EQ(FindFileFormatTraits(traits.fileCode), &traits) << traits.name;
    }
  }
  int found = 0;
  for (unsigned int code = 0; code < 300; ++code) {
    if (const FormatTraits* traits = FindFormatTraits(code)) {
      EXPECT_EQ(traits->type, code);
      ++found;
    }
    if (const FormatTraits* traits = FindFileFormatTraits(code)) {
      EXPECT_EQ(traits->fileCode, code);
    }
  }
  EXPECT_EQ(found, static_cast<int>(kFormatTraits.size()));
  EXPECT_EQ(FindFormatTraits(0), nullptr);
  EXPECT_EQ(FindFileFormatTraits(0), nullptr);
}

TEST(FormatTraits, AgreeWithTheHostStringTestAndTheModuleNames) {
  for (unsigned int code = 0; code < 256; ++code) {
    const VELA_Format format(static_cast<VELA_Format::FormatType>(code), 8, 0);
    const FormatTraits* traits = FindFormatTraits(code);
    EXPECT_EQ(format.IsString(), traits && traits->IsString()) << code;
    EXPECT_EQ(GetFormatName(format), traits ? traits->name : "badFormat") << code;
  }
}

// Every packed format the reader accepts is a type of the table that files
// can hold, and the writer packs it back to the same bits.
TEST(FormatTraits, ReaderAcceptsExactlyTheFileTypes) {
  std::set<unsigned int> accepted;
  for (unsigned int code = 0; code < 256; ++code) {
    for (const int varWidth : {0, 300}) {
      for (int width = 1; width <= 255; ++width) {
        for (int decimals = 0; decimals <= 17; ++decimals) {
          const std::uint32_t packed = Packed(code, width, decimals);
          const auto format = codebook::data::sav::UnpackFormat(packed, varWidth);
          if (!format) continue;
          const FormatTraits* traits = FindFormatTraits(format->TypeEx());
          ASSERT_NE(traits, nullptr) << code;
          ASSERT_TRUE(traits->InFile()) << traits->name;
          EXPECT_EQ(traits->IsString(), varWidth > 0) << traits->name;
          accepted.insert(traits->type);
          if (code == traits->fileCode) {
            EXPECT_EQ(codebook::data::sav::PackFormat(*format), packed) << traits->name;
          } else {  // the host's own code, kept when asked for
            EXPECT_EQ(code, traits->type);
            EXPECT_EQ(codebook::data::sav::PackFormat(*format, true), packed) << traits->name;
          }
        }
      }
    }
  }
  for (const FormatTraits& traits : kFormatTraits) {
    EXPECT_EQ(accepted.count(traits.type), traits.InFile() ? 1u : 0u) << traits.name;
  }
  // 40 in a file is MTIME, never the host's G.
  EXPECT_EQ(codebook::data::sav::UnpackFormat(Packed(40, 8, 2), 0)->TypeEx(), VELA_Format::MTIME);
}

}  // namespace
