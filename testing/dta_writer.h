// Writes a dataset as a .dta file of any release from 104 to 119, either
// byte order: for the reader's tests (every release and layout from one
// description) and the benchmark's large files. Written from the format's
// own layout, not by any other program.
//
//   DtaWriteOptions options;
//   options.release = 117;
//   options.columns["age"].storage = "byte";
//   WriteDtaFile(*dataset, "survey.dta", options);
//
// Numbers are written in each variable's storage (double by default):
// system-missing as ".", an extended missing code as its code (releases
// 113 on). A %td or %tc variable's values, which the reader gives in
// seconds since 1582, are written back as days or milliseconds since 1960.
// Each distinct value-label set becomes one table, named by its first
// variable unless a column names it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/data/dataset.h"

namespace codebook::data {

struct DtaColumnSpec {
  std::string storage;     // byte int long float double strN strL; default double or str<width>
  std::string format;      // default %9.0g or %<width>s
  std::string labelTable;  // the table's name; default the first variable's
};

struct DtaCharacteristicSpec {
  std::string variable;  // "_dta" for the dataset
  std::string name;
  std::string contents;
};

struct DtaLabelTableSpec {
  std::string name;
  std::vector<std::pair<std::int32_t, std::string>> labels;
};

struct DtaWriteOptions {
  int release = 118;
  bool bigEndian = false;
  std::map<std::string, DtaColumnSpec> columns;  // by variable name
  std::vector<DtaCharacteristicSpec> characteristics;
  std::vector<DtaLabelTableSpec> extraTables;    // tables no variable names
  std::string timestamp = "01 Jan 2024 12:00";
  // Identical strL values refer to the first one stored, as writers may.
  bool shareStrLs = false;
};

// Throws std::invalid_argument when the dataset does not fit the release
// (a name, string or label too long, a missing code before 113).
std::vector<std::uint8_t> WriteDtaBytes(const Dataset& dataset, const DtaWriteOptions& options);
void WriteDtaFile(const Dataset& dataset, const std::string& path, const DtaWriteOptions& options);

}  // namespace codebook::data
