#include "platform/export/xlsx_writer.h"

#include <xlsxwriter.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "host/data/text.h"
#include "platform/data/format_traits.h"
#include "platform/data/text/utf8.h"
#include "platform/export/dictionary_csv.h"
#include "platform/output/format/value_format.h"

namespace codebook::exporting {
namespace {

constexpr lxw_row_t kMaxRows = 1048576;
constexpr lxw_col_t kMaxColumns = 16384;
constexpr std::size_t kMaxCharacters = 32767;
constexpr double kWidestColumn = 60;

// Days from the calendar origin of the dataset's dates (14 October 1582) to
// the workbook's day 0 (30 December 1899); before its day 61 (1 March 1900)
// a workbook cannot show a date.
constexpr double kOriginToWorkbookDays = 115859;
constexpr double kFirstWorkbookDate = 61;
constexpr double kLastWorkbookDate = 2958465;  // 31 December 9999

// Text fit for a cell: what XML 1.0 cannot hold, and bytes that are not
// UTF-8, as the visible escapes the other exports write; at most a cell's
// number of characters.
std::string CellText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  std::size_t characters = 0;  // of the cell, escapes counted whole
  char escape[16];
  for (std::size_t i = 0; i < text.size();) {
    char32_t c = 0;
    const std::size_t length = data::Utf8SequenceAt(text, i, c);
    std::string_view piece;
    if (length == 0) {
      std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(text[i])));
      piece = escape;
      ++i;
    } else if ((c < 0x20 && c != '\t' && c != '\n' && c != '\r') || (c >= 0x7F && c <= 0x9F) || c == 0xFFFE ||
               c == 0xFFFF) {
      std::snprintf(escape, sizeof escape, c < 0x80 ? "\\x%02X" : "\\u%04X", static_cast<unsigned>(c));
      piece = escape;
      i += length;
    } else {
      piece = text.substr(i, length);
      i += length;
    }
    // An escape is as many characters as it has bytes; anything else is one.
    const std::size_t added = piece.data() == escape ? piece.size() : 1;
    // Room is kept for the ellipsis that says the text goes on.
    if (characters + added > kMaxCharacters - 1) {
      out += "\xE2\x80\xA6";  // …
      break;
    }
    out += piece;
    characters += added;
  }
  return out;
}

std::size_t Characters(std::string_view text) {
  std::size_t count = 0;
  for (const char c : text) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
  return count;
}

// How the workbook shows a statistic of a variable: as a date, a time of
// day or a duration where the variable holds those, else as a number.
enum class Kind { kNumber, kDate, kDateTime, kDuration };

Kind KindOf(const VELA_Format& format) {
  const data::FormatTraits* traits = data::FindFormatTraits(format.TypeEx());
  if (traits == nullptr) return Kind::kNumber;
  switch (traits->kind) {
    case data::FormatKind::kDate: return Kind::kDate;
    case data::FormatKind::kDateTime: return Kind::kDateTime;
    case data::FormatKind::kDuration: return Kind::kDuration;
    default: return Kind::kNumber;
  }
}

class Workbook {
 public:
  Workbook(const std::string& path, std::time_t created) {
    lxw_workbook_options options{};
    // Rows go to the file as they are made: a wide file's sheets are not
    // held in memory.
    options.constant_memory = LXW_TRUE;
    workbook_ = workbook_new_opt(path.c_str(), &options);
    if (workbook_ == nullptr) return;
    if (created != 0) {
      // The time in the document's properties, which the library also
      // stamps the archive's entries with.
      lxw_doc_properties properties{};
      properties.created = created;
      workbook_set_properties(workbook_, &properties);
    }
    header_ = workbook_add_format(workbook_);
    format_set_bold(header_);
    date_ = workbook_add_format(workbook_);
    format_set_num_format(date_, "yyyy-mm-dd");
    dateTime_ = workbook_add_format(workbook_);
    format_set_num_format(dateTime_, "yyyy-mm-dd hh:mm:ss");
    duration_ = workbook_add_format(workbook_);
    format_set_num_format(duration_, "[h]:mm:ss");
    percent_ = workbook_add_format(workbook_);
    format_set_num_format(percent_, "0.0");
    wrapped_ = workbook_add_format(workbook_);
    format_set_text_wrap(wrapped_);
  }
  ~Workbook() {
    // A workbook never closed (an error before the end) leaves its file
    // half made; the caller removes it.
    if (workbook_ != nullptr) {
      lxw_workbook* workbook = workbook_;
      workbook_ = nullptr;
      workbook_close(workbook);
    }
  }
  Workbook(const Workbook&) = delete;
  Workbook& operator=(const Workbook&) = delete;

