#include "platform/export/ddi_writer.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include "host/data/text.h"
#include "platform/export/xml_writer.h"

namespace codebook::exporting {
namespace {

using Attributes = XmlWriter::Attributes;

std::string VariableId(int index) { return "V" + std::to_string(index + 1); }

// A number in a note, which people read: weighted counts and percents
// rounded to a millionth, so that 28.999999999999996 reads 29. Elements
// that programs read keep every digit.
std::string NoteNumber(double value) {
  if (!std::isfinite(value) || std::fabs(value) >= 1e9) return NumberText(value);
  const double rounded = std::round(value * 1e6) / 1e6;
  return NumberText(rounded == 0 ? 0.0 : rounded);
}

std::string ValueText(const ModelValueRow& row) {
  if (const auto* number = std::get_if<double>(&row.value)) return NumberText(*number);
  if (const auto* text = std::get_if<std::string>(&row.value)) return *text;
  return row.valueText;
}

// Writes what the run knows; every reference it makes points at an element
// of the same document.
class DdiWriter {
 public:
  DdiWriter(const CodebookModel& model, std::ostream& out) : model_(model), xml_(out) {
    for (const ModelVariable& variable : model.variables) exported_.insert(variable.index);
    if (model.file.weightIndex >= 0 && exported_.count(model.file.weightIndex) > 0) {
      weightId_ = VariableId(model.file.weightIndex);
    }
  }

  void Write() {
    xml_.Open("codeBook", {{"xmlns", "ddi:codebook:2_5"}, {"version", "2.5"}});
    const std::string title = model_.file.label && !model_.file.label->empty() ? *model_.file.label : model_.file.name;
    xml_.Open("docDscr");
    Citation(title, true);
    xml_.Close();
    xml_.Open("stdyDscr");
    Citation(title, false);
    xml_.Close();
    FileDescription();
    xml_.Open("dataDscr");
    for (const ModelSet& set : model_.sets) Group(set);
    for (const ModelVariable& variable : model_.variables) Variable(variable);
    xml_.Close();
    xml_.Close();
    xml_.Flush();
  }

 private:
  void Citation(const std::string& title, bool withDate) {
    const ModelFile& file = model_.file;
    xml_.Open("citation");
    xml_.Open("titlStmt");
    xml_.Text("titl", title, {}, true);
    xml_.Close();
    xml_.Open("prodStmt");
    if (withDate && !file.date.empty()) xml_.Text("prodDate", file.date, {{"date", file.date}});
    xml_.Text("software", file.software, {{"version", file.version}});
    xml_.Close();
    xml_.Close();
  }

  void FileDescription() {
    const ModelFile& file = model_.file;
    xml_.Open("fileDscr", {{"ID", "F1"}});
    xml_.Open("fileTxt");
    xml_.Text("fileName", file.name);
    xml_.Open("dimensns");
    if (file.cases >= 0) xml_.Text("caseQnty", std::to_string(file.cases));
    xml_.Text("varQnty", std::to_string(file.variables));
    xml_.Close();
    xml_.Text("fileType", file.layout, {{"charset", file.encoding}});
    xml_.Close();
    for (const std::vector<std::string>& document : file.documents) {
      std::string text;
      for (std::size_t i = 0; i < document.size(); ++i) text += (i > 0 ? "\n" : "") + document[i];
      xml_.Text("notes", text, {{"type", "codebook:document"}, {"subject", "Document"}}, true);
    }
    if (!file.weight.empty()) {
      xml_.Text("notes", file.weight, {{"type", "codebook:weight"}, {"subject", "Weight variable"}});
    }
    Attributes(file.attributes, "file");
    xml_.Close();
  }

  // Custom attributes as notes; the reserved ("$") ones are left out, as the
  // codebook leaves them out unless asked.
  void Attributes(const std::vector<ModelAttribute>& attributes, const char* level) {
    for (const ModelAttribute& attribute : attributes) {
      for (const std::string& value : attribute.values) {
        xml_.Text("notes", value, {{"type", "codebook:attribute"}, {"subject", attribute.name}, {"level", level}},
                  true);
      }
    }
  }

