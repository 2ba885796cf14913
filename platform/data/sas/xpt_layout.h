// The parts of a SAS transport file as stored. Every part is a run of
// 80-byte records: the library header and two records of it, the member
// header, the descriptor header and two records (the data set's name,
// dates, label), the namestr header and one descriptor (namestr) per
// variable, padded to a record; in version 8 the long labels; the
// observation header; the rows, one after another, the last record padded
// with blanks. The number of rows is not stored.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::sas {

struct XptVariable {
  bool isString = false;
  std::uint32_t length = 0;    // bytes in a row
  std::uint32_t position = 0;  // of its bytes in a row
  std::string name;            // the file's bytes, without trailing blanks
  std::string label;
  std::string format;          // the format's name
  int formatWidth = 0;
  int formatDecimals = 0;
};

struct XptLayout {
  int version = 5;
  std::string datasetName;
  std::string datasetLabel;
  std::string created;  // as stored, "01JAN24:12:00:00"
  std::vector<XptVariable> variables;
  std::uint64_t rowBytes = 0;
  std::uint64_t dataOffset = 0;
  std::uint64_t cases = 0;
  bool moreMembers = false;  // the file holds further data sets
};

// Throws FileError for a file that is no transport file of version 5 or 8,
// is cut short, or whose descriptors contradict it.
XptLayout ReadXptLayout(const sav::ByteSource& source, sav::Warnings& warnings);

}  // namespace codebook::data::sas
