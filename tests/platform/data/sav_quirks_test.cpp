// Files as other writers make them: records built byte by byte to carry one
// quirk each, read with the robust behaviour (a warning, not a failure).
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "platform/data/data_error.h"
#include "platform/data/sav/read_dataset.h"

namespace codebook::data {
namespace {

// Little- or big-endian file bytes, record by record.
class FileBytes {
 public:
  explicit FileBytes(bool bigEndian = false, int compression = 0, double bias = 100.0)
      : be_(bigEndian) {
    Text("$FL2");
    Fixed("@(#) test", 60);
    I32(2);
    I32(-1);
    I32(compression);
    weightAt_ = bytes_.size();
    I32(0);
    casesAt_ = bytes_.size();
    I32(-1);
    F64(bias);
    Fixed("01 Jan 24", 9);
    Fixed("12:00:00", 8);
    Fixed("", 64);
    bytes_.insert(bytes_.end(), 3, 0);
  }

  FileBytes& I32(std::int32_t v) {
    std::uint32_t u = static_cast<std::uint32_t>(v);
    if (be_) u = __builtin_bswap32(u);
    Raw(&u, 4);
    return *this;
  }
  FileBytes& F64(double d) {
    std::uint64_t u = std::bit_cast<std::uint64_t>(d);
    if (be_) u = __builtin_bswap64(u);
    Raw(&u, 8);
    return *this;
  }
  FileBytes& Bits(std::uint64_t u) { return F64(std::bit_cast<double>(u)); }
  FileBytes& Text(std::string_view s) { return Raw(s.data(), s.size()); }
  FileBytes& Fixed(std::string_view s, std::size_t n) {
    Text(s.substr(0, std::min(n, s.size())));
    bytes_.insert(bytes_.end(), n - std::min(n, s.size()), ' ');
    return *this;
  }
  FileBytes& Raw(const void* p, std::size_t n) {
    const auto* b = static_cast<const std::uint8_t*>(p);
    bytes_.insert(bytes_.end(), b, b + n);
    return *this;
  }

  // A variable record; `width` 0 numeric, -1 continuation.
  FileBytes& Var(int width, std::string_view name, const char* label = nullptr,
                 std::vector<double> missing = {}, int missingCode = 0) {
    I32(2).I32(width).I32(label ? 1 : 0).I32(missingCode ? missingCode : static_cast<int>(missing.size()));
    const std::int32_t format = width > 0 ? (1 << 16 | width << 8) : width == 0 ? (5 << 16 | 8 << 8 | 2) : 0;
    I32(format).I32(format).Fixed(name, 8);
    if (label) {
      const std::string l(label);
      I32(static_cast<int>(l.size())).Text(l);
      bytes_.insert(bytes_.end(), (4 - l.size() % 4) % 4, 0);
    }
    for (double m : missing) F64(m);
    return *this;
  }
  FileBytes& String(int width, std::string_view name) {
    Var(width, name);
    for (int i = 1; i < (width + 7) / 8; ++i) Var(-1, "");
    return *this;
  }
  FileBytes& Extension(int subtype, int size, std::string_view data) {
    I32(7).I32(subtype).I32(size).I32(static_cast<int>(data.size()) / size);
    return Text(data);
  }
  FileBytes& End() { return I32(999).I32(0); }
  // The header's file label, 64 bytes at offset 109.
  FileBytes& FileLabel(std::string_view label) {
    std::memcpy(bytes_.data() + 109, label.data(), std::min<std::size_t>(label.size(), 64));
    return *this;
  }
  FileBytes& Cases(std::int32_t n) {
    std::uint32_t u = static_cast<std::uint32_t>(n);
    if (be_) u = __builtin_bswap32(u);
    std::memcpy(bytes_.data() + casesAt_, &u, 4);
    return *this;
  }

  ReadResult Read() const { return ReadDatasetBytes(bytes_, "quirk.sav"); }

