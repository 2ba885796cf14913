#include "platform/report/file_summary.h"

#include <limits>

#include "platform/output/render/table_view.h"

namespace codebook::report {
namespace {

std::string TrimmedRight(const std::string& text) {
  std::size_t end = text.size();
  while (end > 0 && (text[end - 1] == ' ' || text[end - 1] == '\r')) --end;
  return text.substr(0, end);
}

// The location the File Information table shows, when the command asked
// for it; the procedure's own words, not the path the program opened.
std::string LocationShown(const output::TableView& view) {
  for (const output::ViewEntry& entry : view.entries()) {
    if (entry.group || entry.cellBegin == entry.cellEnd) continue;
    const output::ContentView* label = view.Label(entry.node);
    if (label != nullptr && label->procedureText && label->text == "Location") {
      return output::JoinedCellText(view, entry.cellBegin, entry.cellEnd, view.cells()[entry.cellBegin].column);
    }
  }
  return {};
}

}  // namespace

std::string FileNameOf(const std::string& path) {
  std::size_t end = path.size();
  while (end > 1 && path[end - 1] == '/') --end;
  const std::size_t slash = path.rfind('/', end - 1);
  return slash == std::string::npos || end == 0 ? path.substr(0, end) : path.substr(slash + 1, end - slash - 1);
}

output::FileSummary SummarizeFile(const output::Document& document, std::size_t first, std::size_t end,
                                  const FileFacts& facts) {
  const data::Dataset& dataset = *facts.dataset;
  output::FileSummary file;
  file.name = FileNameOf(facts.shownName);
  if (const auto& label = dataset.GetDictionary().FileLabel()) file.label = TrimmedRight(*label);
  for (const DSDocument& one : dataset.GetDictionary().Documents()) {
    for (int i = 0; i < one.Size(); ++i) file.documents.push_back(TrimmedRight(one[i]));
  }
  const exporting::ValueTally* tally = facts.tally;
  file.cases = dataset.GetCaseCount();
  // A file that does not say how many cases it has: the pass counted them
  // all, unless it stopped early or the cases were selected.
  if (file.cases < 0 && tally != nullptr && !tally->Partial() && facts.expectedCases < 0 && tally->Cases() > 0) {
    file.cases = tally->Cases();
  }
  file.variables = dataset.ColumnCount();
  if (facts.weightIndex >= 0 && facts.weightIndex < dataset.ColumnCount()) {
    file.weight = dataset.GetVariable(facts.weightIndex)->GetName();
    // What the weighted counts add up to, when the pass saw every case.
    if (tally != nullptr && !tally->Partial() && tally->Cases() > 0) file.weightedCases = tally->WeightedCases();
  }
  const auto& items = document.Items();
  output::TableView view;
  for (std::size_t i = first; i < end && i < items.size(); ++i) {
    const auto* table = std::get_if<output::Document::Table>(&items[i]);
    if (table == nullptr || (*table)->subtype != "FileInformation") continue;
    file.informationTable = *table;
    view.Build(**table);
    file.location = LocationShown(view);
    break;
  }
  return file;
}

}  // namespace codebook::report
