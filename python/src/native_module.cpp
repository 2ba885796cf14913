// The Python package's native part: the library's runs and renderings,
// with their results converted to plain Python values (columns as lists)
// that the package's Python layer makes data frames of. Conversion only:
// everything else is the library's.
#include <Python.h>
#include <pybind11/functional.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <atomic>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/api/codebook_api.h"
#include "platform/api/frame_dataset.h"
#include "platform/api/table_frame.h"
#include "platform/data/extended_missing.h"

namespace py = pybind11;
namespace api = codebook::api;
namespace exporting = codebook::exporting;

namespace {

py::object Optional(const std::optional<double>& value) {
  return value ? py::object(py::float_(*value)) : py::object(py::float_(std::nan("")));
}

// An extended missing code (.a, .A, ._) as the text people write it: the
// number that stands for it inside the library means nothing to a caller.
py::object ValueOf(const exporting::ModelValue& value) {
  if (const auto* number = std::get_if<double>(&value)) {
    if (const char code = codebook::data::ExtendedMissingCode(*number)) {
      return py::str(codebook::data::ExtendedMissingText(code));
    }
    return py::float_(*number);
  }
  if (const auto* text = std::get_if<std::string>(&value)) return py::str(*text);
  return py::none();
}

py::dict Attributes(const std::vector<exporting::ModelAttribute>& attributes) {
  py::dict out;
  for (const auto& attribute : attributes) {
    py::list values;
    if (out.contains(attribute.name)) values = out[attribute.name.c_str()].cast<py::list>();
    for (const std::string& value : attribute.values) values.append(value);
    out[attribute.name.c_str()] = values;
  }
  return out;
}

// One column per field, in the variables' table order.
py::dict VariablesOf(const exporting::CodebookModel& model) {
  std::vector<py::list> columns(exporting::kDictionaryColumns.size() + model.attributeNames.size());
  for (const exporting::ModelVariable& v : model.variables) {
    std::size_t c = 0;
    columns[c++].append(v.index + 1);
    columns[c++].append(v.name);
    columns[c++].append(v.label ? py::object(py::str(*v.label)) : py::object(py::none()));
    columns[c++].append(v.numeric ? "numeric" : "string");
    columns[c++].append(v.width);
    columns[c++].append(v.format);
    columns[c++].append(v.measure);
    columns[c++].append(v.role);
    columns[c++].append(v.missingValues);
    columns[c++].append(v.valueLabels);
    columns[c++].append(Optional(v.valid));
    columns[c++].append(Optional(v.missing));
    columns[c++].append(Optional(v.mean));
    columns[c++].append(Optional(v.stdDev));
    columns[c++].append(Optional(v.p25));
    columns[c++].append(Optional(v.median));
    columns[c++].append(Optional(v.p75));
    columns[c++].append(v.values);
    for (const std::string& name : model.attributeNames) columns[c++].append(exporting::AttributeText(v, name));
  }
  py::dict out;
  std::size_t c = 0;
  for (const char* name : exporting::kDictionaryColumns) out[name] = columns[c++];
  for (const std::string& name : model.attributeNames) out[py::str("attribute:" + name)] = columns[c++];
  return out;
}

py::dict ValuesOf(const exporting::CodebookModel& model) {
  py::list item, value, label, missing, system, count, percent, unweighted;
  for (const exporting::ModelValueRow& row : model.values) {
    item.append(row.item);
    value.append(ValueOf(row.value));
    label.append(row.systemMissing ? std::string("System-missing") : row.label);
    missing.append(row.missing);
    system.append(row.systemMissing);
    count.append(Optional(row.count));
    percent.append(Optional(row.percent));
    unweighted.append(row.unweightedCount ? py::object(py::int_(*row.unweightedCount)) : py::object(py::none()));
  }
  py::dict out;
  out["variable"] = item;
  out["value"] = value;
  out["label"] = label;
  out["missing"] = missing;
  out["system_missing"] = system;
  out["count"] = count;
  out["percent"] = percent;
  out["unweighted_count"] = unweighted;
  return out;
}

py::dict SetsOf(const exporting::CodebookModel& model) {
  py::list name, label, type, counted, members;
  for (const exporting::ModelSet& set : model.sets) {
    name.append(set.name);
    label.append(set.described ? py::object(py::str(set.label)) : py::object(py::none()));
    type.append(!set.described ? "" : set.dichotomy ? "multiple dichotomy" : "multiple category");
    counted.append(set.dichotomy ? py::object(py::str(set.countedValue)) : py::object(py::none()));
    std::string joined;
    for (const std::string& member : set.members) joined += (joined.empty() ? "" : " ") + member;
    members.append(joined);
  }
  py::dict out;
  out["name"] = name;
  out["label"] = label;
  out["type"] = type;
  out["counted_value"] = counted;
  out["members"] = members;
  return out;
}

py::dict FileOf(const exporting::CodebookModel& model) {
  const exporting::ModelFile& file = model.file;
  py::dict out;
  out["name"] = file.name;
  out["label"] = file.label ? py::object(py::str(*file.label)) : py::object(py::none());
  out["cases"] = file.cases >= 0 ? py::object(py::int_(file.cases)) : py::object(py::none());
  out["variables"] = file.variables;
  out["weight"] = file.weight.empty() ? py::object(py::none()) : py::object(py::str(file.weight));
  out["weighted_cases"] = file.weightedCases ? py::object(py::float_(*file.weightedCases)) : py::object(py::none());
  out["layout"] = file.layout;
  out["encoding"] = file.encoding;
  out["created"] = file.created;
  out["written_by"] = file.writtenBy;
  out["documents"] = file.documents;
  out["attributes"] = Attributes(file.attributes);
  out["made_by"] = file.software + (file.version.empty() ? "" : " " + file.version);
  out["made_on"] = file.date;
  out["model_version"] = model.version;
  return out;
}

py::dict FrameOf(const api::TableFrame& frame) {
  py::list index, columns;
  for (const auto& path : frame.index) index.append(py::tuple(py::cast(path)));
  for (std::size_t c = 0; c < frame.columns.size(); ++c) {
    py::list column;
    bool numbers = true;
    bool any = false;
    for (const auto& row : frame.cells) {
      if (row[c].text.empty()) continue;
      any = true;
      numbers = numbers && row[c].IsNumber();
    }
    for (const auto& row : frame.cells) {
      if (numbers && any) {
        column.append(row[c].IsNumber() ? row[c].number : std::nan(""));
      } else {
        column.append(row[c].text);
      }
    }
    columns.append(column);
  }
  py::dict out;
  out["title"] = frame.title;
  out["subtype"] = frame.subtype;
  out["columns"] = frame.columns;
  out["levels"] = frame.levels;
  out["index"] = index;
  out["data"] = columns;
  return out;
}

// A run's result, held natively; the package asks it for what it needs.
class Result {
 public:
  explicit Result(api::RunResult result) : result_(std::move(result)) {}
  int Status() const { return result_.status; }
  bool Interrupted() const { return result_.interrupted; }
  std::string ErrorText() const { return result_.ErrorText(); }
  std::size_t Commands() const { return result_.commands.size(); }
  py::list Messages() const {
    py::list out;
    for (const api::Message& message : result_.messages) {
      out.append(py::make_tuple(codebook::output::SeverityName(message.severity), message.text, message.printed));
    }
    return out;
  }
  py::dict Model(std::size_t i) const {
    const exporting::CodebookModel& model = At(i).model;
    py::dict out;
    out["variables"] = VariablesOf(model);
    out["values"] = ValuesOf(model);
    out["sets"] = SetsOf(model);
    out["file"] = FileOf(model);
    py::list item, kind, text;
    for (const auto& alert : At(i).alerts) {
      item.append(alert.item);
      kind.append(alert.kind);
      text.append(alert.text);
    }
    py::dict alerts;
    alerts["item"] = item;
    alerts["kind"] = kind;
    alerts["text"] = text;
    out["alerts"] = alerts;
    return out;
  }
  py::list Tables(std::size_t i) const {
    const auto& document = *At(i).document;
    py::list out;
    for (const api::TableFrame& frame : api::FramesOf(document, 0, document.Size())) out.append(FrameOf(frame));
    return out;
  }
  py::bytes Render(std::size_t i, const std::string& format, int width) const {
    std::string bytes;
    std::string error;
    bool made = false;
    {
      py::gil_scoped_release release;
      made = api::Render(At(i), format, bytes, error, width);
    }
    if (!made) throw std::invalid_argument(error);
    return py::bytes(bytes);
  }

