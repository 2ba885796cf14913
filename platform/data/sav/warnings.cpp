#include "platform/data/sav/warnings.h"

namespace codebook::data::sav {

void Warnings::Add(const std::string& kind, std::string text) {
  int& n = perKind_[kind];
  ++n;
  if (n <= kPerKind) messages_.push_back(std::move(text));
}

std::vector<std::string> Warnings::Finish() const {
  std::vector<std::string> out = messages_;
  for (const auto& [kind, n] : perKind_) {
    if (n > kPerKind) {
      out.push_back(std::to_string(n - kPerKind) + " more warnings of the kind \"" + kind +
                    "\" were suppressed");
    }
  }
  return out;
}

}  // namespace codebook::data::sav