  bool Opened() const { return workbook_ != nullptr; }
  lxw_workbook* Get() { return workbook_; }
  lxw_format* Header() { return header_; }
  lxw_format* Wrapped() { return wrapped_; }
  lxw_format* Percent() { return percent_; }
  lxw_format* Of(Kind kind) {
    switch (kind) {
      case Kind::kDate: return date_;
      case Kind::kDateTime: return dateTime_;
      case Kind::kDuration: return duration_;
      case Kind::kNumber: break;
    }
    return nullptr;
  }
  void Note(lxw_error error) {
    if (error != LXW_NO_ERROR && error_ == LXW_NO_ERROR) error_ = error;
  }
  lxw_error Error() const { return error_; }
  lxw_error Close() {
    lxw_workbook* workbook = workbook_;
    workbook_ = nullptr;
    return workbook_close(workbook);
  }

 private:
  lxw_workbook* workbook_ = nullptr;
  lxw_format* header_ = nullptr;
  lxw_format* date_ = nullptr;
  lxw_format* dateTime_ = nullptr;
  lxw_format* duration_ = nullptr;
  lxw_format* percent_ = nullptr;
  lxw_format* wrapped_ = nullptr;
  lxw_error error_ = LXW_NO_ERROR;
};

// One sheet (or, past the rows a sheet holds, a run of sheets "Name 2"...)
// with a frozen header row, an autofilter over its columns and widths
// fitted to what was written.
class Sheet {
 public:
  Sheet(Workbook& book, std::string name, std::vector<std::string> header)
      : book_(book), name_(std::move(name)), header_(std::move(header)) {
    if (header_.size() > kMaxColumns) header_.resize(kMaxColumns);
    Start();
  }
  ~Sheet() { Finish(); }
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;

  void NextRow() {
    if (++row_ >= kMaxRows) {
      Finish();
      ++part_;
      Start();
      ++row_;
    }
  }
  void Text(std::size_t column, std::string_view text, lxw_format* format = nullptr) {
    if (column >= header_.size() || text.empty()) return;
    const std::string cell = CellText(text);
    Fit(column, static_cast<double>(Characters(cell)));
    book_.Note(worksheet_write_string(sheet_, row_, static_cast<lxw_col_t>(column), cell.c_str(), format));
  }
  void Number(std::size_t column, double value, lxw_format* format = nullptr) {
    if (column >= header_.size()) return;
    if (!std::isfinite(value)) {
      Text(column, std::isnan(value) ? "NaN" : value > 0 ? "INF" : "-INF");
      return;
    }
    Fit(column, static_cast<double>(NumberText(value).size()));
    book_.Note(worksheet_write_number(sheet_, row_, static_cast<lxw_col_t>(column), value, format));
  }
  void Number(std::size_t column, const std::optional<double>& value, lxw_format* format = nullptr) {
    if (value) Number(column, *value, format);
  }
  // A statistic of a variable: a date as a date, a duration as one.
  void Statistic(std::size_t column, const std::optional<double>& value, const VELA_Format& printFormat,
                 bool spread = false) {
    if (!value) return;
    Kind kind = KindOf(printFormat);
    // A deviation of dates is a length of time.
    if (spread && kind != Kind::kNumber) kind = Kind::kDuration;
    double days = *value / 86400;
    if (kind == Kind::kDate || kind == Kind::kDateTime) days -= kOriginToWorkbookDays;
    const bool fits = kind == Kind::kDuration ? std::fabs(days) < kLastWorkbookDate
                                              : days >= kFirstWorkbookDate && days <= kLastWorkbookDate;
    if (kind == Kind::kNumber || !std::isfinite(days)) {
      Number(column, *value);
    } else if (fits) {
      Fit(column, kind == Kind::kDateTime ? 19 : 12);
      book_.Note(worksheet_write_number(sheet_, row_, static_cast<lxw_col_t>(column), days, book_.Of(kind)));
    } else {
      // Out of the workbook's calendar: shown as the tables show it.
      Text(column, output::FormatNumber(*value, printFormat, output::FieldMode::kCell));
    }
  }

