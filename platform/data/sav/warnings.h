// Collects the reader's warnings (damaged but readable records). Repeats of
// one kind are limited so that a corrupt file cannot flood the host.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace codebook::data::sav {

class Warnings {
 public:
  static constexpr int kPerKind = 5;

  // `kind` groups repeats (e.g. "value-label index"); `text` is the message.
  void Add(const std::string& kind, std::string text);
  // The collected messages, with one summary line per kind that overflowed.
  std::vector<std::string> Finish() const;

 private:
  std::vector<std::string> messages_;
  std::map<std::string, int> perKind_;
};

}  // namespace codebook::data::sav
