// .sas7bdat files whose rows are compressed, made here by the test writer
// (whose compressors are its own, apart from the reader's): each reads
// back exactly like the same data uncompressed, in both layouts and byte
// orders, with rows that compress and rows stored as they are; an unknown
// compression and a damaged row are clear errors.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

#include "platform/data/data_error.h"
#include "platform/data/extended_missing.h"
#include "platform/data/read_dataset.h"
#include "platform/data/sas/sas7bdat_layout.h"
#include "platform/data/sav/file_error.h"
#include "testing/dataset_builder.h"
#include "testing/sas7bdat_writer.h"

namespace codebook::data {
namespace {

using Packing = Sas7bdatWriteOptions::Packing;

// Rows with runs of zeros and blanks, repeated patterns, long runs, and
// numbers without runs (pi, which no compressor shortens).
std::shared_ptr<Dataset> Mixed() {
  DatasetBuilder b;
  b.Numeric("x").Label("A number");
  b.Numeric("when").Label("A date");
  b.String("code", 6);
  b.String("text", 300).Label("Long text");
  for (int i = 0; i < 120; ++i) {
    std::string text;
    switch (i % 4) {
      case 0: text = ""; break;
      case 1: for (int k = 0; k < 40; ++k) text += "abc"; break;
      case 2: text = std::string(250, 'z') + "end"; break;
      default: text = "row " + std::to_string(i) + std::string(30, '@') + " and " + std::string(20, '-'); break;
    }
    const double x = i % 3 == 0 ? std::numbers::pi : i % 3 == 1 ? 0.0 : i * 1.25;
    const double when = i % 5 == 0 ? kSysmis : (20000.0 + i + 137775.0) * 86400.0;
    b.Case({i == 7 ? *ExtendedMissingValue('B') : x, when, i % 2 == 0 ? "A" : "bb bb", text});
  }
  return b.Build();
}

// Eight bytes a row: pi stored as it is, 0 compressed.
std::shared_ptr<Dataset> Narrow() {
  DatasetBuilder b;
  b.Numeric("v");
  for (int i = 0; i < 1000; ++i) b.Case({i % 2 == 0 ? std::numbers::pi : 0.0});
  return b.Build();
}

std::vector<std::vector<OBS>> Cases(const Dataset& ds) {
  std::vector<std::vector<OBS>> out;
  auto stream = ds.OpenCases();
  while (const OBS* row = stream->Next()) out.emplace_back(row, row + ds.GetDictionary().CellsPerCase());
  return out;
}

bool SameCells(const std::vector<OBS>& a, const std::vector<OBS>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(OBS)) == 0;
}

// Row subheaders as the pointers of the file's pages give them:
// {compressed, stored as they are}.
std::pair<int, int> RowKinds(const std::vector<std::uint8_t>& bytes, const Sas7bdatWriteOptions& o) {
  sas::Sas7bdatLayout layout;
  layout.is64 = o.is64;
  layout.bigEndian = o.bigEndian;
  const std::size_t header = o.is64 ? 8192 : 1024;
  std::pair<int, int> kinds;
  for (std::size_t at = header; at + o.pageSize <= bytes.size(); at += o.pageSize) {
    const std::span<const std::uint8_t> page(bytes.data() + at, o.pageSize);
    for (const auto& s : sas::ReadSubheaderPointers(page, layout, "test", 0)) {
      if (s.Row(true)) ++(s.compression == 4 ? kinds.first : kinds.second);
    }
  }
  return kinds;
}

struct Packed {
  Packing packing;
  bool is64, bigEndian;
  bool narrow;
};

void PrintTo(const Packed& p, std::ostream* os) {
  *os << (p.packing == Packing::kRle ? "RLE" : "RDC") << (p.is64 ? " 64" : " 32") << (p.bigEndian ? " big" : " little")
      << (p.narrow ? " narrow" : " mixed");
}

Sas7bdatWriteOptions OptionsFor(const Packed& p) {
  Sas7bdatWriteOptions o;
  o.is64 = p.is64;
  o.bigEndian = p.bigEndian;
  o.pageSize = 4096;  // the rows take several pages
  o.columns["when"].format = "DATE9.";
  o.columns["x"].format = "BEST12.";
  return o;
}

class CompressedRows : public ::testing::TestWithParam<Packed> {};

TEST_P(CompressedRows, ReadLikeTheSameRowsUncompressed) {
  const Packed& p = GetParam();
  const auto data = p.narrow ? Narrow() : Mixed();
  Sas7bdatWriteOptions plain = OptionsFor(p);
  Sas7bdatWriteOptions packed = plain;
  packed.packing = p.packing;
  packed.compression = p.packing == Packing::kRle ? "SASYZCRL" : "SASYZCR2";
  const auto packedBytes = WriteSas7bdatBytes(*data, packed);
  const auto [compressed, stored] = RowKinds(packedBytes, packed);
  EXPECT_EQ(compressed + stored, static_cast<int>(data->GetCaseCount()));
  EXPECT_GT(compressed, 0);
  if (p.narrow) {
    EXPECT_GT(stored, 0);
    const std::size_t header = packed.is64 ? 8192 : 1024;
    EXPECT_GE((packedBytes.size() - header) / packed.pageSize, 3u);  // rows on pages after the first
  }

  const ReadResult want = ReadDatasetBytes(WriteSas7bdatBytes(*data, plain), "plain.sas7bdat");
  const ReadResult got = ReadDatasetBytes(packedBytes, "packed.sas7bdat");
  EXPECT_EQ(got.warnings, want.warnings);
  EXPECT_EQ(got.info.format, want.info.format.substr(0, want.info.format.size() - 1) + ", rows compressed with " +
                                 (p.packing == Packing::kRle ? "RLE)" : "RDC)"));
  EXPECT_EQ(got.dataset->GetCaseCount(), want.dataset->GetCaseCount());
  const Dictionary& w = want.dataset->GetDictionary();
  const Dictionary& g = got.dataset->GetDictionary();
  ASSERT_EQ(g.VariableCount(), w.VariableCount());
  for (int i = 0; i < w.VariableCount(); ++i) {
    EXPECT_EQ(g.GetVariable(i)->Name(), w.GetVariable(i)->Name());
    EXPECT_EQ(g.GetVariable(i)->Label(), w.GetVariable(i)->Label());
    EXPECT_EQ(g.GetVariable(i)->PrintFormat(), w.GetVariable(i)->PrintFormat());
    EXPECT_EQ(g.GetVariable(i)->DeclaredWidth(), w.GetVariable(i)->DeclaredWidth());
  }
  const auto wantCases = Cases(*want.dataset);
  const auto gotCases = Cases(*got.dataset);
  ASSERT_EQ(gotCases.size(), static_cast<std::size_t>(data->GetCaseCount()));
  ASSERT_EQ(gotCases.size(), wantCases.size());
  for (std::size_t i = 0; i < wantCases.size(); ++i) EXPECT_TRUE(SameCells(gotCases[i], wantCases[i])) << "case " << i + 1;
}

INSTANTIATE_TEST_SUITE_P(Sas7bdat, CompressedRows,
                         ::testing::Values(Packed{Packing::kRle, true, false, false},
                                           Packed{Packing::kRle, false, true, false},
                                           Packed{Packing::kRdc, true, false, false},
                                           Packed{Packing::kRdc, false, true, false},
                                           Packed{Packing::kRle, true, true, true},
                                           Packed{Packing::kRdc, false, false, true}));

// Rows in subheaders with no compression the reader knows: the error
// names what the file says.
TEST(CompressedRows, AnUnknownCompressionIsRefusedByName) {
  for (const auto& [claim, says] : {std::pair{"SASYZCRX", "compressed with \"SASYZCRX\", a compression not known"},
                                    std::pair{"", "the file does not name the compression"}}) {
    Sas7bdatWriteOptions o = OptionsFor({Packing::kRle, true, false, false});
    o.packing = Packing::kRle;
    o.compression = claim;
    try {
      ReadDatasetBytes(WriteSas7bdatBytes(*Narrow(), o), "packed.sas7bdat");
      ADD_FAILURE() << "read rows compressed with \"" << claim << "\"";
    } catch (const FileError& e) {
      EXPECT_NE(std::string(e.what()).find(says), std::string::npos) << e.what();
    }
  }
}

// A row length that no row of the file can fill (compressed: that no
// compressed row can give; uncompressed: longer than a page) is refused
// when the file is opened, before anything is allocated for it.
TEST(CompressedRows, ARowLengthTheRowsCannotHoldIsRefused) {
  for (const Packing packing : {Packing::kRdc, Packing::kNone}) {
    Sas7bdatWriteOptions o = OptionsFor({packing, true, false, true});
    o.packing = packing;
    o.compression = packing == Packing::kRdc ? "SASYZCR2" : "";
    auto bytes = WriteSas7bdatBytes(*Narrow(), o);
    // The row size subheader is the last of the first page; its row length
    // is its sixth integer.
    const std::size_t at = 8192 + o.pageSize - 808 + 5 * 8;
    ASSERT_EQ(bytes[at], 8);
    bytes[at + 5] = 1;  // 2^40 + 8 bytes
    try {
      ReadDatasetBytes(bytes, "wide.sas7bdat");
      ADD_FAILURE() << "read rows of 2^40 bytes";
    } catch (const FileError& e) {
      EXPECT_NE(std::string(e.what()).find(packing == Packing::kRdc
                                               ? "rows of 1099511627784 bytes are more than its compressed rows"
                                               : "rows of 1099511627784 bytes are more than a page of 4096 bytes"),
                std::string::npos)
          << e.what();
    }
    // With no rows, that length is never used: the file reads, empty.
    for (std::size_t k = 0; k < 8; ++k) bytes[at + 8 + k] = 0;
    const ReadResult empty = ReadDatasetBytes(bytes, "empty.sas7bdat");
    EXPECT_EQ(empty.dataset->GetCaseCount(), 0);
    EXPECT_EQ(empty.dataset->OpenCases()->Next(), nullptr);
  }
}

// A compressed row cut short: the rows before it are read, and the error
// names the file, the format, the case, the compression and the fault.
TEST(CompressedRows, ADamagedRowIsAnErrorAtItsCase) {
  for (const Packing packing : {Packing::kRle, Packing::kRdc}) {
    Sas7bdatWriteOptions o = OptionsFor({packing, true, false, false});
    o.packing = packing;
    o.compression = packing == Packing::kRle ? "SASYZCRL" : "SASYZCR2";
    o.cutRow = 41;  // a row of the pattern "abc"
    const ReadResult read = ReadDatasetBytes(WriteSas7bdatBytes(*Mixed(), o), "cut.sas7bdat");
    auto stream = read.dataset->OpenCases();
    int delivered = 0;
    try {
      while (stream->Next() != nullptr) ++delivered;
      ADD_FAILURE() << "no error";
    } catch (const DataError& e) {
      const std::string text = e.what();
      EXPECT_EQ(e.CaseNumber(), 42) << text;
      EXPECT_NE(text.find("cut.sas7bdat"), std::string::npos) << text;
      EXPECT_NE(text.find("SAS .sas7bdat file"), std::string::npos) << text;
      EXPECT_NE(text.find(packing == Packing::kRle ? "compressed with RLE (SASYZCRL) is damaged"
                                                   : "compressed with RDC (SASYZCR2) is damaged"),
                std::string::npos)
          << text;
    }
    EXPECT_EQ(delivered, 41);
  }
}

// Every byte of the pages changed, one at a time: each file reads, or
// ends in the reader's own error (under the sanitizers: never out of
// bounds).
TEST(CompressedRows, EveryChangedByteReadsOrIsAnError) {
  DatasetBuilder b;
  b.Numeric("x");
  b.String("s", 24);
  for (int i = 0; i < 40; ++i) {
    b.Case({i % 4 == 0 ? std::numbers::pi : i * 0.5, i % 3 == 0 ? "" : i % 3 == 1 ? "abcabcabcabcabc" : "zzzzzzzzzzzz"});
  }
  const auto data = b.Build();
  for (const Packing packing : {Packing::kRle, Packing::kRdc}) {
    Sas7bdatWriteOptions o;
    o.is64 = false;
    o.pageSize = 1024;
    o.packing = packing;
    o.compression = packing == Packing::kRle ? "SASYZCRL" : "SASYZCR2";
    const auto bytes = WriteSas7bdatBytes(*data, o);
    int read = 0, refused = 0;
    for (std::size_t at = 1024; at < bytes.size(); ++at) {
      auto changed = bytes;
      changed[at] ^= 0x5A;
      try {
        const ReadResult result = ReadDatasetBytes(changed, "changed.sas7bdat");
        if (auto stream = result.dataset->OpenCases()) {
          while (stream->Next() != nullptr) {
          }
        }
        ++read;
      } catch (const FileError&) {
        ++refused;
      } catch (const DataError&) {
        ++refused;
      }
    }
    EXPECT_GT(read, 0);
    EXPECT_GT(refused, 0);
  }
}

}  // namespace
}  // namespace codebook::data