 private:
  void Start() {
    const std::string name = part_ == 1 ? name_ : name_ + " " + std::to_string(part_);
    sheet_ = workbook_add_worksheet(book_.Get(), name.c_str());
    widths_.assign(header_.size(), 0);
    row_ = 0;
    if (sheet_ == nullptr) {
      book_.Note(LXW_ERROR_MEMORY_MALLOC_FAILED);
      return;
    }
    for (std::size_t c = 0; c < header_.size(); ++c) {
      // Room for the filter's button beside the heading.
      Fit(c, static_cast<double>(Characters(header_[c])) + 3);
      book_.Note(worksheet_write_string(sheet_, 0, static_cast<lxw_col_t>(c), CellText(header_[c]).c_str(),
                                        book_.Header()));
    }
    finished_ = false;
  }
  void Finish() {
    if (finished_ || sheet_ == nullptr || header_.empty()) return;
    finished_ = true;
    const auto last = static_cast<lxw_col_t>(header_.size() - 1);
    worksheet_freeze_panes(sheet_, 1, 0);
    book_.Note(worksheet_autofilter(sheet_, 0, 0, row_, last));
    for (std::size_t c = 0; c < widths_.size(); ++c) {
      const auto column = static_cast<lxw_col_t>(c);
      const double width = std::min(widths_[c] + 1, kWidestColumn);
      book_.Note(worksheet_set_column(sheet_, column, column, width, widths_[c] >= kWidestColumn ? book_.Wrapped() : nullptr));
    }
  }
  void Fit(std::size_t column, double characters) { widths_[column] = std::max(widths_[column], characters); }

  Workbook& book_;
  std::string name_;
  std::vector<std::string> header_;
  lxw_worksheet* sheet_ = nullptr;
  std::vector<double> widths_;
  lxw_row_t row_ = 0;
  int part_ = 1;
  bool finished_ = true;
};

void WriteVariables(Workbook& book, const CodebookModel& model) {
  std::vector<std::string> header(kDictionaryColumns.begin(), kDictionaryColumns.end());
  for (const std::string& name : model.attributeNames) header.push_back("attribute:" + name);
  Sheet sheet(book, "Variables", std::move(header));
  for (const ModelVariable& variable : model.variables) {
    sheet.NextRow();
    sheet.Number(0, variable.index + 1);
    sheet.Text(1, variable.name);
    sheet.Text(2, variable.label.value_or(std::string()));
    sheet.Text(3, variable.numeric ? "numeric" : "string");
    sheet.Number(4, variable.width);
    sheet.Text(5, variable.format);
    sheet.Text(6, variable.measure);
    sheet.Text(7, variable.role);
    sheet.Text(8, variable.missingValues);
    sheet.Text(9, variable.valueLabels);
    sheet.Number(10, variable.valid);
    sheet.Number(11, variable.missing);
    sheet.Statistic(12, variable.mean, variable.printFormat);
    sheet.Statistic(13, variable.stdDev, variable.printFormat, true);
    sheet.Statistic(14, variable.p25, variable.printFormat);
    sheet.Statistic(15, variable.median, variable.printFormat);
    sheet.Statistic(16, variable.p75, variable.printFormat);
    sheet.Text(17, variable.values);
    for (std::size_t a = 0; a < model.attributeNames.size(); ++a) {
      sheet.Text(kDictionaryColumns.size() + a, AttributeText(variable, model.attributeNames[a]));
    }
  }
}

