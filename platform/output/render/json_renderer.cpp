// JSON: the shape documented in docs/json-output.md. Written by hand to keep
// the layout (one row per line) and the number forms stable, and to replace
// invalid UTF-8 from the data by U+FFFD instead of failing.
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "host/data/obs.h"
#include "platform/output/render/file_summary_words.h"
#include "platform/data/extended_missing.h"
#include "platform/output/render/json_writer.h"
#include "platform/output/render/renderers.h"
#include "platform/output/render/table_view.h"

namespace codebook::output {

namespace {

void WriteDataValue(std::string& out, const ContentView& content) {
  if (const double* number = std::get_if<double>(&content.dataValue)) {
    // An extended missing code is written as it is shown (".a"), not as
    // the number that stands for it.
    if (const char code = data::ExtendedMissingCode(*number)) return AppendJsonString(out, data::ExtendedMissingText(code));
    AppendJsonNumber(out, *number);
  } else if (const std::string_view* text = std::get_if<std::string_view>(&content.dataValue)) {
    AppendJsonString(out, *text);
  } else {
    out += "null";
  }
}

// One cell: the lines set in `column` of a row, from `first` on. Returns the
// index after the last line used.
std::uint32_t WriteCell(std::string& out, const TableView& view, std::uint32_t first,
                        std::uint32_t end) {
  const int column = view.cells()[first].column;
  std::uint32_t last = first;
  while (last < end && view.cells()[last].column == column) ++last;
  const ContentView& content = *view.cells()[first].content;
  out += "{\"text\": ";
  if (last - first == 1) {
    AppendJsonString(out, content.text);
  } else {
    AppendJsonString(out, JoinedCellText(view, first, last, column));
  }
  if (last - first == 1 && content.kind == CellContent::Kind::kNumber) {
    out += ", \"number\": ";
    AppendJsonNumber(out, content.number);
  }
  if (last - first == 1 && content.kind == CellContent::Kind::kDataValue) {
    out += ", \"value\": ";
    WriteDataValue(out, content);
  }
  out += "}";
  return last;
}

// `groups`: scratch for the group chain, kept from table to table.
void WriteTable(std::string& out, const TableView& view, std::vector<const ContentView*>& groups) {
  out += "  {\"kind\": \"table\", \"title\": ";
  AppendJsonString(out, view.Title());
  out += ", \"subtype\": ";
  AppendJsonString(out, view.table().subtype);
  out += ",\n   \"columns\": [";
  for (std::size_t c = 0; c < view.columns().size(); ++c) {
    if (c > 0) out += ", ";
    AppendJsonString(out, view.columns()[c]->text);
  }
  out += "],\n   \"rows\": [";
  groups.clear();
  bool firstRow = true;
  for (const ViewEntry& entry : view.entries()) {
    groups.resize(static_cast<std::size_t>(entry.depth));
    if (entry.group) {
      groups.push_back(view.Label(entry.node));
      continue;
    }
    out += (firstRow ? "\n    " : ",\n    ");
    firstRow = false;
    out += "{\"groups\": [";
    for (std::size_t g = 0; g < groups.size(); ++g) {
      if (g > 0) out += ", ";
      AppendJsonString(out, groups[g] ? groups[g]->text : std::string_view());
    }
    out += "], \"label\": ";
    const ContentView* label = view.Label(entry.node);
    AppendJsonString(out, label ? label->text : std::string_view());
    if (label && label->kind == CellContent::Kind::kDataValue) {
      out += ", \"value\": ";
      WriteDataValue(out, *label);
    }
    out += ", \"cells\": {";
    std::uint32_t i = entry.cellBegin;
    bool firstCell = true;
    while (i < entry.cellEnd) {
      if (!firstCell) out += ", ";
      firstCell = false;
      const int column = view.cells()[i].column;
      AppendJsonString(out, view.OneDimensional() ? std::string_view() : view.columns()[static_cast<std::size_t>(column)]->text);
      out += ": ";
      i = WriteCell(out, view, i, entry.cellEnd);
    }
    out += "}}";
  }
  out += "]}";
}

// The key of an overview column: its title in lower case, words joined by
// underscores ("Missing Values" -> "missing_values").
std::string KeyOf(std::string_view title) {
  std::string key;
  for (const char c : title) key += c == ' ' ? '_' : static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return key;
}

// The overview's rows as data: per item its name and each column's value
// (a number, a data value, a text, or null where the table shows none).
void WriteOverviewRows(std::string& out, const TableView& view) {
  out += "[";
  bool firstRow = true;
  for (const ViewEntry& entry : view.entries()) {
    if (entry.group) continue;
    out += firstRow ? "\n    {\"name\": " : ",\n    {\"name\": ";
    firstRow = false;
    const ContentView* label = view.Label(entry.node);
    AppendJsonString(out, label ? label->text : std::string_view());
    std::uint32_t i = entry.cellBegin;
    for (std::size_t c = 0; c < view.columns().size(); ++c) {
      out += ", ";
      AppendJsonString(out, KeyOf(view.columns()[c]->text));
      out += ": ";
      while (i < entry.cellEnd && view.cells()[i].column < static_cast<int>(c)) ++i;
      if (i >= entry.cellEnd || view.cells()[i].column != static_cast<int>(c)) {
        out += "null";
        continue;
      }
      const ContentView& content = *view.cells()[i].content;
      if (content.kind == CellContent::Kind::kNumber) {
        AppendJsonNumber(out, content.number);
      } else if (content.kind == CellContent::Kind::kDataValue) {
        WriteDataValue(out, content);
      } else {
        AppendJsonString(out, content.text);
      }
    }
    out += "}";
  }
  out += "]";
}

// A file's summary, and with it the overview that follows it in the
// document (before the next file's), as data.
void WriteFile(std::string& out, const FileSummary& file, const Document& document, std::size_t index,
               TableView& view) {
  out += "  {\"kind\": \"file\", \"name\": ";
  AppendJsonString(out, file.name);
  out += ", \"location\": ";
  if (file.location.empty()) {
    out += "null";
  } else {
    AppendJsonString(out, file.location);
  }
  out += ", \"label\": ";
  if (file.label.empty()) {
    out += "null";
  } else {
    AppendJsonString(out, file.label);
  }
  out += ",\n   \"documents\": [";
  for (std::size_t i = 0; i < file.documents.size(); ++i) {
    if (i > 0) out += ", ";
    AppendJsonString(out, file.documents[i]);
  }
  out += "],\n   \"cases\": ";
  out += file.cases >= 0 ? std::to_string(file.cases) : std::string("null");
  out += ", \"variables\": " + std::to_string(file.variables) + ", \"weight\": ";
  if (file.weight.empty()) {
    out += "null";
  } else {
    AppendJsonString(out, file.weight);
  }
  out += ", \"weighted_cases\": ";
  AppendJsonNumber(out, file.weight.empty() ? std::nan("") : file.weightedCases);
  out += ",\n   \"weighting\": ";
  if (file.weight.empty()) {
    out += "null";
  } else {
    AppendJsonString(out, WeightingSentence(file));
  }
  const auto& items = document.Items();
  for (std::size_t i = index + 1; i < items.size(); ++i) {
    if (std::holds_alternative<Document::FileItem>(items[i]) || std::holds_alternative<Document::HeadingItem>(items[i])) {
      break;
    }
    const auto* table = std::get_if<Document::Table>(&items[i]);
    if (table == nullptr || (*table)->subtype != "Overview") continue;
    view.Build(**table);
    out += ",\n   \"overview\": ";
    WriteOverviewRows(out, view);
    break;
  }
  out += "}";
}

void WriteMessage(std::string& out, const Message& message) {
  out += "  {\"kind\": \"message\", \"severity\": ";
  AppendJsonString(out, SeverityName(message.severity));
  out += ", \"command\": ";
  AppendJsonString(out, message.command);
  out += ",\n   \"line\": " + std::to_string(message.line) + ", \"text\": ";
  AppendJsonString(out, message.text);
  out += "}";
}

}  // namespace

void RenderJson(const Document& document, std::ostream& stream) {
  std::string out;
  out += "{\"format\": \"codebook-output\", \"version\": 1,\n \"items\": [";
  bool first = true;
  TableView view;
  std::vector<const ContentView*> groups;
  std::size_t index = 0;
  for (const Document::Item& item : document.Items()) {
    ++index;
    if (const auto* table = std::get_if<Document::Table>(&item)) {
      view.Build(**table);
      if (!view.Visible()) continue;
      out += (first ? "\n" : ",\n");
      WriteTable(out, view, groups);
      stream << out;
      out.clear();
    } else if (const auto* message = std::get_if<Document::MessageItem>(&item)) {
      out += (first ? "\n" : ",\n");
      WriteMessage(out, **message);
      stream << out;
      out.clear();
    } else if (const auto* heading = std::get_if<Document::HeadingItem>(&item)) {
      out += (first ? "\n" : ",\n");
      out += "  {\"kind\": \"heading\", \"text\": ";
      AppendJsonString(out, (*heading)->text);
      out += "}";
      stream << out;
      out.clear();
    } else if (const auto* file = std::get_if<Document::FileItem>(&item)) {
      out += (first ? "\n" : ",\n");
      WriteFile(out, **file, document, index - 1, view);
      stream << out;
      out.clear();
    } else {
      continue;
    }
    first = false;
  }
  out += "]";
  if (document.AlertsChecked()) {
    out += ",\n \"alerts\": [";
    bool firstAlert = true;
    for (const Alert& alert : document.Alerts()) {
      out += firstAlert ? "\n  {\"item\": " : ",\n  {\"item\": ";
      AppendJsonString(out, alert.item);
      out += ", \"kind\": ";
      AppendJsonString(out, alert.kind);
      out += ", \"text\": ";
      AppendJsonString(out, alert.text);
      out += ", \"file\": " + std::to_string(alert.file) + "}";
      firstAlert = false;
    }
    out += "]";
  }
  out += "}\n";
  stream << out;
}

}  // namespace codebook::output