 private:
  const api::CommandResult& At(std::size_t i) const {
    if (i >= result_.commands.size()) throw py::index_error("no such command");
    return result_.commands[i];
  }
  api::RunResult result_;
};

// Runs with the GIL released; every few thousand cases the pass comes back
// for it, to let Ctrl-C (and the caller's progress function) stop it.
template <typename Call>
std::unique_ptr<Result> Guarded(api::RunOptions& options, const py::object& progress, Call&& call) {
  std::atomic<bool> cancel{false};
  std::optional<py::error_already_set> raised;
  options.cancel = &cancel;
  options.progress = [&](std::int64_t read, std::int64_t total) {
    py::gil_scoped_acquire acquire;
    if (PyErr_CheckSignals() != 0) {
      raised.emplace();
      return false;
    }
    if (!progress.is_none()) {
      try {
        const py::object goOn = progress(read, total);
        if (!goOn.is_none() && !goOn.cast<bool>()) return false;
      } catch (py::error_already_set& error) {
        raised.emplace(std::move(error));
        return false;
      }
    }
    return true;
  };
  api::RunResult result;
  {
    py::gil_scoped_release release;
    result = call();
  }
  options.progress = nullptr;
  if (raised) throw std::move(*raised);
  // A Ctrl-C that came during a part of the run without a pass.
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
  return std::make_unique<Result>(std::move(result));
}

api::RunOptions Options(const std::vector<std::string>& variables, const py::object& weight, int maxcats,
                        const std::string& hide, const std::string& encoding, const std::string& subcommands,
                        bool overview, bool alerts) {
  api::RunOptions options;
  options.variables = variables;
  if (!weight.is_none()) {
    if (py::isinstance<py::bool_>(weight)) {
      if (!weight.cast<bool>()) options.weight = std::string();
    } else {
      options.weight = weight.cast<std::string>();
    }
  }
  options.maxCategories = maxcats;
  options.hide = hide;
  options.encoding = encoding;
  options.subcommands = subcommands;
  options.overview = overview;
  options.alerts = alerts;
  return options;
}

api::FrameColumn ColumnOf(const py::dict& described) {
  api::FrameColumn column;
  column.name = described["name"].cast<std::string>();
  column.numeric = described["numeric"].cast<bool>();
  const std::string kind = described["kind"].cast<std::string>();
  column.kind = kind == "date"       ? api::FrameColumn::Kind::kDate
                : kind == "datetime" ? api::FrameColumn::Kind::kDateTime
                : kind == "duration" ? api::FrameColumn::Kind::kDuration
                                     : api::FrameColumn::Kind::kNumber;
  if (column.numeric) {
    column.numbers = described["data"].cast<std::vector<double>>();
  } else {
    column.strings = described["data"].cast<std::vector<std::string>>();
  }
  if (!described["label"].is_none()) column.label = described["label"].cast<std::string>();
  for (const auto item : described["value_labels"].cast<py::list>()) {
    const auto pair = item.cast<py::tuple>();
    if (column.numeric) {
      column.numberLabels.emplace_back(pair[0].cast<double>(), pair[1].cast<std::string>());
    } else {
      column.stringLabels.emplace_back(pair[0].cast<std::string>(), pair[1].cast<std::string>());
    }
  }
  for (const auto item : described["missing"].cast<py::list>()) {
    if (column.numeric) {
      column.missingNumbers.push_back(item.cast<double>());
    } else {
      column.missingStrings.push_back(item.cast<std::string>());
    }
  }
  if (!described["missing_range"].is_none()) {
    const auto range = described["missing_range"].cast<py::tuple>();
    column.missingRange = std::make_pair(range[0].cast<double>(), range[1].cast<double>());
  }
  column.level = described["level"].cast<int>();
  return column;
}

}  // namespace

