#include "platform/export/xml_writer.h"

#include <cstdint>
#include <cstdio>

#include "platform/data/text/utf8.h"

namespace codebook::exporting {
namespace {

bool Allowed(char32_t c) {
  if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
  if (c >= 0x7F && c <= 0x9F) return false;
  return c != 0xFFFE && c != 0xFFFF;
}

}  // namespace

void AppendXmlEscaped(std::string& out, std::string_view text) {
  char escape[16];
  for (std::size_t i = 0; i < text.size();) {
    char32_t c = 0;
    const std::size_t length = data::Utf8SequenceAt(text, i, c);
    if (length == 0) {
      std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(static_cast<std::uint8_t>(text[i])));
      out += escape;
      ++i;
      continue;
    }
    if (!Allowed(c)) {
      std::snprintf(escape, sizeof escape, c < 0x80 ? "\\x%02X" : "\\u%04X", static_cast<unsigned>(c));
      out += escape;
    } else if (c == '\r') {
      out += "&#13;";  // kept through the parser's line-end normalisation
    } else {
      switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&apos;"; break;
        default: out.append(text.substr(i, length));
      }
    }
    i += length;
  }
}

XmlWriter::XmlWriter(std::ostream& out) : out_(out) {
  buffer_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
}

XmlWriter::~XmlWriter() { Flush(); }

void XmlWriter::Indent() { buffer_.append(open_.size() * 2, ' '); }

void XmlWriter::StartTag(std::string_view name, const Attributes& attributes) {
  Indent();
  buffer_ += '<';
  buffer_ += name;
  for (const auto& [key, value] : attributes) {
    buffer_ += ' ';
    buffer_ += key;
    buffer_ += "=\"";
    AppendXmlEscaped(buffer_, value);
    buffer_ += '"';
  }
}

void XmlWriter::Open(std::string_view name, const Attributes& attributes) {
  StartTag(name, attributes);
  buffer_ += ">\n";
  open_.emplace_back(name);
}

void XmlWriter::Close() {
  if (open_.empty()) return;
  const std::string name = std::move(open_.back());
  open_.pop_back();
  Indent();
  buffer_ += "</" + name + ">\n";
  if (buffer_.size() > (1 << 16)) Flush();
}

void XmlWriter::Text(std::string_view name, std::string_view text, const Attributes& attributes,
                     bool keepEmpty) {
  if (text.empty() && !keepEmpty) return;
  StartTag(name, attributes);
  buffer_ += '>';
  AppendXmlEscaped(buffer_, text);
  buffer_ += "</";
  buffer_ += name;
  buffer_ += ">\n";
}

void XmlWriter::Empty(std::string_view name, const Attributes& attributes) {
  StartTag(name, attributes);
  buffer_ += "/>\n";
}

void XmlWriter::Flush() {
  out_ << buffer_;
  buffer_.clear();
}

}  // namespace codebook::exporting
