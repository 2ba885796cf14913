// What every format says of a dataset file at the head of its part, in the
// same words: its cases and variables, and how its counts are weighted.
// Renderers lay the words out their own way (a name in code type, say).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/output/document/document.h"

namespace codebook::output {

// A count for people: whole numbers as they are, others to two decimals
// with the trailing zeros dropped ("2488.46", "12.5").
std::string CountText(double value);

// "2500 cases, 39 variables" ("cases not stated in the file" when unknown).
std::string CasesAndVariables(const FileSummary& file);

// The weighting statement, split around the weight variable's name so that
// a format can set the name apart: before + name + after reads
// "Counts are weighted by `w`: the weighted cases add up to 2488.46;
// unweighted, the file has 2500 cases." (backquotes left to the format).
struct WeightingWords {
  std::string before;  // "Counts are weighted by "
  std::string name;    // the weight variable
  std::string after;   // ": the weighted cases add up to ...", with the final period
};
// None when the counts are not weighted.
std::optional<WeightingWords> Weighting(const FileSummary& file);
// The statement as one line of plain text, the name in backquotes; empty
// when unweighted.
std::string WeightingSentence(const FileSummary& file);

// The document's file summaries in order: an alert's `file` indexes them.
std::vector<const FileSummary*> FileSummaries(const Document& document);

// "codebook 1.0, 2026-11-25": who made the document and when.
std::string ProvenanceText(const Provenance& provenance);

}  // namespace codebook::output