 private:
  bool be_;
  std::size_t weightAt_ = 0;
  std::size_t casesAt_ = 0;
  std::vector<std::uint8_t> bytes_;
};

bool HasWarning(const ReadResult& r, std::string_view text) {
  for (const auto& w : r.warnings) {
    if (w.find(text) != std::string::npos) return true;
  }
  return false;
}

std::vector<std::vector<std::string>> ReadAll(const ReadResult& r) {
  std::vector<std::vector<std::string>> rows;
  const Dictionary& d = r.dataset->GetDictionary();
  auto stream = r.dataset->OpenCases();
  if (!stream) return rows;
  while (const OBS* c = stream->Next()) {
    std::vector<std::string> row;
    for (int i = 0; i < d.VariableCount(); ++i) {
      const Variable& v = *d.GetVariable(i);
      const OBS* cell = c + d.CellOffset(i);
      row.push_back(v.IsNumeric() ? (cell->d == kSysmis ? "." : std::to_string(cell->d))
                                  : std::string(TrimTrailingBlanks(v.StringValue(cell))));
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

TEST(QuirksTest, BigEndianUncompressed) {
  FileBytes f(true);
  f.Var(0, "X").String(10, "S").End();
  f.F64(2.5).Text("hello wo").Text("rld     ");
  f.F64(kSysmis).Text("        ").Text("        ");
  const ReadResult r = f.Cases(2).Read();
  EXPECT_TRUE(r.info.bigEndian);
  EXPECT_EQ(ReadAll(r), (std::vector<std::vector<std::string>>{{"2.500000", "hello worl"}, {".", ""}}));
}

TEST(QuirksTest, BiasZeroBytecodeAndNulPaddedStrings) {
  FileBytes f(false, 1, 0.0);
  f.Var(0, "X").String(8, "S").End();
  // 5 -> 5.0 with bias 0; a string of "ab" padded with NULs; then the end.
  f.Raw("\x05\xfd\xfc\0\0\0\0\0", 8).Raw("ab\0\0\0\0\0\0", 8);
  const ReadResult r = f.Read();
  EXPECT_FALSE(HasWarning(r, "compression bias"));
  EXPECT_EQ(ReadAll(r), (std::vector<std::vector<std::string>>{{"5.000000", "ab"}}));
}

// UTF-8 is guessed only when every text of the dictionary is UTF-8: one
// byte that is not, in any record that holds text, makes it windows-1252.
TEST(QuirksTest, OneTextThatIsNotUtf8AnywhereMakesTheGuessWindows1252) {
  const std::string bad = "caf\xe9";
  const struct {
    const char* where;
    std::function<void(FileBytes&)> add;
  } places[] = {
      {"nowhere", [](FileBytes&) {}},
      {"file label", [&](FileBytes& f) { f.FileLabel(bad); }},
      {"variable label", [&](FileBytes& f) { f.Var(0, "Y", bad.c_str()); }},
      {"value label", [&](FileBytes& f) { f.I32(3).I32(1).F64(1).Text("\x04" + bad + std::string(3, '\0')).I32(4).I32(1).I32(1); }},
      {"document", [&](FileBytes& f) { f.I32(6).I32(1).Fixed(bad, 80); }},
      {"long names", [&](FileBytes& f) { f.Extension(13, 1, "X=X" + bad); }},
      {"file attributes", [&](FileBytes& f) { f.Extension(17, 1, "Note('" + bad + "'\n)"); }},
      {"variable attributes", [&](FileBytes& f) { f.Extension(18, 1, "X:Note('" + bad + "'\n)"); }},
      {"sets", [&](FileBytes& f) { f.Var(0, "Z").Extension(7, 1, "$s=C 4 " + bad + " X Z\n"); }},
  };
  for (const auto& place : places) {
    FileBytes f;
    f.Var(0, "X", "Größe");
    place.add(f);
    const ReadResult r = f.End().Read();
    const bool utf8 = std::string(place.where) == "nowhere";
    EXPECT_TRUE(r.info.encodingGuessed) << place.where;
    EXPECT_TRUE(HasWarning(r, utf8 ? "UTF-8 assumed" : "windows-1252 assumed")) << place.where;
    EXPECT_EQ(*r.dataset->GetDictionary().GetVariable(0)->Label(), utf8 ? "Größe" : "GrÃ¶ÃŸe") << place.where;
  }
}

TEST(QuirksTest, EncodingRecordWinsOverTheCharacterCodeAndNamesAreAliases) {
  FileBytes f;
  std::string machine;
  for (std::int32_t v : {20, 0, 0, -1, 1, 1, 2, 2}) machine.append(reinterpret_cast<const char*>(&v), 4);
  f.Var(0, "X", "\xe9t\xe9").Extension(3, 4, machine).Extension(20, 1, "CP1252").End();
  const ReadResult r = f.Read();
  EXPECT_FALSE(r.info.encodingGuessed);
  EXPECT_EQ(r.dataset->GetDictionary().Encoding(), "windows-1252");
  EXPECT_EQ(*r.dataset->GetDictionary().GetVariable(0)->Label(), "été");
}

TEST(QuirksTest, OldAndNewLowestAreBothLo) {
  FileBytes f;
  f.Var(0, "A", nullptr, {}, -2).Bits(0xFFEFFFFFFFFFFFFEull).F64(0);
  f.Var(0, "B", nullptr, {}, -2).Bits(0xFFEFFFFFFFFFFFFFull).Bits(0x7FEFFFFFFFFFFFFFull);
  f.End();
  const ReadResult r = f.Read();
  const Dictionary& d = r.dataset->GetDictionary();
  EXPECT_EQ(d.GetVariable(0)->Missing().GetRange()->low, -INFINITY);
  EXPECT_EQ(d.GetVariable(0)->Missing().GetRange()->high, 0);
  EXPECT_EQ(d.GetVariable(1)->Missing().GetRange()->low, -INFINITY);
  EXPECT_EQ(d.GetVariable(1)->Missing().GetRange()->high, INFINITY);
}

TEST(QuirksTest, LabelOnAContinuationRecordIsSkipped) {
  FileBytes f;
  f.Var(16, "S").Var(-1, "", "stray label").Var(0, "X").End();
  f.Text("sixteen bytes ok").F64(7);
  const ReadResult r = f.Cases(1).Read();
  ASSERT_EQ(r.dataset->ColumnCount(), 2);
  EXPECT_EQ(ReadAll(r), (std::vector<std::vector<std::string>>{{"sixteen bytes ok", "7.000000"}}));
}

TEST(QuirksTest, ValueLabelsOnAContinuationOrOutOfRangeAreSkipped) {
  FileBytes f;
  f.String(16, "S").Var(0, "X");
  // Labels 1 = "One" for indexes 2 (a continuation), 3 (X) and 99.
  f.I32(3).I32(1).F64(1).Raw("\x03One\0\0\0\0", 8).I32(4).I32(3).I32(2).I32(3).I32(99);
  f.End();
  const ReadResult r = f.Read();
  EXPECT_TRUE(HasWarning(r, "a string continuation"));
  EXPECT_TRUE(HasWarning(r, "outside the dictionary"));
  const Variable& x = *r.dataset->GetDictionary().GetVariable(1);
  ASSERT_TRUE(x.ValueLabels());
  EXPECT_EQ(*x.ValueLabels()->Find(1.0), "One");
}

TEST(QuirksTest, DuplicateShortNamesGetGeneratedNames) {
  FileBytes f;
  f.Var(0, "X").Var(0, "x").Var(0, "").End();
  const ReadResult r = f.Read();
  const Dictionary& d = r.dataset->GetDictionary();
  EXPECT_EQ(d.GetVariable(0)->Name(), "X");
  EXPECT_EQ(d.GetVariable(1)->Name(), "V2");
  EXPECT_EQ(d.GetVariable(2)->Name(), "V3");
  EXPECT_TRUE(HasWarning(r, "empty or duplicate name"));
}

TEST(QuirksTest, VeryLongStringWithTabOnlySeparatorsAndLongNames) {
  FileBytes f;
  f.String(255, "LONG").String(48, "LONG1").Var(0, "N");
  f.Extension(13, 1, "LONG=comment\tN=count").Extension(14, 1, "LONG=00300\t").End();
  std::string value(300, 'v');
  value.replace(250, 10, "0123456789");
  std::string seg0 = value.substr(0, 255) + " ";
  std::string seg1 = value.substr(255) + "   ";
  f.Text(seg0).Text(seg1).F64(1);
  const ReadResult r = f.Cases(1).Read();
  for (const auto& w : r.warnings) {
    if (w.find("encoding") == std::string::npos) ADD_FAILURE() << w;
  }
  const Dictionary& d = r.dataset->GetDictionary();
  ASSERT_EQ(d.VariableCount(), 2);
  EXPECT_EQ(d.GetVariable(0)->Name(), "comment");
  EXPECT_EQ(d.GetVariable(0)->DeclaredWidth(), 300);
  EXPECT_EQ(d.GetVariable(1)->Name(), "count");
  EXPECT_EQ(ReadAll(r), (std::vector<std::vector<std::string>>{{value, "1.000000"}}));
}

// 256 bytes, the narrowest very long string: a full segment and one of a
// single byte. A record that says 255 is wrong (that fits one segment).
TEST(QuirksTest, VeryLongStringsStartAt256Bytes) {
  FileBytes f;
  f.String(255, "EDGE").String(4, "EDGE1").String(255, "SHORT");
  f.Extension(14, 1, std::string("EDGE=00256\0\tSHORT=00255\0\t", 25)).End();
  std::string value(256, 'e');
  value.back() = 'Z';
  f.Text(value.substr(0, 255) + " ").Text(value.substr(255) + "       ").Text(std::string(256, 's'));
  const ReadResult r = f.Cases(1).Read();
  EXPECT_TRUE(HasWarning(r, "very long string SHORT: invalid width"));
  const Dictionary& d = r.dataset->GetDictionary();
  ASSERT_EQ(d.VariableCount(), 2);
  EXPECT_EQ(d.GetVariable(0)->DeclaredWidth(), 256);
  EXPECT_EQ(d.GetVariable(1)->DeclaredWidth(), 255);
  EXPECT_EQ(ReadAll(r), (std::vector<std::vector<std::string>>{{value, std::string(255, 's')}}));
}

// A range may be a single value (5 THRU 5); one whose ends are the wrong
// way round is dropped with a warning, and the discrete value after it kept.
TEST(QuirksTest, MissingRangesOfOneValueAreKept) {
  FileBytes f;
  f.Var(0, "SAME", nullptr, {5, 5}, -2).Var(0, "BACK", nullptr, {6, 5, 9}, -3).End();
  const ReadResult r = f.Read();
  const Dictionary& d = r.dataset->GetDictionary();
  ASSERT_TRUE(d.GetVariable(0)->Missing().GetRange());
  EXPECT_EQ(d.GetVariable(0)->Missing().GetRange()->low, 5);
  EXPECT_EQ(d.GetVariable(0)->Missing().GetRange()->high, 5);
  EXPECT_TRUE(d.GetVariable(0)->Missing().IsMissing(5.0));
  EXPECT_FALSE(HasWarning(r, "variable SAME"));
  EXPECT_TRUE(HasWarning(r, "variable BACK: invalid missing-value range dropped"));
  EXPECT_FALSE(d.GetVariable(1)->Missing().GetRange());
  EXPECT_EQ(d.GetVariable(1)->Missing().Discrete(), std::vector<double>{9});
}

// A set keeps the members it can find, and needs two of them.
TEST(QuirksTest, ASetWithOneMemberLeftIsDropped) {
  FileBytes f;
  f.Var(0, "A").Var(0, "B").String(8, "S");
  f.Extension(7, 1,
              "$one=C 3 One A NOSUCH\n"
              "$twice=C 5 Twice A a\n"
              "$mixed=C 5 Mixed A S\n"
              "$two=C 3 Two A NOSUCH B\n"
              "$dich=D1 1 3 Yes A B\n");
  const ReadResult r = f.End().Read();
  EXPECT_TRUE(HasWarning(r, "multiple-response set $one: unknown member NOSUCH skipped"));
  EXPECT_TRUE(HasWarning(r, "multiple-response set $one has fewer than two members and is dropped"));
  EXPECT_TRUE(HasWarning(r, "multiple-response set $twice: member a listed twice"));
  EXPECT_TRUE(HasWarning(r, "multiple-response set $twice has fewer than two members"));
  EXPECT_TRUE(HasWarning(r, "multiple-response set $mixed: member S is of another type than the first; skipped"));
  std::vector<std::string> kept;
  for (const VariableSetImpl& set : r.dataset->GetMRSets()) {
    std::string members;
    for (const std::string& member : set.Get().members) members += " " + member;
    kept.push_back(set.Name() + members);
  }
  EXPECT_EQ(kept, (std::vector<std::string>{"$two A B", "$dich A B"}));
}

// Whatever follows the end-of-data code is not data, however much of it
// there is (the decoder reads whole groups ahead when it can).
TEST(QuirksTest, NothingAfterTheEndOfDataCodeIsRead) {
  for (const int groupsAfter : {0, 1, 20}) {
    FileBytes f(false, 1);
    f.Var(0, "X").Var(0, "Y").End();
    f.Raw("\x65\x66\x67\x68\xfc\x69\x69\x69", 8);
    for (int g = 0; g < groupsAfter; ++g) f.Raw("\x69\x6a\x69\x6a\x69\x6a\x69\x6a", 8);
    const ReadResult r = f.Read();
    EXPECT_EQ(ReadAll(r), (std::vector<std::vector<std::string>>{{"1.000000", "2.000000"}, {"3.000000", "4.000000"}}))
        << groupsAfter;
  }
}

// A compressed file is counted (one more pass) only when its header does not
// say how many cases it holds; a number it says stands, whatever the data.
TEST(QuirksTest, ACompressedFileIsCountedOnlyWhenItsHeaderIsSilent) {
  const auto read = [](std::int32_t declared) {
    FileBytes f(false, 1);
    f.Var(0, "X").End().Raw("\x65\x66\xfc\x00\x00\x00\x00\x00", 8);
    return (declared >= 0 ? f.Cases(declared) : f).Read().dataset->GetCaseCount();
  };
  EXPECT_EQ(read(-1), 2);
  EXPECT_EQ(read(3), 3);
}

// The machine record's byte order (1 big, 2 little) against the header's:
// the header wins, and a contradiction is worth a warning.
TEST(QuirksTest, AMachineRecordContradictingTheHeaderIsOverruled) {
  for (const bool bigEndian : {false, true}) {
    for (const std::int32_t order : {1, 2, 3}) {
      FileBytes f(bigEndian);
      f.Var(0, "X");
      f.I32(7).I32(3).I32(4).I32(8);
      for (const std::int32_t v : {20, 0, 0, -1, 1, 1, order, 2}) f.I32(v);
      const ReadResult r = f.End().F64(4.5).Cases(1).Read();
      const bool contradicts = (order == 1) != bigEndian && order != 3;
      EXPECT_EQ(HasWarning(r, "contradicts the header's byte order"), contradicts) << bigEndian << order;
      EXPECT_EQ(ReadAll(r), (std::vector<std::vector<std::string>>{{"4.500000"}})) << bigEndian << order;
    }
  }
}

// Long-string missing values (subtype 22) apply to strings wider than 8
// bytes only; for any other variable they are ignored with a warning.
TEST(QuirksTest, LongStringMissingValuesNeedALongString) {
  FileBytes f;
  f.String(8, "SHORT").String(16, "LONG").Var(0, "N");
  std::string record;
  const auto add = [&](const std::string& name, const std::string& value) {
    const std::int32_t nameLength = static_cast<std::int32_t>(name.size());
    const std::int32_t valueLength = static_cast<std::int32_t>(value.size());
    record.append(reinterpret_cast<const char*>(&nameLength), 4).append(name).push_back('\1');
    record.append(reinterpret_cast<const char*>(&valueLength), 4).append(value);
  };
  add("SHORT", "xx      ");
  add("N", "yy      ");
  add("NOSUCH", "zz      ");
  add("LONG", "none    ");
  add("LONG", std::string(24, 'x'));  // wider than the variable
  const ReadResult r = f.Extension(22, 1, record).End().Read();
  EXPECT_TRUE(HasWarning(r, "long-string missing values of LONG have an invalid length"));
  for (const char* name : {"SHORT", "N", "NOSUCH"}) {
    EXPECT_TRUE(HasWarning(r, std::string("long-string missing values of ") + name + ", which is not a long string"))
        << name;
  }
  const Dictionary& d = r.dataset->GetDictionary();
  EXPECT_TRUE(d.GetVariable(0)->Missing().Empty());
  EXPECT_TRUE(d.GetVariable(2)->Missing().Empty());
  EXPECT_EQ(d.GetVariable(1)->Missing().StringValues(), std::vector<std::string>{"none"});
}

TEST(QuirksTest, UnknownAndDamagedExtensionsAreSkipped) {
  FileBytes f;
  f.Var(0, "X").Extension(99, 1, "whatever").Extension(11, 4, std::string(12, '\0') + "1234");
  // Records of no use to a codebook are passed over without a word.
  for (const int ignored : {6, 8, 12, 24}) f.Extension(ignored, 1, "skipped");
  const ReadResult r = f.End().Read();
  EXPECT_TRUE(HasWarning(r, "unknown extension record subtype 99"));
  EXPECT_FALSE(HasWarning(r, "unknown extension record subtype 6"));
  EXPECT_FALSE(HasWarning(r, "unknown extension record subtype 8"));
  EXPECT_FALSE(HasWarning(r, "unknown extension record subtype 12"));
  EXPECT_FALSE(HasWarning(r, "unknown extension record subtype 24"));
  EXPECT_TRUE(HasWarning(r, "display-parameter record does not match"));
  EXPECT_EQ(r.dataset->ColumnCount(), 1);
}

// Display parameters out of range are replaced by defaults, said once.
TEST(QuirksTest, DisplayParametersOutOfRangeAreWarnedOfOnce) {
  FileBytes f;
  f.Var(0, "A").Var(0, "B").Var(0, "C");
  f.I32(7).I32(11).I32(4).I32(9);
  for (const std::int32_t v : {9, 8, 1, 3, -1, 7, 1, 8, 1}) f.I32(v);
  const ReadResult r = f.End().Read();
  int said = 0;
  for (const std::string& warning : r.warnings) said += warning.find("display parameters out of range") != std::string::npos;
  EXPECT_EQ(said, 1);
  const Dictionary& d = r.dataset->GetDictionary();
  EXPECT_EQ(d.GetVariable(1)->GetMeasurementLevel(), 3);
  EXPECT_EQ(d.GetVariable(2)->GetMeasurementLevel(), 1);
}

TEST(QuirksTest, InvalidFormatsAreReplacedAndMtimeCodesTranslated) {
  FileBytes f;
  f.I32(2).I32(0).I32(0).I32(0).I32(40 << 16 | 8 << 8 | 2).I32(0).Fixed("T", 8);
  f.I32(2).I32(0).I32(0).I32(0).I32(86 << 16 | 19 << 8).I32(41 << 16 | 19 << 8).Fixed("U", 8);
  f.End();
  const ReadResult r = f.Read();
  const Dictionary& d = r.dataset->GetDictionary();
  EXPECT_EQ(d.GetVariable(0)->PrintFormat(), VELA_Format(VELA_Format::MTIME, 8, 2));
  EXPECT_EQ(d.GetVariable(0)->WriteFormat(), VELA_Format(VELA_Format::F, 8, 2));
  EXPECT_EQ(d.GetVariable(1)->PrintFormat(), VELA_Format(VELA_Format::YMDHMS, 19, 0));
  EXPECT_EQ(d.GetVariable(1)->WriteFormat(), VELA_Format(VELA_Format::YMDHMS, 19, 0));
  EXPECT_TRUE(HasWarning(r, "invalid write format"));
}

// Five warnings of a kind are shown; of more, the count of the rest.
TEST(QuirksTest, WarningsOfOneKindStopAtFive) {
  for (const int variables : {5, 6, 8}) {
    FileBytes f;
    for (int i = 0; i < variables; ++i) {
      f.I32(2).I32(0).I32(0).I32(0).I32(99 << 16 | 8 << 8).I32(5 << 16 | 8 << 8).Fixed("V" + std::to_string(i), 8);
    }
    const ReadResult r = f.End().Read();
    int shown = 0;
    for (const std::string& warning : r.warnings) shown += warning.find("invalid print format") != std::string::npos;
    EXPECT_EQ(shown, 5) << variables;
    EXPECT_EQ(HasWarning(r, "more warnings of the kind \"format\" were suppressed"), variables > 5) << variables;
    if (variables > 5) {
      EXPECT_TRUE(HasWarning(r, std::to_string(variables - 5) + " more warnings of the kind \"format\"")) << variables;
    }
  }
}

TEST(QuirksTest, AFileWithoutVariablesHasNoCasesWhateverItsDataHold) {
  FileBytes f;
  const ReadResult r = f.End().F64(1).F64(2).Cases(2).Read();
  EXPECT_EQ(r.dataset->ColumnCount(), 0);
  auto cases = r.dataset->OpenCases();
  ASSERT_NE(cases, nullptr);
  EXPECT_EQ(cases->Next(), nullptr);
}

TEST(QuirksTest, MoreCasesThanDeclaredAreAllRead) {
  FileBytes f;
  f.Var(0, "X").End().F64(1).F64(2).F64(3);
  const ReadResult r = f.Cases(2).Read();
  EXPECT_TRUE(HasWarning(r, "declares 2 cases but holds 3"));
  EXPECT_EQ(ReadAll(r).size(), 3u);
}

}  // namespace
}  // namespace codebook::data
