// Markdown: a level-2 heading and a pipe table per table. Row groups are
// bold rows naming the group path ("**Outer › Inner**"); line breaks inside
// a cell become <br>. A file's summary is a few paragraphs: its name, cases
// and variables, label, location, documents as a quotation, and the
// weighting.
#include <string>
#include <string_view>
#include <vector>

#include "platform/output/render/file_summary_words.h"
#include "platform/output/render/item_writer.h"
#include "platform/output/render/renderers.h"
#include "platform/output/render/table_view.h"
#include "platform/output/render/terminal_text.h"

namespace codebook::output {

namespace {

// Characters that would end a cell or start emphasis, code or a link.
void Escape(std::string& out, std::string_view raw) {
  const std::string text = EscapeForTerminal(raw);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    switch (c) {
      case '|': case '\\': case '*': case '_': case '`': case '[': case ']': case '<': case '>':
        out.push_back('\\');
        out.push_back(c);
        break;
      case '\n':
        if (i + 1 < text.size()) out += "<br>";
        break;
      case '\r':
        break;
      default:
        out.push_back(c);
    }
  }
}

void RenderTable(std::string& out, const TableView& view) {
  const int valueColumns = view.ValueColumnCount();
  out += "## ";
  Escape(out, view.Title());
  out += "\n\n|";
  const ContentView* corner = view.RowDimensionTitle();
  out += " ";
  if (corner && view.OneDimensional()) Escape(out, corner->text);
  out += " |";
  std::vector<char> numeric(static_cast<std::size_t>(valueColumns), 1);
  std::vector<char> any(static_cast<std::size_t>(valueColumns), 0);
  for (const ViewCell& cell : view.cells()) {
    numeric[static_cast<std::size_t>(cell.column)] &= cell.content->numeric ? 1 : 0;
    any[static_cast<std::size_t>(cell.column)] = 1;
  }
  for (int c = 0; c < valueColumns; ++c) {
    out += " ";
    if (!view.OneDimensional()) Escape(out, view.columns()[static_cast<std::size_t>(c)]->text);
    out += " |";
  }
  out += "\n|---|";
  for (int c = 0; c < valueColumns; ++c) {
    out += numeric[static_cast<std::size_t>(c)] && any[static_cast<std::size_t>(c)] ? "---:|" : "---|";
  }
  out += "\n";

  std::vector<const ContentView*> groups;
  for (const ViewEntry& entry : view.entries()) {
    groups.resize(static_cast<std::size_t>(entry.depth));
    const ContentView* label = view.Label(entry.node);
    const std::string_view text = label ? std::string_view(label->text) : std::string_view();
    if (entry.group) {
      groups.push_back(label);
      out += "| **";
      for (std::size_t g = 0; g < groups.size(); ++g) {
        if (g > 0) out += " › ";
        Escape(out, groups[g] ? std::string_view(groups[g]->text) : std::string_view());
      }
      out += "** |";
      for (int c = 0; c < valueColumns; ++c) out += " |";
      out += "\n";
      continue;
    }
    out += "| ";
    Escape(out, text);
    out += " |";
    std::uint32_t i = entry.cellBegin;
    for (int column = 0; column < valueColumns; ++column) {
      out += " ";
      const std::uint32_t begin = i;
      while (i < entry.cellEnd && view.cells()[i].column == column) ++i;
      bool first = true;
      ForEachCellLine(view, begin, i, column, [&](std::string_view line) {
        if (!first) out += "<br>";
        Escape(out, line);
        first = false;
      });
      out += " |";
    }
    out += "\n";
  }
}

void RenderFile(std::string& out, const FileSummary& file) {
  // Paragraphs, a blank line between them.
  std::vector<std::string> paragraphs;
  std::string text = "**";
  Escape(text, file.name);
  text += "**: " + CasesAndVariables(file);
  paragraphs.push_back(std::move(text));
  const auto named = [&](const char* name, const std::string& value) {
    if (value.empty()) return;
    std::string paragraph = std::string("**") + name + ":** ";
    Escape(paragraph, value);
    paragraphs.push_back(std::move(paragraph));
  };
  named("Label", file.label);
  named("Location", file.location);
  if (!file.documents.empty()) {
    paragraphs.emplace_back("**Documents:**");
    std::string quote;
    for (std::size_t i = 0; i < file.documents.size(); ++i) {
      quote += "> ";
      Escape(quote, file.documents[i]);
      if (i + 1 < file.documents.size()) quote += "<br>\n";
    }
    paragraphs.push_back(std::move(quote));
  }
  if (const std::optional<WeightingWords> words = Weighting(file)) {
    // Names hold no backquote: the name goes into a code span as it is.
    std::string paragraph;
    Escape(paragraph, words->before);
    paragraph += "`" + EscapeForTerminal(words->name) + "`";
    Escape(paragraph, words->after);
    paragraphs.push_back(std::move(paragraph));
  }
  for (std::size_t i = 0; i < paragraphs.size(); ++i) {
    if (i > 0) out += "\n";
    out += paragraphs[i];
    out += "\n";
  }
}

}  // namespace

void RenderMarkdown(const Document& document, std::ostream& out) {
  WriteItems(document, out, "\n", RenderTable, [](std::string& buffer, const Message& message) {
    buffer += "**";
    buffer += SeverityName(message.severity);
    buffer += ":** ";
    Escape(buffer, message.text);
    buffer += "\n";
  }, [](std::string& buffer, const Heading& heading) {
    buffer += "# ";
    Escape(buffer, heading.text);
    buffer += "\n";
  }, RenderFile);
  if (document.AlertsChecked() && !document.Alerts().empty()) {
    std::string buffer = document.Items().empty() ? "" : "\n";
    const std::vector<const FileSummary*> files = FileSummaries(document);
    int shownFile = -1;
    buffer += "## Data-quality alerts\n\n";
    for (const Alert& alert : document.Alerts()) {
      // With several files, the alerts of each under its name.
      if (files.size() > 1 && alert.file != shownFile) {
        if (shownFile >= 0) buffer += "\n";
        shownFile = alert.file;
        if (alert.file >= 0 && static_cast<std::size_t>(alert.file) < files.size()) {
          buffer += "### ";
          Escape(buffer, files[static_cast<std::size_t>(alert.file)]->name);
          buffer += "\n\n";
        }
      }
      buffer += "- **";
      Escape(buffer, alert.item.empty() ? std::string("(file)") : alert.item);
      buffer += "**: ";
      Escape(buffer, alert.text);
      buffer += "\n";
    }
    out << buffer;
  }
}

}  // namespace codebook::output