void WriteValues(Workbook& book, const CodebookModel& model) {
  const bool unweighted = model.UnweightedCounts();
  std::vector<std::string> header = {"variable", "value", "label", "missing", "count", "percent"};
  if (unweighted) header.emplace_back("unweighted_count");
  Sheet sheet(book, "Values", std::move(header));
  // The variables' print formats, by position, for their values' dates.
  std::vector<const VELA_Format*> formats(static_cast<std::size_t>(model.file.variables), nullptr);
  for (const ModelVariable& variable : model.variables) {
    if (variable.index >= 0 && static_cast<std::size_t>(variable.index) < formats.size()) {
      formats[static_cast<std::size_t>(variable.index)] = &variable.printFormat;
    }
  }
  for (const ModelValueRow& row : model.values) {
    const VELA_Format* format = row.variable >= 0 && static_cast<std::size_t>(row.variable) < formats.size()
                                    ? formats[static_cast<std::size_t>(row.variable)]
                                    : nullptr;
    sheet.NextRow();
    sheet.Text(0, row.item);
    if (row.systemMissing) {
      sheet.Text(2, "System-missing");
    } else {
      if (const auto* number = std::get_if<double>(&row.value); number != nullptr && format != nullptr) {
        sheet.Statistic(1, *number, *format);
      } else if (const auto* text = std::get_if<std::string>(&row.value)) {
        sheet.Text(1, *text);
      } else {
        sheet.Text(1, row.valueText);
      }
      sheet.Text(2, row.label);
    }
    sheet.Text(3, row.systemMissing ? "system" : row.missing ? "user" : "");
    sheet.Number(4, row.count);
    sheet.Number(5, row.percent, book.Percent());
    if (unweighted && row.unweightedCount) sheet.Number(6, static_cast<double>(*row.unweightedCount));
  }
}

void WriteSets(Workbook& book, const CodebookModel& model) {
  Sheet sheet(book, "Sets", {"name", "label", "type", "counted_value", "members"});
  for (const ModelSet& set : model.sets) {
    if (!set.described) continue;
    std::string members;
    for (const std::string& member : set.members) members += (members.empty() ? "" : " ") + member;
    sheet.NextRow();
    sheet.Text(0, set.name);
    sheet.Text(1, set.label);
    sheet.Text(2, set.dichotomy ? "multiple dichotomy" : "multiple category");
    if (set.dichotomy) sheet.Text(3, set.countedValue);
    sheet.Text(4, members);
  }
}

void WriteFile(Workbook& book, const CodebookModel& model) {
  const ModelFile& file = model.file;
  Sheet sheet(book, "File", {"field", "value"});
  const auto text = [&](const std::string& field, const std::string& value) {
    if (value.empty()) return;
    sheet.NextRow();
    sheet.Text(0, field);
    sheet.Text(1, value);
  };
  const auto number = [&](const std::string& field, double value) {
    sheet.NextRow();
    sheet.Text(0, field);
    sheet.Number(1, value);
  };
  text("name", file.name);
  if (file.label) text("label", *file.label);
  if (file.cases >= 0) number("cases", static_cast<double>(file.cases));
  if (file.weightIndex >= 0) {
    text("weight", file.weight);
    if (file.weightedCases) number("weighted_cases", *file.weightedCases);
  }
  number("variables", file.variables);
  text("layout", file.layout);
  text("encoding", file.encoding);
  text("created", file.created);
  text("written_by", file.writtenBy);
  int documentNumber = 0;
  for (const std::vector<std::string>& document : file.documents) {
    ++documentNumber;
    for (std::string line : document) {
      while (!line.empty() && line.back() == ' ') line.pop_back();
      // An empty line of a document is kept: it is part of its layout.
      sheet.NextRow();
      sheet.Text(0, "document " + std::to_string(documentNumber));
      sheet.Text(1, line);
    }
  }
  for (const ModelAttribute& attribute : file.attributes) {
    for (const std::string& value : attribute.values) text("attribute:" + attribute.name, value);
  }
  text("made_by", file.software + (file.version.empty() ? "" : " " + file.version));
  text("made_on", file.date);
}

}  // namespace

bool WriteXlsx(const ExportInput& input, const std::string& path, std::string& error, std::time_t created) {
  return WriteXlsx(MakeCodebookModel(input), path, error, created);
}

bool WriteXlsx(const CodebookModel& model, const std::string& path, std::string& error, std::time_t created) {
  lxw_error result = LXW_NO_ERROR;
  {
    Workbook book(path, created);
    if (!book.Opened()) {
      error = "cannot make the workbook " + path;
      return false;
    }
    {
      // One sheet at a time: each is finished (its filter and widths set)
      // before the next begins.
      WriteVariables(book, model);
      WriteValues(book, model);
      WriteSets(book, model);
      WriteFile(book, model);
    }
    result = book.Error();
    const lxw_error closed = book.Close();
    if (result == LXW_NO_ERROR) result = closed;
  }
  if (result != LXW_NO_ERROR) {
    error = std::string("cannot write the workbook: ") + lxw_strerror(result);
    return false;
  }
  return true;
}

}  // namespace codebook::exporting
