// The decisions of the mapping into this program's dictionary, as tables:
// display formats of both families, dates and times converted, the numbers
// of the SAS formats with their missing codes, the measurement level of a
// file that stores none, and the extended missing codes themselves.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>

#include "platform/data/default_level.h"
#include "platform/data/dta/dta_mapping.h"
#include "platform/data/extended_missing.h"
#include "platform/data/sas/sas_formats.h"
#include "platform/data/read_dataset.h"
#include "platform/data/sas/sas_numbers.h"
#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"
#include "platform/data/time_origin.h"
#include "platform/data/variable.h"
#include "platform/output/format/value_format.h"

namespace codebook::data {
namespace {

using F = VELA_Format;

TEST(StataFormats, ToTheNearestFormatShownHere) {
  struct Case {
    const char* format;
    dta::Storage storage;
    F expected;
    TimeUnit time;
    Alignment alignment;
  };
  using S = dta::Storage;
  const Case cases[] = {
      {"%9.2f", S::kDouble, F(F::F, 9, 2), TimeUnit::kNone, Alignment::kRight},
      {"%-9.2f", S::kFloat, F(F::F, 9, 2), TimeUnit::kNone, Alignment::kLeft},
      {"%12.0fc", S::kLong, F(F::COMMA, 12, 0), TimeUnit::kNone, Alignment::kRight},
      {"%10.0g", S::kDouble, F(F::G, 10, 0), TimeUnit::kNone, Alignment::kRight},
      {"%8.0g", S::kByte, F(F::F, 8, 0), TimeUnit::kNone, Alignment::kRight},
      {"%10.3e", S::kDouble, F(F::E, 10, 3), TimeUnit::kNone, Alignment::kRight},
      {"%09.2f", S::kDouble, F(F::F, 9, 2), TimeUnit::kNone, Alignment::kRight},
      {"%td", S::kLong, F(F::DATE, 11, 0), TimeUnit::kDays1960, Alignment::kRight},
      {"%tdDD/NN/CCYY", S::kLong, F(F::DATE, 11, 0), TimeUnit::kDays1960, Alignment::kRight},
      {"%d", S::kLong, F(F::DATE, 11, 0), TimeUnit::kDays1960, Alignment::kRight},
      {"%tc", S::kDouble, F(F::DATETIME, 20, 0), TimeUnit::kMillis1960, Alignment::kRight},
      {"%tC", S::kDouble, F(F::DATETIME, 20, 0), TimeUnit::kMillis1960, Alignment::kRight},
      {"%tw", S::kInt, F(F::WKYR, 10, 0), TimeUnit::kWeeks1960, Alignment::kRight},
      {"%tm", S::kInt, F(F::MOYR, 8, 0), TimeUnit::kMonths1960, Alignment::kRight},
      {"%tq", S::kInt, F(F::QYR, 8, 0), TimeUnit::kQuarters1960, Alignment::kRight},
      {"%th", S::kInt, F(F::MOYR, 8, 0), TimeUnit::kHalfYears1960, Alignment::kRight},
      {"%ty", S::kInt, F(F::F, 8, 0), TimeUnit::kNone, Alignment::kRight},
      {"%-tm", S::kInt, F(F::MOYR, 8, 0), TimeUnit::kMonths1960, Alignment::kLeft},
      {"%100.50f", S::kDouble, F(F::F, 40, 16), TimeUnit::kNone, Alignment::kRight},
      {"", S::kDouble, F(F::G, 8, 0), TimeUnit::kNone, Alignment::kRight},
      {"junk", S::kInt, F(F::F, 8, 0), TimeUnit::kNone, Alignment::kRight},
  };
  for (const Case& c : cases) {
    const dta::DtaDisplay d = dta::MapStataFormat(c.format, c.storage, 0);
    EXPECT_EQ(d.format, c.expected) << c.format;
    EXPECT_EQ(d.time, c.time) << c.format;
    EXPECT_EQ(d.alignment, c.alignment) << c.format;
  }
  EXPECT_EQ(dta::MapStataFormat("%-20s", dta::Storage::kString, 20).format, F(F::A, 20, 0));
  EXPECT_EQ(dta::MapStataFormat("%-20s", dta::Storage::kString, 20).alignment, Alignment::kLeft);
  EXPECT_EQ(dta::MapStataFormat("%9s", dta::Storage::kStrL, 5000).format, F(F::A, 5000, 0));
}

TEST(SasFormats, ParsedWhetherTheWidthIsInTheTextOrInItsField) {
  struct Case {
    const char* text;
    int width, decimals;
    const char* name;
    int expectedWidth, expectedDecimals;
    const char* shown;
  };
  const Case cases[] = {
      {"DOLLAR10.2", 0, 0, "DOLLAR", 10, 2, "DOLLAR10.2"}, {"DOLLAR", 10, 2, "DOLLAR", 10, 2, "DOLLAR10.2"},
      {"DATE9.", 0, 0, "DATE", 9, 0, "DATE9."},           {"$8.", 0, 0, "$", 8, 0, "$8."},
      {"best", 12, 0, "BEST", 12, 0, "BEST12."},          {"E8601DA10.", 0, 0, "E8601DA", 10, 0, "E8601DA10."},
      {"8.3", 0, 0, "", 8, 3, "8.3"},                     {"", 0, 0, "", 0, 0, ""},
  };
  for (const Case& c : cases) {
    const sas::SasFormat f = sas::ParseSasFormat(c.text, c.width, c.decimals);
    EXPECT_EQ(f.name, c.name) << c.text;
    EXPECT_EQ(f.width, c.expectedWidth) << c.text;
    EXPECT_EQ(f.decimals, c.expectedDecimals) << c.text;
    EXPECT_EQ(f.Text(), c.shown) << c.text;
  }
}

TEST(SasFormats, ToTheNearestFormatShownHere) {
  struct Case {
    const char* text;
    F expected;
    TimeUnit time;
  };
  const Case cases[] = {
      {"", F(F::G, 12, 0), TimeUnit::kNone},
      {"BEST12.", F(F::G, 12, 0), TimeUnit::kNone},
      {"8.2", F(F::F, 8, 2), TimeUnit::kNone},
      {"COMMA12.1", F(F::COMMA, 12, 1), TimeUnit::kNone},
      {"DOLLAR10.2", F(F::DOLLAR, 10, 2), TimeUnit::kNone},
      {"PERCENT8.1", F(F::F, 8, 3), TimeUnit::kNone},
      {"E10.", F(F::E, 10, 0), TimeUnit::kNone},
      {"DATE9.", F(F::DATE, 11, 0), TimeUnit::kDays1960},
      {"DATE7.", F(F::DATE, 9, 0), TimeUnit::kDays1960},
      {"MMDDYY10.", F(F::ADATE, 10, 0), TimeUnit::kDays1960},
      {"DDMMYY8.", F(F::EDATE, 8, 0), TimeUnit::kDays1960},
      {"YYMMDD10.", F(F::SDATE, 10, 0), TimeUnit::kDays1960},
      {"E8601DA10.", F(F::SDATE, 10, 0), TimeUnit::kDays1960},
      {"MONYY7.", F(F::MOYR, 8, 0), TimeUnit::kDays1960},
      {"YYQ6.", F(F::QYR, 8, 0), TimeUnit::kDays1960},
      {"WEEKDATE29.", F(F::DATE, 11, 0), TimeUnit::kDays1960},
      {"DATETIME20.", F(F::DATETIME, 20, 0), TimeUnit::kSeconds1960},
      {"DATETIME22.3", F(F::DATETIME, 24, 3), TimeUnit::kSeconds1960},
      {"E8601DT19.", F(F::YMDHMS, 19, 0), TimeUnit::kSeconds1960},
      {"TIME8.", F(F::TIME, 8, 0), TimeUnit::kNone},
      {"HHMM5.", F(F::TIME, 5, 0), TimeUnit::kNone},
      {"AGEFMT.", F(F::G, 12, 0), TimeUnit::kNone},
  };
  for (const Case& c : cases) {
    const sas::SasDisplay d = sas::MapSasFormat(sas::ParseSasFormat(c.text, 0, 0), false, 0);
    EXPECT_EQ(d.format, c.expected) << c.text;
    EXPECT_EQ(d.time, c.time) << c.text;
  }
  EXPECT_EQ(sas::MapSasFormat(sas::ParseSasFormat("$8.", 0, 0), true, 20).format, F(F::A, 20, 0));
}

// Dates in seconds since 1582-10-14; periods from their first day.
TEST(TimeOrigin, EveryUnitInThisProgramsSeconds) {
  const auto day = [](double days1960) { return (days1960 + 137775.0) * 86400.0; };
  struct Case {
    double stored;
    TimeUnit unit;
    double expected;
  };
  const Case cases[] = {
      {0, TimeUnit::kDays1960, day(0)},
      {-1, TimeUnit::kDays1960, day(-1)},
      {23435, TimeUnit::kDays1960, day(23435)},  // 2024-02-29
      {1500, TimeUnit::kMillis1960, day(0) + 1.5},
      {-86400000, TimeUnit::kMillis1960, day(-1)},
      {90.25, TimeUnit::kSeconds1960, day(0) + 90.25},
      {0, TimeUnit::kWeeks1960, day(0)},
      {53, TimeUnit::kWeeks1960, day(366 + 7)},      // 1961w2: 1960 has 366 days
      {-1, TimeUnit::kWeeks1960, day(-365 + 7 * 51)}, // 1959w52
      {1, TimeUnit::kMonths1960, day(31)},            // 1960m2
      {-1, TimeUnit::kMonths1960, day(-31)},          // 1959m12
      {768, TimeUnit::kMonths1960, day(23376)},       // 2024m1
      {1.5, TimeUnit::kMonths1960, day(31)},          // shown as its month
      {5, TimeUnit::kQuarters1960, day(366 + 90)},    // 1961q2
      {-1, TimeUnit::kHalfYears1960, day(-184)},      // 1959h2
      {3, TimeUnit::kHalfYears1960, day(366 + 181)},  // 1961h2
      {1e300, TimeUnit::kDays1960, 1e300},            // no date: as stored
      {4e9, TimeUnit::kMonths1960, 4e9},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ToProgramTime(c.stored, c.unit), c.expected) << c.stored << " in unit " << static_cast<int>(c.unit);
  }
}

TEST(SasNumbers, MissingCodesAndValidValues) {
  const auto nan = [](std::uint8_t byte, std::uint64_t top) { return (top << 48) | (std::uint64_t{byte} << 40); };
  EXPECT_EQ(sas::Sas7bdatValue(nan(0xD1, 0x7FF8)), kSysmis);               // '.'
  EXPECT_EQ(sas::Sas7bdatValue(nan(0xFE, 0xFFFF)), kSysmis);               // a NaN of no code
  EXPECT_EQ(sas::Sas7bdatValue(nan(0xBE, 0xFFFF)), *ExtendedMissingValue('A'));
  EXPECT_EQ(sas::Sas7bdatValue(nan(0xA0, 0x7FF8)), *ExtendedMissingValue('_'));
  EXPECT_EQ(sas::Sas7bdatValue(std::bit_cast<std::uint64_t>(2.5)), 2.5);
  EXPECT_EQ(sas::Sas7bdatValue(std::bit_cast<std::uint64_t>(HUGE_VAL)), kSysmis);
  // A stored value in the codes' band, or equal to system-missing, is
  // kept apart from them.
  EXPECT_EQ(sas::Sas7bdatValue(std::bit_cast<std::uint64_t>(*ExtendedMissingValue('Z'))), kBelowReservedBand);
  EXPECT_NE(sas::Sas7bdatValue(std::bit_cast<std::uint64_t>(kSysmis)), kSysmis);

  const std::uint8_t zero[8] = {};
  const std::uint8_t dot[8] = {'.'};
  const std::uint8_t letter[8] = {'M'};
  const std::uint8_t underscore[2] = {'_', 0};
  const std::uint8_t one[8] = {0x41, 0x10};           // 16^1 * 1/16
  const std::uint8_t minusHalf[4] = {0xC0, 0x80};     // -(16^0 * 1/2), 4 bytes kept
  EXPECT_EQ(sas::TransportValue(zero, 8), 0.0);
  EXPECT_EQ(sas::TransportValue(dot, 8), kSysmis);
  EXPECT_EQ(sas::TransportValue(letter, 8), *ExtendedMissingValue('M'));
  EXPECT_EQ(sas::TransportValue(underscore, 2), *ExtendedMissingValue('_'));
  EXPECT_EQ(sas::TransportValue(one, 8), 1.0);
  EXPECT_EQ(sas::TransportValue(minusHalf, 4), -0.5);
}

TEST(ExtendedMissing, DistinctAfterEveryValueInTheirOrderAndShownAsCodes) {
  const double a = *ExtendedMissingValue('a');
  const double z = *ExtendedMissingValue('z');
  const double underscore = *ExtendedMissingValue('_');
  const double capitalA = *ExtendedMissingValue('A');
  EXPECT_LT(1.7e308, a);
  EXPECT_LT(a, z);
  EXPECT_LT(underscore, capitalA);
  EXPECT_LT(kBelowReservedBand, a);
  EXPECT_FALSE(ExtendedMissingValue('?').has_value());
  EXPECT_EQ(ExtendedMissingCode(1.7976931348623157e308), 0) << "the largest double is no code";
  for (const char code : {'a', 'm', 'z', '_', 'A', 'Z'}) {
    EXPECT_EQ(ExtendedMissingCode(*ExtendedMissingValue(code)), code);
    EXPECT_EQ(output::FormatNumber(*ExtendedMissingValue(code), F(F::F, 8, 2), output::FieldMode::kCell),
              ExtendedMissingText(code));
  }
  EXPECT_EQ(output::FormatNumber(a, F(F::DATE, 11, 0), output::FieldMode::kFixed), "         .a");

  // Missing only for a variable whose file has codes.
  Variable plain("x");
  Variable coded("y");
  coded.SetMissingValues(MissingValues().WithExtendedCodes());
  OBS cell{a};
  EXPECT_EQ(plain.IsMissing(&cell), 0);
  EXPECT_NE(coded.IsMissing(&cell), 0);
  OBS valid{3.0};
  EXPECT_EQ(coded.IsMissing(&valid), 0);
  EXPECT_FALSE(coded.Missing().Empty());
  EXPECT_FALSE(coded.Missing().DeclaresValues());
}

// A .sav file can store any double: one inside the band is read as the
// largest double below it, never as a code.
TEST(ExtendedMissing, NoValidValueOfASavFilePassesForACode) {
  const double inBand = *ExtendedMissingValue('q');
  DatasetBuilder b;
  b.Numeric("x");
  b.Cases({{inBand}, {1.7976931348623157e308}, {2.0}});
  const auto dataset = b.Build();
  for (const FileCompression compression : {FileCompression::kNone, FileCompression::kBytecode}) {
    WriteOptions options;
    options.compression = compression;
    const ReadResult read = ReadDatasetBytes(WriteDatasetBytes(*dataset, options), "band.sav");
    auto stream = read.dataset->OpenCases();
    EXPECT_EQ(stream->Next()->d, kBelowReservedBand);
    EXPECT_EQ(stream->Next()->d, 1.7976931348623157e308);
    EXPECT_EQ(stream->Next()->d, 2.0);
  }
}

TEST(DefaultLevel, LabelsOfValidValuesMakeACode) {
  Variable none("a");
  none.SetMissingValues(MissingValues().WithExtendedCodes());
  EXPECT_EQ(DefaultMeasurementLevel(none), VELA_Variable::kScale);
  Variable labelled("b");
  labelled.SetMissingValues(MissingValues().WithExtendedCodes());
  labelled.SetValueLabels(std::make_shared<ValueLabelSetImpl>(std::vector<ValueLabelSetImpl::NumericLabel>{{1, "Yes"}}));
  EXPECT_EQ(DefaultMeasurementLevel(labelled), VELA_Variable::kNominal);
  Variable missingOnly("c");
  missingOnly.SetMissingValues(MissingValues().WithExtendedCodes());
  missingOnly.SetValueLabels(std::make_shared<ValueLabelSetImpl>(
      std::vector<ValueLabelSetImpl::NumericLabel>{{*ExtendedMissingValue('d'), "Don't know"}}));
  EXPECT_EQ(DefaultMeasurementLevel(missingOnly), VELA_Variable::kScale);
  Variable text("d", 8);
  EXPECT_EQ(DefaultMeasurementLevel(text), VELA_Variable::kNominal);
}

}  // namespace
}  // namespace codebook::data
