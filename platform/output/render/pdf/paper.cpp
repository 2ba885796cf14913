// Paper sizes, and the locale's paper.
#include <langinfo.h>

#include <clocale>
#include <cstdint>
#include <string>

#include "platform/output/render/pdf/page_geometry.h"
#include "platform/output/render/pdf/pdf_renderer.h"

namespace codebook::output::pdf {

std::optional<Paper> ParsePaper(std::string_view name) {
  std::string lower(name);
  for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  if (lower == "a4") return Paper::kA4;
  if (lower == "letter") return Paper::kLetter;
  return std::nullopt;
}

Paper LocalePaper() {
// _NL_PAPER_WIDTH is an enumerator of the C library's, not a macro, so the
// library itself is what is asked about.
#ifdef __GLIBC__
  // The program runs in the "C" locale; LC_PAPER is read from the
  // environment for this question alone and put back after.
  const char* current = std::setlocale(LC_PAPER, nullptr);
  const std::string saved = current != nullptr ? current : "C";
  if (std::setlocale(LC_PAPER, "") == nullptr) return Paper::kA4;
  // glibc answers in millimetres, through the pointer's bits.
  const auto width = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(nl_langinfo(_NL_PAPER_WIDTH)));
  const auto height = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(nl_langinfo(_NL_PAPER_HEIGHT)));
  std::setlocale(LC_PAPER, saved.c_str());
  if (width == 216 && height == 279) return Paper::kLetter;
#endif
  return Paper::kA4;
}

PageGeometry GeometryFor(Paper paper) {
  PageGeometry page;
  if (paper == Paper::kLetter) {
    page.width = 612;
    page.height = 792;
  }
  return page;
}

}  // namespace codebook::output::pdf
