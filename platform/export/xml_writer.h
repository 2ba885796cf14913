// A small XML writer that escapes everything it is given: any bytes from a
// dataset file come out as well-formed XML 1.0. Characters XML 1.0 cannot
// hold (C0 controls but tab and line ends, DEL and C1 controls, bytes that
// are not UTF-8) are written as visible escapes, "\x1B" or "\u0085".
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace codebook::exporting {

class XmlWriter {
 public:
  using Attributes = std::vector<std::pair<std::string_view, std::string>>;

  explicit XmlWriter(std::ostream& out);
  ~XmlWriter();

  void Open(std::string_view name, const Attributes& attributes = {});
  void Close();
  // An element holding text only (nothing when `text` is empty and
  // `keepEmpty` is false).
  void Text(std::string_view name, std::string_view text, const Attributes& attributes = {},
            bool keepEmpty = false);
  void Empty(std::string_view name, const Attributes& attributes);
  // Writes what is buffered; the writer buffers whole elements.
  void Flush();

 private:
  void StartTag(std::string_view name, const Attributes& attributes);
  void Indent();

  std::ostream& out_;
  std::string buffer_;
  std::vector<std::string> open_;
};

// The text as XML character data or attribute value.
void AppendXmlEscaped(std::string& out, std::string_view text);

}  // namespace codebook::exporting
