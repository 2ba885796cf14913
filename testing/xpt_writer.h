// Writes a dataset as a SAS transport file, version 5 or 8: for the
// reader's tests (every way of padding, long names and labels, several
// members, shortened numbers) and its fuzzer's seeds. Written from the
// format's layout, not by any other program.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/data/dataset.h"

namespace codebook::data {

struct XptColumnSpec {
  std::string format;  // the name alone: "DATE", "DOLLAR"
  int width = 0;
  int decimals = 0;
  int length = 8;      // of a number: 2 to 8 bytes kept
};

struct XptWriteOptions {
  int version = 5;
  std::string datasetName = "DATA";
  std::string datasetLabel;
  int members = 1;  // the data set written this many times, one member each
  std::map<std::string, XptColumnSpec> columns;
};

// Numbers in the format's hexadecimal floating point; a DATE format's
// values (seconds since 1582 as read) back as days since 1960, a
// DATETIME's as seconds since 1960.
std::vector<std::uint8_t> WriteXptBytes(const Dataset& dataset, const XptWriteOptions& options);

// The 8 bytes of a number in the transport format (exact for every double
// within its range).
std::vector<std::uint8_t> TransportBytes(double value);

}  // namespace codebook::data
