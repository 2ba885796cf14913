// The output document of a session: pivot tables and messages in the order
// they were issued.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/data/vela_format.h"
#include "platform/output/document/table_model.h"

namespace codebook::output {

enum class Severity { kNote, kWarning, kError };

struct Message {
  Severity severity = Severity::kWarning;
  std::string command;  // the command that issued it, e.g. "CODEBOOK"
  int line = 0;         // line of the command in its syntax file; 0 when unknown
  std::string text;
};

const char* SeverityName(Severity severity);  // "note", "warning", "error"

// Introduces the output of one dataset file when a run covers several.
struct Heading {
  std::string text;
};

// The distribution of a scale variable, for a picture of it: equal-width
// bins from the least to the greatest valid value, each with its summed
// weight, and the quartiles the table shows (NaN when it shows none).
struct Histogram {
  double low = 0;
  double high = 0;
  std::vector<double> weights;
  double p25 = std::numeric_limits<double>::quiet_NaN();
  double p50 = std::numeric_limits<double>::quiet_NaN();
  double p75 = std::numeric_limits<double>::quiet_NaN();
  // The variable's print format, in which the picture names values (a date
  // as a date, money as money); none: plain numbers.
  std::optional<VELA_Format> format;
};

// A data-quality finding about one item (a variable, a set, or the file).
struct Alert {
  std::string item;  // the table's title it is about; empty: the file
  std::string kind;  // a stable code, e.g. "unused-label"
  std::string text;  // one sentence for people
  // The part of the document it belongs to: the n-th file summary (from 0)
  // and the items after it. With several files, one item name can stand in
  // each part.
  int file = 0;
};

// What a report says of a dataset file at the head of its part: the file,
// its label and documents, its cases and variables, and the weight. Where
// the command made a File Information table of it, that table says it
// instead. A document to be shipped names the file, never the folder it was
// made in, unless the command asked for the location.
struct FileSummary {
  std::string name;           // the file's name without its folder, or "standard input"
  std::string location;       // its folder, only where the command asked for LOCATION
  std::string label;          // the file label; empty: none
  std::vector<std::string> documents;  // the documents' lines, in order
  std::int64_t cases = -1;    // -1: the file does not say
  // The sum of the weights of the cases counted, when the counts are
  // weighted (NaN otherwise); `cases` stays the unweighted count.
  double weightedCases = std::numeric_limits<double>::quiet_NaN();
  int variables = 0;
  std::string weight;         // the weight variable; empty: none
  std::shared_ptr<const bp::TableNode> informationTable;  // null: none made
};

// Who made a document and when, for the formats meant to be shipped.
struct Provenance {
  std::string program;  // "codebook"
  std::string version;
  std::string date;     // YYYY-MM-DD, from $SOURCE_DATE_EPOCH when it is set
};

class Document {
 public:
  using Table = std::shared_ptr<const bp::TableNode>;
  // Messages and headings are few and held through a pointer, so that an item
  // is no larger than a table's pointer: a document can hold a hundred
  // thousand tables.
  using MessageItem = std::shared_ptr<const Message>;
  using HeadingItem = std::shared_ptr<const Heading>;
  // A dataset file's summary stands where its part of the document begins.
  using FileItem = std::shared_ptr<const FileSummary>;
  using Item = std::variant<Table, MessageItem, HeadingItem, FileItem>;

  void Append(Table table);
  void Append(Message message);
  void Append(Heading heading);
  void Append(FileSummary file);
  // Puts an item before the one at `index` (at the end when past it): what
  // heads a command's output once the command has made it.
  void Insert(std::size_t index, Table table);
  void Insert(std::size_t index, FileSummary file);
  // Puts another table in an item's place (values hidden, say); what was
  // drawn of the old one goes with it.
  void Replace(std::size_t index, Table table);
  void AddAlert(Alert alert) { alerts_.push_back(std::move(alert)); }
  const std::vector<Alert>& Alerts() const { return alerts_; }
  // Whether alerts were looked for (then renderers show them, none found
  // included, where the format carries them).
  void SetAlertsChecked() { alertsChecked_ = true; }
  bool AlertsChecked() const { return alertsChecked_; }
  // The histogram drawn with a table, if any.
  void SetHistogram(const Table& table, Histogram histogram) { histograms_[table] = std::move(histogram); }
  const Histogram* HistogramOf(const Table& table) const {
    const auto found = histograms_.find(table);
    return found == histograms_.end() ? nullptr : &found->second;
  }
  // Who made the document; null until set.
  void SetProvenance(Provenance provenance) { provenance_ = std::move(provenance); }
  const std::optional<Provenance>& GetProvenance() const { return provenance_; }
  const std::vector<Item>& Items() const { return items_; }
  std::size_t Size() const { return items_.size(); }
  void Clear() {
    items_.clear();
    alerts_.clear();
    alertsChecked_ = false;
    histograms_.clear();
    provenance_.reset();
  }
  // Drops the items after the first `size`: the partial output of a command
  // that failed.
  void Truncate(std::size_t size);

 private:
  std::vector<Item> items_;
  std::vector<Alert> alerts_;
  bool alertsChecked_ = false;
  // Keyed by the table itself (which the key keeps alive), so that no later
  // table made at a freed table's address can take its picture.
  std::map<Table, Histogram> histograms_;
  std::optional<Provenance> provenance_;
};

void AddMessage(Document& document, Severity severity, std::string command, int line,
                std::string text);

}  // namespace codebook::output
