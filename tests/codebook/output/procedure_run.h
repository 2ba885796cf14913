// Runs the procedure's entry on an in-memory dataset and gives its tables
// as the JSON renderer writes them, or as an outline of their rows that a
// test can compare whole.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "codebook.h"
#include "harness.h"
#include "platform/output/render/renderers.h"
#include "platform/session/procedure_context.h"

namespace cbtest {

struct ProcedureRun {
  nlohmann::json items;
  std::vector<std::string> messages;  // "error: ..." / "warning: ..."
};

inline ProcedureRun RunProcedure(const std::shared_ptr<Dataset>& dataset, const std::string& command) {
  codebook::syntax::MessageCollector messages;
  auto document = std::make_shared<codebook::output::Document>();
  {
    codebook::session::ProcedureParts parts;
    parts.command = CommandOf(command);
    parts.messages = &messages;
    parts.selection = std::make_shared<const ProcedureDataSource::Selection>(dataset);
    parts.document = document;
    const codebook::session::ProcedureContext context(std::move(parts));
    codebook_(0);
  }
  std::ostringstream text;
  codebook::output::RenderJson(*document, text);
  return {nlohmann::json::parse(text.str())["items"], Texts(messages)};
}

// One line per table (its title) and per row: its groups and label, then
// its cells in column order, empty cells included.
//
//   sex
//     Standard Attributes / Label: Sex
//     Valid Values / 1: Female | 3 | 60.0%
inline std::string Outline(const ProcedureRun& run) {
  std::string out;
  for (const nlohmann::json& item : run.items) {
    if (item["kind"] != "table") continue;
    out += item["title"].get<std::string>() + "\n";
    // A table of one column names none.
    const nlohmann::json columns = item["columns"].empty() ? nlohmann::json::array({""}) : item["columns"];
    for (const nlohmann::json& row : item["rows"]) {
      std::string line = "  ";
      for (const nlohmann::json& group : row["groups"]) line += group.get<std::string>() + " / ";
      line += row["label"].get<std::string>() + ":";
      std::vector<std::string> cells;
      for (const nlohmann::json& column : columns) {
        const nlohmann::json& cell = row["cells"].value(column.get<std::string>(), nlohmann::json());
        cells.push_back(cell.is_object() ? cell["text"].get<std::string>() : "");
      }
      while (!cells.empty() && cells.back().empty()) cells.pop_back();
      for (std::size_t c = 0; c < cells.size(); ++c) line += (c == 0 ? " " : " | ") + cells[c];
      out += line + "\n";
    }
  }
  for (const std::string& message : run.messages) out += message + "\n";
  return out;
}

}  // namespace cbtest
