// Parsers for the text-bearing extension records. They work on the raw bytes
// of a record (structure first, text second: the delimiters are ASCII and
// counted strings count bytes of the file's encoding) and never read past
// the record; damaged parts are reported as warnings and skipped.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/data/sav/warnings.h"

namespace codebook::data::sav {

using Bytes = std::span<const std::uint8_t>;

// Subtypes 7 and 19: multiple-response sets.
struct RawMrSet {
  std::string name;       // including "$"
  char kind = 'C';        // 'C', 'D' or 'E'
  std::string counted;    // D and E: the counted value as stored
  std::string label;      // may be empty
  int sourceFlag = 1;     // E: 1 label stored, 11 label from first variable
  std::vector<std::string> members;  // short names as stored
};
void ParseMrSets(Bytes data, std::vector<RawMrSet>& out, Warnings& warnings);

// Subtype 13 (TAB-separated short=long) and subtype 14 (NUL/TAB-separated
// short=width): key/value pairs split at the first '='. TAB, NUL, CR and LF
// all separate; empty pieces are ignored.
struct RawPair {
  std::string key;
  std::string value;
};
std::vector<RawPair> ParsePairs(Bytes data);

// Subtypes 17 and 18: attributes.
struct RawAttribute {
  std::string name;
  std::vector<std::string> values;
};
struct RawVariableAttributes {
  std::string variable;  // long name as stored
  std::vector<RawAttribute> attributes;
};
std::vector<RawAttribute> ParseFileAttributes(Bytes data, Warnings& warnings);
void ParseVariableAttributes(Bytes data, std::vector<RawVariableAttributes>& out, Warnings& warnings);

// Subtype 21: value labels of long strings.
struct RawLongStringLabels {
  std::string variable;
  std::int32_t width = 0;
  std::vector<std::pair<std::string, std::string>> labels;  // value, label
};
std::vector<RawLongStringLabels> ParseLongStringLabels(Bytes data, bool bigEndian, Warnings& warnings);

// Subtype 22: missing values of long strings.
struct RawLongStringMissing {
  std::string variable;
  std::vector<std::string> values;
};
std::vector<RawLongStringMissing> ParseLongStringMissing(Bytes data, bool bigEndian, Warnings& warnings);

}  // namespace codebook::data::sav