PYBIND11_MODULE(_native, m) {
  m.doc() = "The codebook library, for the dscodebook package.";
  m.attr("MODEL_VERSION") = exporting::kModelVersion;
  m.attr("FORMATS") = api::FormatNames();

  py::class_<Result>(m, "Result")
      .def_property_readonly("status", &Result::Status)
      .def_property_readonly("interrupted", &Result::Interrupted)
      .def_property_readonly("error_text", &Result::ErrorText)
      .def_property_readonly("commands", &Result::Commands)
      .def("messages", &Result::Messages)
      .def("model", &Result::Model)
      .def("tables", &Result::Tables)
      .def("render", &Result::Render, py::arg("command"), py::arg("format"), py::arg("width") = 0);

  m.def(
      "read_file",
      [](const std::string& path, const std::vector<std::string>& variables, const py::object& weight, int maxcats,
         const std::string& hide, const std::string& encoding, const std::string& catalog,
         const std::string& subcommands, bool overview, bool alerts, const py::object& progress) {
        api::RunOptions options = Options(variables, weight, maxcats, hide, encoding, subcommands, overview, alerts);
        options.catalog = catalog;
        return Guarded(options, progress, [&] { return api::ReadFile(path, options); });
      },
      py::arg("path"), py::arg("variables"), py::arg("weight"), py::arg("maxcats"), py::arg("hide"),
      py::arg("encoding"), py::arg("catalog"), py::arg("subcommands"), py::arg("overview"), py::arg("alerts"),
      py::arg("progress"));

  m.def(
      "run_syntax",
      [](const std::string& text, const std::string& folder, const std::string& hide, const std::string& encoding,
         bool overview, bool alerts, const py::object& progress) {
        api::RunOptions options = Options({}, py::none(), 200, hide, encoding, "", overview, alerts);
        return Guarded(options, progress, [&] { return api::RunSyntax(text, options, folder); });
      },
      py::arg("text"), py::arg("folder"), py::arg("hide"), py::arg("encoding"), py::arg("overview"),
      py::arg("alerts"), py::arg("progress"));

  m.def(
      "read_frame",
      [](const py::list& described, const py::object& fileLabel, const std::string& name,
         const std::vector<std::string>& variables, const py::object& weight, int maxcats, const std::string& hide,
         const std::string& subcommands, bool overview, bool alerts, const py::object& progress) {
        std::vector<api::FrameColumn> columns;
        for (const auto described : described) columns.push_back(ColumnOf(described.cast<py::dict>()));
        api::FrameFile file;
        if (!fileLabel.is_none()) file.label = fileLabel.cast<std::string>();
        // The frame's weight column is the dataset's own weight.
        api::RunOptions options = Options(variables, py::none(), maxcats, hide, "", subcommands, overview, alerts);
        if (!weight.is_none()) file.weight = weight.cast<std::string>();
        std::shared_ptr<codebook::data::Dataset> dataset;
        {
          py::gil_scoped_release release;
          dataset = api::MakeFrameDataset(std::move(columns), file);
        }
        return Guarded(options, progress, [&] { return api::ReadDataset(dataset, name, options); });
      },
      py::arg("columns"), py::arg("file_label"), py::arg("name"), py::arg("variables"), py::arg("weight"),
      py::arg("maxcats"), py::arg("hide"), py::arg("subcommands"), py::arg("overview"), py::arg("alerts"),
      py::arg("progress"));
}
