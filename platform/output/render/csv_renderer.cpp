// CSV after RFC 4180 (CRLF line ends, fields quoted when they hold a comma,
// a quote or a line break). One block per table: the title, a heading
// record, then a record per category whose leading fields are its group
// chain, padded to the table's deepest chain. Blocks are separated by an
// empty line; a message is a one-field block "warning: text"; a file's
// summary a block "File" of name, value records.
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "platform/output/render/file_summary_words.h"
#include "platform/output/render/item_writer.h"
#include "platform/output/render/renderers.h"
#include "platform/output/render/table_view.h"

namespace codebook::output {

namespace {

void Field(std::string& out, std::string_view text, bool first = false) {
  if (!first) out.push_back(',');
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    out.append(text);
    return;
  }
  out.push_back('"');
  for (const char c : text) {
    if (c == '"') out.push_back('"');
    out.push_back(c);
  }
  out.push_back('"');
}

void RenderTable(std::string& out, const TableView& view) {
  const int valueColumns = view.ValueColumnCount();
  const int depth = view.MaxDepth();
  Field(out, view.Title(), true);
  out += "\r\n";
  // Heading: blank fields over the group chain, the row dimension's title
  // over the labels, then the column labels.
  for (int g = 0; g < depth; ++g) Field(out, "", g == 0);
  const ContentView* corner = view.RowDimensionTitle();
  Field(out, corner ? std::string_view(corner->text) : std::string_view(), depth == 0);
  for (int c = 0; c < valueColumns; ++c) {
    Field(out, view.OneDimensional() ? std::string_view() : std::string_view(view.columns()[static_cast<std::size_t>(c)]->text));
  }
  out += "\r\n";

  std::vector<const ContentView*> groups;
  for (const ViewEntry& entry : view.entries()) {
    groups.resize(static_cast<std::size_t>(entry.depth));
    const ContentView* label = view.Label(entry.node);
    if (entry.group) {
      groups.push_back(label);
      continue;
    }
    for (int g = 0; g < depth; ++g) {
      const ContentView* group = g < static_cast<int>(groups.size()) ? groups[static_cast<std::size_t>(g)] : nullptr;
      Field(out, group ? std::string_view(group->text) : std::string_view(), g == 0);
    }
    Field(out, label ? std::string_view(label->text) : std::string_view(), depth == 0);
    std::uint32_t i = entry.cellBegin;
    for (int column = 0; column < valueColumns; ++column) {
      const std::uint32_t begin = i;
      while (i < entry.cellEnd && view.cells()[i].column == column) ++i;
      Field(out, JoinedCellText(view, begin, i, column));
    }
    out += "\r\n";
  }
}

void RenderFile(std::string& out, const FileSummary& file) {
  Field(out, "File", true);
  out += "\r\n";
  const auto record = [&](std::string_view name, std::string_view value) {
    Field(out, name, true);
    Field(out, value);
    out += "\r\n";
  };
  record("Name", file.name);
  if (!file.location.empty()) record("Location", file.location);
  if (!file.label.empty()) record("Label", file.label);
  for (const std::string& line : file.documents) record("Document", line);
  if (file.cases >= 0) record("Cases", std::to_string(file.cases));
  record("Variables", std::to_string(file.variables));
  if (!file.weight.empty()) {
    record("Weight", file.weight);
    if (std::isfinite(file.weightedCases)) record("Weighted cases", CountText(file.weightedCases));
    record("Weighting", WeightingSentence(file));
  }
}

}  // namespace

void RenderCsv(const Document& document, std::ostream& out) {
  WriteItems(document, out, "\r\n", RenderTable, [](std::string& buffer, const Message& message) {
    Field(buffer, std::string(SeverityName(message.severity)) + ": " + message.text, true);
    buffer += "\r\n";
  }, [](std::string& buffer, const Heading& heading) {
    Field(buffer, heading.text, true);
    buffer += "\r\n";
  }, RenderFile);
}

}  // namespace codebook::output
