#include "platform/output/render/json_writer.h"

#include <cmath>

#include "host/data/obs.h"
#include "platform/output/format/number_text.h"

namespace codebook::output {

namespace {

// Length of the valid UTF-8 sequence at `pos`, or 0 (RFC 3629: no overlong
// forms, no surrogates, nothing above U+10FFFF).
std::size_t ValidSequence(std::string_view text, std::size_t pos) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = at(pos);
  std::size_t length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return 0;
  }
  if (pos + length > text.size()) return 0;
  if (at(pos + 1) < low || at(pos + 1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (at(pos + i) < 0x80 || at(pos + i) > 0xBF) return 0;
  }
  return length;
}

}  // namespace

void AppendJsonString(std::string& buffer, std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  buffer.push_back('"');
  // Bytes that need nothing (printable ASCII but the quote and the
  // backslash, and valid UTF-8) are copied a run at a time.
  std::size_t run = 0;
  std::size_t pos = 0;
  while (pos < text.size()) {
    const auto byte = static_cast<unsigned char>(text[pos]);
    if (byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\') {
      ++pos;
      continue;
    }
    if (byte >= 0x80) {
      if (const std::size_t length = ValidSequence(text, pos); length != 0) {
        pos += length;
        continue;
      }
    }
    buffer.append(text.data() + run, pos - run);
    switch (byte) {
      case '"': buffer += "\\\""; break;
      case '\\': buffer += "\\\\"; break;
      case '\n': buffer += "\\n"; break;
      case '\r': buffer += "\\r"; break;
      case '\t': buffer += "\\t"; break;
      case '\b': buffer += "\\b"; break;
      case '\f': buffer += "\\f"; break;
      default:
        if (byte >= 0x80) {
          buffer += "\xEF\xBF\xBD";
        } else {
          buffer += "\\u00";
          buffer.push_back(kHex[byte >> 4]);
          buffer.push_back(kHex[byte & 15]);
        }
    }
    ++pos;
    run = pos;
  }
  buffer.append(text.data() + run, pos - run);
  buffer.push_back('"');
}

void AppendJsonNumber(std::string& out, double value) {
  if (!std::isfinite(value) || value == kSysmis) {
    out += "null";
    return;
  }
  AppendNumberText(out, value);
}

void WriteJsonString(std::ostream& out, std::string_view text) {
  std::string buffer;
  AppendJsonString(buffer, text);
  out << buffer;
}

void WriteJsonNumber(std::ostream& out, double value) {
  std::string buffer;
  AppendJsonNumber(buffer, value);
  out << buffer;
}

}  // namespace codebook::output