  int IndexOf(const std::string& name) const {
    for (const ModelVariable& variable : model_.variables) {
      if (VELAMBstricmp_A(variable.name.c_str(), name.c_str()) == 0) return variable.index;
    }
    return -1;
  }

  void Group(const ModelSet& set) {
    std::string members;
    std::string missingMembers;
    for (const std::string& member : set.members) {
      const int index = IndexOf(member);
      if (index >= 0) {
        members += (members.empty() ? "" : " ") + VariableId(index);
      } else {
        missingMembers += (missingMembers.empty() ? "" : ", ") + member;
      }
    }
    XmlWriter::Attributes attributes = {{"ID", "G" + std::to_string(++groups_)}, {"type", "multipleResp"},
                                        {"name", set.name}};
    if (!members.empty()) attributes.emplace_back("var", members);
    xml_.Open("varGrp", attributes);
    if (set.described) xml_.Text("labl", set.label);
    xml_.Text("txt", set.dichotomy ? "Multiple dichotomy set, counted value " + set.countedValue
                                   : std::string("Multiple category set"));
    if (!missingMembers.empty()) {
      xml_.Text("notes", missingMembers, {{"type", "codebook:members"}, {"subject", "Members not described here"}});
    }
    // The schema gives a group no categories: its counts are a note, one
    // line per category.
    std::string counts;
    for (std::size_t i = set.firstValue; i < set.endValue; ++i) {
      const ModelValueRow& row = model_.values[i];
      counts += row.valueText;
      if (!row.label.empty()) counts += " (" + row.label + ")";
      if (row.count) counts += ": " + NoteNumber(*row.count);
      if (row.percent) counts += ", " + NoteNumber(*row.percent) + "%";
      counts += "\n";
    }
    if (!counts.empty()) {
      counts.pop_back();
      XmlWriter::Attributes note = {{"type", "codebook:categories"}, {"subject", "Categories"}};
      if (!weightId_.empty()) note.emplace_back("sdatrefs", weightId_);
      xml_.Text("notes", counts, note);
    }
    xml_.Close();
  }

  XmlWriter::Attributes Weighted() const {
    if (model_.file.weightIndex < 0) return {};
    XmlWriter::Attributes attributes = {{"wgtd", "wgtd"}};
    if (!weightId_.empty()) attributes.emplace_back("weight", weightId_);
    return attributes;
  }

  void Statistic(const char* type, const std::optional<double>& value, bool weighted, const char* other = nullptr) {
    if (!value) return;
    XmlWriter::Attributes attributes = weighted ? Weighted() : XmlWriter::Attributes{};
    attributes.emplace_back("type", other != nullptr ? "other" : type);
    if (other != nullptr) attributes.emplace_back("otherType", other);
    xml_.Text("sumStat", NumberText(*value), attributes);
  }

  void Variable(const ModelVariable& variable) {
    xml_.Open("var", {{"ID", VariableId(variable.index)},
                      {"name", variable.name},
                      {"files", "F1"},
                      {"intrvl", variable.scale ? "contin" : "discrete"},
                      {"dcml", std::to_string(variable.printFormat.Decimals())}});
    if (variable.label) xml_.Text("labl", *variable.label);
    MissingValues(variable.missingDefinition);
    // Whatever statistics the table shows.
    if (variable.countsShown) {
      Statistic("vald", variable.valid, true);
      Statistic("invd", variable.missing, true);
    }
    Statistic("mean", variable.mean, true);
    Statistic("stdev", variable.stdDev, true);
    Statistic("medn", variable.median, true);
    Statistic("min", variable.minimum, false);
    Statistic("max", variable.maximum, false);
    Statistic("other", variable.p25, true, "percentile25");
    Statistic("other", variable.p75, true, "percentile75");
    for (std::size_t i = variable.firstValue; i < variable.endValue; ++i) Category(model_.values[i]);
    const TimeKind kind = TimeKindOf(variable.printFormat);
    XmlWriter::Attributes format = {{"type", variable.numeric ? "numeric" : "character"}};
    if (!variable.format.empty()) {
      format.emplace_back("formatname", variable.format);
      format.emplace_back("schema", "other");
      format.emplace_back("otherSchema", "dataset-file");
    }
    if (kind != TimeKind::kNone) format.emplace_back("category", kind == TimeKind::kTime ? "time" : "date");
    xml_.Empty("varFormat", format);
    if (kind != TimeKind::kNone) TimeStatistics(variable, kind);
    if (variable.hidden) {
      xml_.Text("notes", "Values are not shown: " + variable.values + ".",
                {{"type", "codebook:hidden"}, {"subject", "Values hidden"}});
    }
    xml_.Text("notes", variable.role, {{"type", "codebook:role"}, {"subject", "Role"}});
    xml_.Text("notes", variable.measure, {{"type", "codebook:measure"}, {"subject", "Measurement level"}});
    Attributes(variable.attributes, "var");
    xml_.Close();
  }

