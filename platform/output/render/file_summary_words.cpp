#include "platform/output/render/file_summary_words.h"

#include <cmath>
#include <cstdio>

namespace codebook::output {

std::string CountText(double value) {
  if (!std::isfinite(value)) return ".";
  char text[64];
  if (value == std::floor(value) && std::fabs(value) < 1e15) {
    std::snprintf(text, sizeof text, "%.0f", value);
    return text;
  }
  std::snprintf(text, sizeof text, "%.2f", value);
  std::string shown = text;
  while (!shown.empty() && shown.back() == '0') shown.pop_back();
  if (!shown.empty() && shown.back() == '.') shown.pop_back();
  return shown == "-0" ? "0" : shown;
}

std::string CasesAndVariables(const FileSummary& file) {
  std::string text = file.cases >= 0 ? std::to_string(file.cases) + (file.cases == 1 ? " case" : " cases")
                                     : std::string("cases not stated in the file");
  text += ", " + std::to_string(file.variables) + (file.variables == 1 ? " variable" : " variables");
  return text;
}

std::optional<WeightingWords> Weighting(const FileSummary& file) {
  if (file.weight.empty()) return std::nullopt;
  WeightingWords words;
  words.before = "Counts are weighted by ";
  words.name = file.weight;
  // The unweighted count is the file's; the weighted total is that of the
  // cases the pass counted, when it counted them all.
  const bool total = std::isfinite(file.weightedCases);
  const bool cases = file.cases >= 0;
  if (total && cases) {
    words.after = ": the weighted cases add up to " + CountText(file.weightedCases) + "; unweighted, the file has " +
                  std::to_string(file.cases) + (file.cases == 1 ? " case." : " cases.");
  } else if (total) {
    words.after = ": the weighted cases add up to " + CountText(file.weightedCases) + ".";
  } else if (cases) {
    words.after = "; unweighted, the file has " + std::to_string(file.cases) + (file.cases == 1 ? " case." : " cases.");
  } else {
    words.after = ".";
  }
  return words;
}

std::string WeightingSentence(const FileSummary& file) {
  const std::optional<WeightingWords> words = Weighting(file);
  return words ? words->before + "`" + words->name + "`" + words->after : std::string();
}

std::vector<const FileSummary*> FileSummaries(const Document& document) {
  std::vector<const FileSummary*> files;
  for (const Document::Item& item : document.Items()) {
    if (const auto* file = std::get_if<Document::FileItem>(&item)) files.push_back(file->get());
  }
  return files;
}

std::string ProvenanceText(const Provenance& provenance) {
  std::string text = provenance.program;
  if (!provenance.version.empty()) text += " " + provenance.version;
  if (!provenance.date.empty()) text += ", " + provenance.date;
  return text;
}

}  // namespace codebook::output
