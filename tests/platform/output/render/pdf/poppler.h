// Reading a PDF back as a person's tools do, with Debian's poppler-utils:
// its text (pdftotext), fonts (pdffonts) and pages (pdfinfo). Tests skip
// where the tools are not installed.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <sstream>
#include <string>
#include <vector>

namespace codebook::testing_pdf {

inline bool PopplerInstalled() { return std::system("command -v pdftotext >/dev/null 2>&1 && command -v pdffonts >/dev/null 2>&1") == 0; }

// Standard output of a shell command, and its exit status.
inline std::string Capture(const std::string& command, int* status = nullptr) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return out;
  char buffer[4096];
  std::size_t read = 0;
  while ((read = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, read);
  const int raw = pclose(pipe);
  if (status != nullptr) *status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return out;
}

inline std::string Quoted(const std::string& path) {
  std::string quoted = "'";
  for (char c : path) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

// The text in the order it was drawn: a cell's lines stay together.
inline std::string PdfText(const std::string& path) { return Capture("pdftotext -raw " + Quoted(path) + " - 2>&1"); }

inline int PdfPages(const std::string& path) {
  const std::string info = Capture("pdfinfo " + Quoted(path) + " 2>/dev/null");
  const std::size_t at = info.find("Pages:");
  return at == std::string::npos ? -1 : std::atoi(info.c_str() + at + 6);
}

// pdffonts' rows: each font's name and whether it is embedded.
inline std::string PdfFonts(const std::string& path) { return Capture("pdffonts " + Quoted(path) + " 2>&1"); }

// Whether every font pdffonts lists is embedded (its "emb" column says
// yes), and at least one is listed.
inline bool AllFontsEmbedded(const std::string& fonts) {
  std::size_t lines = 0;
  std::size_t start = 0;
  int listed = 0;
  while (start < fonts.size()) {
    std::size_t end = fonts.find('\n', start);
    if (end == std::string::npos) end = fonts.size();
    const std::string line = fonts.substr(start, end - start);
    start = end + 1;
    if (++lines <= 2 || line.empty()) continue;  // the heading and its rule
    // name, type (one or two words), encoding, then emb, sub, uni, object
    // and ID: emb is the fifth word from the end.
    std::vector<std::string> words;
    std::istringstream split(line);
    for (std::string word; split >> word;) words.push_back(word);
    if (words.size() < 6 || words[words.size() - 5] != "yes") return false;
    ++listed;
  }
  return listed > 0;
}

// Text without any white space: a cell wrapped onto two lines in the PDF
// is still found whole.
inline std::string Squeezed(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c != ' ' && c != '\n' && c != '\t' && c != '\r' && c != '\f') out.push_back(c);
  }
  return out;
}

}  // namespace codebook::testing_pdf