  // sumStat holds numbers, which programs read: a date variable's are
  // seconds since 14 October 1582. Its statistics as dates and times, for
  // people and for programs that read ISO 8601, follow in a note.
  void TimeStatistics(const ModelVariable& variable, TimeKind kind) {
    const int decimals = variable.printFormat.Decimals();
    std::string text;
    const auto add = [&](const char* name, const std::optional<double>& value, bool spread = false) {
      if (!value) return;
      text += (text.empty() ? "" : "; ") + std::string(name) + " " +
              (spread ? IsoSpanText(*value, kind, decimals) : IsoText(*value, kind, decimals));
    };
    add("mean", variable.mean);
    add("stdev", variable.stdDev, true);
    add("medn", variable.median);
    add("min", variable.minimum);
    add("max", variable.maximum);
    add("percentile25", variable.p25);
    add("percentile75", variable.p75);
    if (text.empty()) return;
    xml_.Text("notes", text, {{"type", "codebook:iso8601"}, {"subject", "Statistics as dates and times"}});
  }

  void MissingValues(const ModelMissing& missing) {
    // Extended missing codes are no declared range: their categories say
    // they are missing (the model holds only the declared values).
    if (missing.Empty()) return;
    xml_.Open("invalrng");
    for (const double value : missing.numbers) xml_.Empty("item", {{"VALUE", NumberText(value)}});
    for (const std::string& value : missing.strings) xml_.Empty("item", {{"VALUE", value}});
    if (const auto& range = missing.range) {
      XmlWriter::Attributes bounds;
      if (std::isfinite(range->first)) bounds.emplace_back("min", NumberText(range->first));
      if (std::isfinite(range->second)) bounds.emplace_back("max", NumberText(range->second));
      xml_.Empty("range", bounds);
    }
    xml_.Close();
  }

  void Category(const ModelValueRow& row) {
    XmlWriter::Attributes attributes;
    if (row.missing) attributes.emplace_back("missing", "Y");
    xml_.Open("catgry", attributes);
    xml_.Text("catValu", row.systemMissing ? std::string(".") : ValueText(row), {}, true);
    xml_.Text("labl", row.systemMissing ? std::string("System-missing") : row.label);
    if (row.count) {
      XmlWriter::Attributes freq = {{"type", "freq"}};
      for (const auto& attribute : Weighted()) freq.push_back(attribute);
      xml_.Text("catStat", NumberText(*row.count), freq);
      if (row.unweightedCount) {
        xml_.Text("catStat", std::to_string(*row.unweightedCount), {{"type", "freq"}, {"wgtd", "not-wgtd"}});
      }
    }
    if (row.percent) {
      XmlWriter::Attributes percent = {{"type", "percent"}};
      for (const auto& attribute : Weighted()) percent.push_back(attribute);
      xml_.Text("catStat", NumberText(*row.percent), percent);
    }
    xml_.Close();
  }

  const CodebookModel& model_;
  XmlWriter xml_;
  std::set<int> exported_;
  std::string weightId_;
  int groups_ = 0;
};

}  // namespace

void WriteDdi(const ExportInput& input, std::ostream& out) { WriteDdi(MakeCodebookModel(input), out); }

void WriteDdi(const CodebookModel& model, std::ostream& out) { DdiWriter(model, out).Write(); }

}  // namespace codebook::exporting
