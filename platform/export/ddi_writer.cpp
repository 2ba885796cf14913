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

std::string BaseName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// A number in a note, which people read: weighted counts and percents
// rounded to a millionth, so that 28.999999999999996 reads 29. Elements
// that programs read keep every digit.
std::string NoteNumber(double value) {
  if (!std::isfinite(value) || std::fabs(value) >= 1e9) return NumberText(value);
  const double rounded = std::round(value * 1e6) / 1e6;
  return NumberText(rounded == 0 ? 0.0 : rounded);
}

std::string ValueText(const CategoryFact& category) {
  if (const auto* number = std::get_if<double>(&category.value)) return NumberText(*number);
  if (const auto* text = std::get_if<std::string>(&category.value)) return *text;
  return category.valueText;
}

// Writes what the run knows; every reference it makes points at an element
// of the same document.
class DdiWriter {
 public:
  DdiWriter(const ExportInput& input, std::ostream& out) : input_(input), xml_(out) {
    for (const ItemFacts& item : input.items) {
      if (item.IsSet()) continue;
      const int index = input.dataset->FindVarIndex(item.name.c_str(), 0);
      if (index >= 0) exported_.insert(index);
    }
    if (input.weightIndex >= 0 && exported_.count(input.weightIndex) > 0) weightId_ = VariableId(input.weightIndex);
  }

  void Write() {
    xml_.Open("codeBook", {{"xmlns", "ddi:codebook:2_5"}, {"version", "2.5"}});
    const std::string title = Title();
    xml_.Open("docDscr");
    Citation(title, true);
    xml_.Close();
    xml_.Open("stdyDscr");
    Citation(title, false);
    xml_.Close();
    FileDescription();
    xml_.Open("dataDscr");
    for (const ItemFacts& item : input_.items) {
      if (item.IsSet()) Group(item);
    }
    for (const ItemFacts& item : input_.items) {
      if (!item.IsSet()) Variable(item);
    }
    xml_.Close();
    xml_.Close();
    xml_.Flush();
  }

 private:
  std::string Title() const {
    const char* label = input_.dataset->GetLabel();
    if (label != nullptr && *label != '\0') return label;
    return BaseName(input_.fileName);
  }

  void Citation(const std::string& title, bool withDate) {
    xml_.Open("citation");
    xml_.Open("titlStmt");
    xml_.Text("titl", title, {}, true);
    xml_.Close();
    xml_.Open("prodStmt");
    if (withDate && !input_.date.empty()) xml_.Text("prodDate", input_.date, {{"date", input_.date}});
    xml_.Text("software", input_.software, {{"version", input_.version}});
    xml_.Close();
    xml_.Close();
  }

  void FileDescription() {
    const data::Dataset& dataset = *input_.dataset;
    xml_.Open("fileDscr", {{"ID", "F1"}});
    xml_.Open("fileTxt");
    xml_.Text("fileName", BaseName(input_.fileName));
    xml_.Open("dimensns");
    if (dataset.GetCaseCount() >= 0) xml_.Text("caseQnty", std::to_string(dataset.GetCaseCount()));
    xml_.Text("varQnty", std::to_string(dataset.ColumnCount()));
    xml_.Close();
    const std::string& format = input_.fileInfo.format;
    xml_.Text("fileType", format.empty() ? LayoutName(input_.fileInfo.compression) : format,
              {{"charset", input_.fileInfo.encoding}});
    xml_.Close();
    for (const DSDocument& document : dataset.GetDocumentList()) {
      std::string text;
      for (int i = 0; i < document.Size(); ++i) text += (i > 0 ? "\n" : "") + document[i];
      xml_.Text("notes", text, {{"type", "codebook:document"}, {"subject", "Document"}}, true);
    }
    if (input_.weightIndex >= 0) {
      if (const VELA_Variable* weight = dataset.GetVariable(input_.weightIndex)) {
        xml_.Text("notes", weight->GetName(), {{"type", "codebook:weight"}, {"subject", "Weight variable"}});
      }
    }
    Attributes(dataset.GetAttributes(), "file");
    xml_.Close();
  }

  // Custom attributes as notes; the reserved ("$") ones are left out, as the
  // codebook leaves them out unless asked.
  void Attributes(const DatasourceAttributes& attributes, const char* level) {
    for (std::size_t i = 0; i < attributes.Size(); ++i) {
      const std::string& name = attributes.Name(i);
      if (name.empty() || name[0] == '$') continue;
      for (const std::string& value : attributes.Values(i)) {
        xml_.Text("notes", value,
                  {{"type", "codebook:attribute"}, {"subject", name}, {"level", level}}, true);
      }
    }
  }

