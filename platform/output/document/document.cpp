#include "platform/output/document/document.h"

#include <algorithm>

namespace codebook::output {

const char* SeverityName(Severity severity) {
  switch (severity) {
    case Severity::kNote: return "note";
    case Severity::kWarning: return "warning";
    case Severity::kError: return "error";
  }
  return "error";
}

void Document::Append(Table table) {
  if (table) items_.emplace_back(std::move(table));
}

void Document::Append(Message message) { items_.emplace_back(std::make_shared<const Message>(std::move(message))); }

void Document::Append(Heading heading) { items_.emplace_back(std::make_shared<const Heading>(std::move(heading))); }

void Document::Append(FileSummary file) {
  items_.emplace_back(std::make_shared<const FileSummary>(std::move(file)));
}

void Document::Insert(std::size_t index, Table table) {
  if (!table) return;
  items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(std::min(index, items_.size())), std::move(table));
}

void Document::Insert(std::size_t index, FileSummary file) {
  items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(std::min(index, items_.size())),
                std::make_shared<const FileSummary>(std::move(file)));
}

void Document::Replace(std::size_t index, Table table) {
  if (index >= items_.size() || !table) return;
  if (const auto* old = std::get_if<Table>(&items_[index])) histograms_.erase(*old);
  items_[index] = std::move(table);
}

void Document::Truncate(std::size_t size) {
  if (size < items_.size()) items_.resize(size);
}

void AddMessage(Document& document, Severity severity, std::string command, int line,
                std::string text) {
  document.Append(Message{severity, std::move(command), line, std::move(text)});
}

}  // namespace codebook::output
