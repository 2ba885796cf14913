#include "platform/output/render/json_writer.h"

#include <cmath>

#include "host/data/obs.h"
#include "platform/data/text/utf8.h"
#include "platform/output/format/number_text.h"

namespace codebook::output {

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
      if (const std::size_t length = data::Utf8SequenceLength(text, pos); length != 0) {
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