  void Group(const ItemFacts& item) {
    const VariableSetImpl* set = nullptr;
    for (const VariableSetImpl& candidate : input_.dataset->GetMRSets()) {
      if (VELAMBstricmp_A(candidate.Name().c_str(), item.name.c_str()) == 0) set = &candidate;
    }
    std::string members;
    std::string missingMembers;
    if (set != nullptr) {
      for (const std::string& member : set->Get().members) {
        const int index = input_.dataset->FindVarIndex(member.c_str(), 0);
        if (index >= 0 && exported_.count(index) > 0) {
          members += (members.empty() ? "" : " ") + VariableId(index);
        } else {
          missingMembers += (missingMembers.empty() ? "" : ", ") + member;
        }
      }
    }
    XmlWriter::Attributes attributes = {{"ID", "G" + std::to_string(++groups_)}, {"type", "multipleResp"},
                                        {"name", item.name}};
    if (!members.empty()) attributes.emplace_back("var", members);
    xml_.Open("varGrp", attributes);
    if (set != nullptr) xml_.Text("labl", set->Get().label);
    const bool dichotomy = set != nullptr && set->Get().kind == VariableSetImpl::kMultipleDichotomy;
    xml_.Text("txt", dichotomy ? "Multiple dichotomy set, counted value " + set->Get().countedValue
                               : std::string("Multiple category set"));
    if (!missingMembers.empty()) {
      xml_.Text("notes", missingMembers, {{"type", "codebook:members"}, {"subject", "Members not described here"}});
    }
    // The schema gives a group no categories: its counts are a note, one
    // line per category.
    std::string counts;
    for (const CategoryFact& category : item.categories) {
      counts += category.valueText;
      if (!category.label.empty()) counts += " (" + category.label + ")";
      if (category.count) counts += ": " + NoteNumber(*category.count);
      if (category.percent) counts += ", " + NoteNumber(*category.percent) + "%";
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
    if (input_.weightIndex < 0) return {};
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

  void Variable(const ItemFacts& item) {
    const data::Dataset& dataset = *input_.dataset;
    const int index = dataset.FindVarIndex(item.name.c_str(), 0);
    if (index < 0) return;
    const data::Variable& variable = *dataset.GetDictionary().GetVariable(index);
    const std::size_t hidden = input_.hidden.count(index);
    // The table says how the item was treated: the level the command gave
    // it, or the one the procedure chose for a dictionary that has none.
    xml_.Open("var", {{"ID", VariableId(index)},
                      {"name", variable.GetName()},
                      {"files", "F1"},
                      {"intrvl", item.scale ? "contin" : "discrete"},
                      {"dcml", std::to_string(variable.PrintFormat().Decimals())}});
    if (variable.Label()) xml_.Text("labl", *variable.Label());
    MissingValues(variable);
    // Whatever statistics the table shows.
    Statistic("vald", item.valid, true);
    Statistic("invd", item.missing, true);
    Statistic("mean", item.mean, true);
    Statistic("stdev", item.stdDev, true);
    Statistic("medn", item.p50, true);
    if (item.scale && input_.tally != nullptr && input_.tally->Of(index).HasRange() && hidden == 0) {
      Statistic("min", input_.tally->Of(index).min, false);
      Statistic("max", input_.tally->Of(index).max, false);
    }
    Statistic("other", item.p25, true, "percentile25");
    Statistic("other", item.p75, true, "percentile75");
    Categories(item, variable, index);
    const TimeKind kind = TimeKindOf(variable.PrintFormat());
    XmlWriter::Attributes format = {{"type", variable.IsNumeric() ? "numeric" : "character"}};
    if (!item.formatText.empty()) {
      format.emplace_back("formatname", item.formatText);
      format.emplace_back("schema", "other");
      format.emplace_back("otherSchema", "dataset-file");
    }
    if (kind != TimeKind::kNone) format.emplace_back("category", kind == TimeKind::kTime ? "time" : "date");
    xml_.Empty("varFormat", format);
    if (kind != TimeKind::kNone) TimeStatistics(item, index, kind, variable.PrintFormat().Decimals(), hidden != 0);
    if (hidden != 0) {
      xml_.Text("notes", "Values are not shown: " + HiddenValuesText(input_.tally, index) + ".",
                {{"type", "codebook:hidden"}, {"subject", "Values hidden"}});
    }
    xml_.Text("notes", RoleName(variable.GetRole()), {{"type", "codebook:role"}, {"subject", "Role"}});
    xml_.Text("notes", MeasureName(variable.GetMeasurementLevel()),
              {{"type", "codebook:measure"}, {"subject", "Measurement level"}});
    Attributes(variable.GetAttributes(), "var");
    xml_.Close();
  }

  // sumStat holds numbers, which programs read: a date variable's are
  // seconds since 14 October 1582. Its statistics as dates and times, for
  // people and for programs that read ISO 8601, follow in a note.
  void TimeStatistics(const ItemFacts& item, int index, TimeKind kind, int decimals, bool hidden) {
    std::string text;
    const auto add = [&](const char* name, const std::optional<double>& value, bool spread = false) {
      if (!value) return;
      text += (text.empty() ? "" : "; ") + std::string(name) + " " +
              (spread ? IsoSpanText(*value, kind, decimals) : IsoText(*value, kind, decimals));
    };
    add("mean", item.mean);
    add("stdev", item.stdDev, true);
    add("medn", item.p50);
    if (item.scale && input_.tally != nullptr && input_.tally->Of(index).HasRange() && !hidden) {
      add("min", input_.tally->Of(index).min);
      add("max", input_.tally->Of(index).max);
    }
    add("percentile25", item.p25);
    add("percentile75", item.p75);
    if (text.empty()) return;
    xml_.Text("notes", text, {{"type", "codebook:iso8601"}, {"subject", "Statistics as dates and times"}});
  }

  void MissingValues(const data::Variable& variable) {
    const data::MissingValues& missing = variable.Missing();
    // Extended missing codes are no declared range: their categories say
    // they are missing.
    if (!missing.DeclaresValues()) return;
    xml_.Open("invalrng");
    for (const double value : missing.Discrete()) xml_.Empty("item", {{"VALUE", NumberText(value)}});
    for (const std::string& value : missing.StringValues()) xml_.Empty("item", {{"VALUE", value}});
    if (const auto& range = missing.GetRange()) {
      XmlWriter::Attributes bounds;
      if (std::isfinite(range->low)) bounds.emplace_back("min", NumberText(range->low));
      if (std::isfinite(range->high)) bounds.emplace_back("max", NumberText(range->high));
      xml_.Empty("range", bounds);
    }
    xml_.Close();
  }

  void Category(const CategoryFact& category, int index) {
    XmlWriter::Attributes attributes;
    if (category.missing) attributes.emplace_back("missing", "Y");
    xml_.Open("catgry", attributes);
    xml_.Text("catValu", category.systemMissing ? std::string(".") : ValueText(category), {}, true);
    if (category.systemMissing) {
      xml_.Text("labl", "System-missing");
    } else {
      xml_.Text("labl", category.label);
    }
    if (category.count) {
      XmlWriter::Attributes freq = {{"type", "freq"}};
      for (const auto& attribute : Weighted()) freq.push_back(attribute);
      xml_.Text("catStat", NumberText(*category.count), freq);
      if (input_.weightIndex >= 0 && !category.systemMissing) {
        if (const auto unweighted = UnweightedCount(input_.tally, index, category)) {
          xml_.Text("catStat", std::to_string(*unweighted), {{"type", "freq"}, {"wgtd", "not-wgtd"}});
        }
      }
    }
    if (category.percent) {
      XmlWriter::Attributes percent = {{"type", "percent"}};
      for (const auto& attribute : Weighted()) percent.push_back(attribute);
      xml_.Text("catStat", NumberText(*category.percent), percent);
    }
    xml_.Close();
  }

  // The categories the table shows, then the labelled values it does not.
  void Categories(const ItemFacts& item, const data::Variable& variable, int index) {
    for (const CategoryFact& category : ExportedCategories(item, variable)) Category(category, index);
  }

  const ExportInput& input_;
  XmlWriter xml_;
  std::set<int> exported_;
  std::string weightId_;
  int groups_ = 0;
};

}  // namespace

void WriteDdi(const ExportInput& input, std::ostream& out) { DdiWriter(input, out).Write(); }

}  // namespace codebook::exporting
