// The R package's native part: the library's runs and renderings, their
// results turned into R vectors and data frames. Conversion only:
// everything else is the library's.
#include <Rcpp.h>

#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/api/codebook_api.h"
#include "platform/api/table_frame.h"
#include "platform/data/extended_missing.h"

namespace api = codebook::api;
namespace exporting = codebook::exporting;

namespace {

double Number(const std::optional<double>& value) { return value ? *value : NA_REAL; }

Rcpp::String Text(const std::optional<std::string>& value) {
  return value ? Rcpp::String(*value) : Rcpp::String(NA_STRING);
}

Rcpp::CharacterVector TextVector(const std::optional<std::string>& value) {
  return Rcpp::CharacterVector::create(Text(value));
}

Rcpp::DataFrame Frame(Rcpp::List columns) {
  // Strings stay strings; a list column (the values' `value`) stays a list.
  columns.attr("class") = "data.frame";
  const R_xlen_t rows = columns.size() == 0 ? 0 : Rf_xlength(columns[0]);
  columns.attr("row.names") = Rcpp::IntegerVector::create(NA_INTEGER, -static_cast<int>(rows));
  return Rcpp::DataFrame(columns);
}

Rcpp::List Attributes(const std::vector<exporting::ModelAttribute>& attributes) {
  Rcpp::List out;
  for (const auto& attribute : attributes) out.push_back(Rcpp::wrap(attribute.values), attribute.name);
  return out;
}

Rcpp::DataFrame Variables(const exporting::CodebookModel& model) {
  const std::size_t n = model.variables.size();
  Rcpp::IntegerVector position(n), width(n);
  Rcpp::CharacterVector name(n), label(n), type(n), format(n), measure(n), role(n), missingValues(n),
      valueLabels(n), values(n);
  Rcpp::NumericVector valid(n), missing(n), mean(n), sd(n), p25(n), median(n), p75(n);
  // One vector each: copies of one Rcpp vector would share its storage.
  std::vector<Rcpp::CharacterVector> attributes;
  for (std::size_t a = 0; a < model.attributeNames.size(); ++a) attributes.emplace_back(n);
  for (std::size_t i = 0; i < n; ++i) {
    const exporting::ModelVariable& v = model.variables[i];
    position[i] = v.index + 1;
    name[i] = v.name;
    label[i] = Text(v.label);
    type[i] = v.numeric ? "numeric" : "string";
    width[i] = v.width;
    format[i] = v.format;
    measure[i] = v.measure;
    role[i] = v.role;
    missingValues[i] = v.missingValues;
    valueLabels[i] = v.valueLabels;
    valid[i] = Number(v.valid);
    missing[i] = Number(v.missing);
    mean[i] = Number(v.mean);
    sd[i] = Number(v.stdDev);
    p25[i] = Number(v.p25);
    median[i] = Number(v.median);
    p75[i] = Number(v.p75);
    values[i] = v.values;
    for (std::size_t a = 0; a < model.attributeNames.size(); ++a) {
      attributes[a][i] = exporting::AttributeText(v, model.attributeNames[a]);
    }
  }
  Rcpp::List columns = Rcpp::List::create(
      Rcpp::Named("position") = position, Rcpp::Named("name") = name, Rcpp::Named("label") = label,
      Rcpp::Named("type") = type, Rcpp::Named("width") = width, Rcpp::Named("format") = format,
      Rcpp::Named("measure") = measure, Rcpp::Named("role") = role, Rcpp::Named("missing_values") = missingValues,
      Rcpp::Named("value_labels") = valueLabels, Rcpp::Named("valid") = valid, Rcpp::Named("missing") = missing,
      Rcpp::Named("mean") = mean, Rcpp::Named("std_dev") = sd, Rcpp::Named("percentile_25") = p25,
      Rcpp::Named("median") = median, Rcpp::Named("percentile_75") = p75, Rcpp::Named("values") = values);
  for (std::size_t a = 0; a < model.attributeNames.size(); ++a) {
    columns.push_back(attributes[a], "attribute:" + model.attributeNames[a]);
  }
  return Frame(columns);
}

Rcpp::DataFrame Values(const exporting::CodebookModel& model) {
  const std::size_t n = model.values.size();
  Rcpp::CharacterVector item(n), label(n);
  Rcpp::List value(n);
  Rcpp::LogicalVector missing(n), system(n);
  Rcpp::NumericVector count(n), percent(n), unweighted(n);
  for (std::size_t i = 0; i < n; ++i) {
    const exporting::ModelValueRow& row = model.values[i];
    item[i] = row.item;
    if (const auto* number = std::get_if<double>(&row.value)) {
      // An extended missing code (.a, .A, ._) as the text people write it.
      const char code = codebook::data::ExtendedMissingCode(*number);
      value[i] = code != 0 ? Rcpp::wrap(codebook::data::ExtendedMissingText(code)) : Rcpp::wrap(*number);
    } else if (const auto* text = std::get_if<std::string>(&row.value)) {
      value[i] = Rcpp::CharacterVector::create(*text);
    } else {
      value[i] = R_NilValue;
    }
    label[i] = row.systemMissing ? std::string("System-missing") : row.label;
    missing[i] = row.missing;
    system[i] = row.systemMissing;
    count[i] = Number(row.count);
    percent[i] = Number(row.percent);
    unweighted[i] = row.unweightedCount ? static_cast<double>(*row.unweightedCount) : NA_REAL;
  }
  value.attr("class") = "AsIs";
  return Frame(Rcpp::List::create(Rcpp::Named("variable") = item, Rcpp::Named("value") = value,
                                  Rcpp::Named("label") = label, Rcpp::Named("missing") = missing,
                                  Rcpp::Named("system_missing") = system, Rcpp::Named("count") = count,
                                  Rcpp::Named("percent") = percent, Rcpp::Named("unweighted_count") = unweighted));
}

Rcpp::DataFrame Sets(const exporting::CodebookModel& model) {
  const std::size_t n = model.sets.size();
  Rcpp::CharacterVector name(n), label(n), type(n), counted(n), members(n);
  for (std::size_t i = 0; i < n; ++i) {
    const exporting::ModelSet& set = model.sets[i];
    name[i] = set.name;
    label[i] = set.described ? Rcpp::String(set.label) : Rcpp::String(NA_STRING);
    type[i] = !set.described ? "" : set.dichotomy ? "multiple dichotomy" : "multiple category";
    counted[i] = set.dichotomy ? Rcpp::String(set.countedValue) : Rcpp::String(NA_STRING);
    std::string joined;
    for (const std::string& member : set.members) joined += (joined.empty() ? "" : " ") + member;
    members[i] = joined;
  }
  return Frame(Rcpp::List::create(Rcpp::Named("name") = name, Rcpp::Named("label") = label,
                                  Rcpp::Named("type") = type, Rcpp::Named("counted_value") = counted,
                                  Rcpp::Named("members") = members));
}

Rcpp::List File(const exporting::CodebookModel& model) {
  const exporting::ModelFile& file = model.file;
  Rcpp::List documents;
  for (const auto& lines : file.documents) documents.push_back(Rcpp::wrap(lines));
  Rcpp::List out;
  out.push_back(Rcpp::wrap(file.name), "name");
  out.push_back(TextVector(file.label), "label");
  out.push_back(Rcpp::wrap(file.cases >= 0 ? static_cast<double>(file.cases) : NA_REAL), "cases");
  out.push_back(Rcpp::wrap(file.variables), "variables");
  out.push_back(TextVector(file.weight.empty() ? std::nullopt : std::optional<std::string>(file.weight)), "weight");
  out.push_back(Rcpp::wrap(Number(file.weightedCases)), "weighted_cases");
  out.push_back(Rcpp::wrap(file.layout), "layout");
  out.push_back(Rcpp::wrap(file.encoding), "encoding");
  out.push_back(Rcpp::wrap(file.created), "created");
  out.push_back(Rcpp::wrap(file.writtenBy), "written_by");
  out.push_back(documents, "documents");
  out.push_back(Attributes(file.attributes), "attributes");
  out.push_back(Rcpp::wrap(file.software + (file.version.empty() ? "" : " " + file.version)), "made_by");
  out.push_back(Rcpp::wrap(file.date), "made_on");
  out.push_back(Rcpp::wrap(model.version), "model_version");
  return out;
}

Rcpp::DataFrame Alerts(const std::vector<codebook::output::Alert>& alerts) {
  const std::size_t n = alerts.size();
  Rcpp::CharacterVector item(n), kind(n), text(n);
  for (std::size_t i = 0; i < n; ++i) {
    item[i] = alerts[i].item;
    kind[i] = alerts[i].kind;
    text[i] = alerts[i].text;
  }
  return Frame(Rcpp::List::create(Rcpp::Named("item") = item, Rcpp::Named("kind") = kind,
                                  Rcpp::Named("text") = text));
}

// A pivot table: its row groups' labels as the columns `group_1` ...,
// then its own columns, numbers where every shown cell is one.
Rcpp::DataFrame Table(const api::TableFrame& frame) {
  Rcpp::List columns;
  for (std::size_t level = 0; level < frame.levels; ++level) {
    Rcpp::CharacterVector labels(frame.index.size());
    for (std::size_t r = 0; r < frame.index.size(); ++r) labels[r] = frame.index[r][level];
    columns.push_back(labels, "group_" + std::to_string(level + 1));
  }
  for (std::size_t c = 0; c < frame.columns.size(); ++c) {
    bool numbers = false;
    bool texts = false;
    for (const auto& row : frame.cells) {
      if (row[c].text.empty()) continue;
      (row[c].IsNumber() ? numbers : texts) = true;
    }
    if (numbers && !texts) {
      Rcpp::NumericVector column(frame.cells.size());
      for (std::size_t r = 0; r < frame.cells.size(); ++r) {
        column[r] = frame.cells[r][c].IsNumber() ? frame.cells[r][c].number : NA_REAL;
      }
      columns.push_back(column, frame.columns[c]);
    } else {
      Rcpp::CharacterVector column(frame.cells.size());
      for (std::size_t r = 0; r < frame.cells.size(); ++r) column[r] = frame.cells[r][c].text;
      columns.push_back(column, frame.columns[c]);
    }
  }
  Rcpp::DataFrame out = Frame(columns);
  out.attr("title") = frame.title;
  out.attr("subtype") = frame.subtype;
  return out;
}

using ResultPointer = Rcpp::XPtr<api::RunResult>;

const api::CommandResult& At(const ResultPointer& result, int command) {
  if (command < 1 || static_cast<std::size_t>(command) > result->commands.size()) Rcpp::stop("no such command");
  return result->commands[static_cast<std::size_t>(command - 1)];
}

void CheckInterrupt(void*) { R_CheckUserInterrupt(); }

// Runs with Ctrl-C (and the caller's progress function) looked at every
// few thousand cases: R's interrupt is taken where it cannot jump over the
// library's frames, and raised once the run has unwound.
template <typename Call>
ResultPointer Guarded(api::RunOptions& options, Rcpp::Nullable<Rcpp::Function> progress, Call&& call) {
  bool interrupted = false;
  std::optional<std::string> failed;
  options.progress = [&](std::int64_t read, std::int64_t total) {
    if (R_ToplevelExec(CheckInterrupt, nullptr) == FALSE) {
      interrupted = true;
      return false;
    }
    if (progress.isNotNull()) {
      try {
        const Rcpp::RObject goOn = Rcpp::Function(progress.get())(static_cast<double>(read), static_cast<double>(total));
        if (Rf_isLogical(goOn) && Rf_xlength(goOn) == 1 && LOGICAL(goOn)[0] == FALSE) return false;
      } catch (const std::exception& error) {
        failed = error.what();
        return false;
      }
    }
    return true;
  };
  auto result = std::make_unique<api::RunResult>(call());
  if (interrupted) throw Rcpp::internal::InterruptedException();
  if (failed) Rcpp::stop("progress: " + *failed);
  return ResultPointer(result.release(), true);
}

api::RunOptions Options(Rcpp::CharacterVector variables, Rcpp::RObject weight, int maxcats, std::string hide,
                        std::string encoding, std::string subcommands, bool overview, bool alerts) {
  api::RunOptions options;
  for (R_xlen_t i = 0; i < variables.size(); ++i) options.variables.emplace_back(variables[i]);
  if (Rf_isLogical(weight) && Rf_xlength(weight) == 1 && LOGICAL(weight)[0] == FALSE) {
    options.weight = std::string();
  } else if (Rf_isString(weight) && Rf_xlength(weight) == 1) {
    options.weight = Rcpp::as<std::string>(weight);
  } else if (!Rf_isNull(weight)) {
    Rcpp::stop("weight: give a variable name, FALSE (unweighted) or NULL (the file's weight)");
  }
  options.maxCategories = maxcats;
  options.hide = std::move(hide);
  options.encoding = std::move(encoding);
  options.subcommands = std::move(subcommands);
  options.overview = overview;
  options.alerts = alerts;
  return options;
}

}  // namespace

// [[Rcpp::export(.cb_read_file)]]
SEXP CbReadFile(std::string path, Rcpp::CharacterVector variables, Rcpp::RObject weight, int maxcats,
                std::string hide, std::string encoding, std::string catalog, std::string subcommands, bool overview,
                bool alerts, Rcpp::Nullable<Rcpp::Function> progress) {
  api::RunOptions options = Options(variables, weight, maxcats, hide, encoding, subcommands, overview, alerts);
  options.catalog = std::move(catalog);
  return Guarded(options, progress, [&] { return api::ReadFile(path, options); });
}

// [[Rcpp::export(.cb_run_syntax)]]
SEXP CbRunSyntax(std::string text, std::string folder, std::string hide, std::string encoding, bool overview,
                 bool alerts, Rcpp::Nullable<Rcpp::Function> progress) {
  api::RunOptions options = Options(Rcpp::CharacterVector(), R_NilValue, 200, hide, encoding, "", overview, alerts);
  return Guarded(options, progress, [&] { return api::RunSyntax(text, options, folder); });
}

// [[Rcpp::export(.cb_outcome)]]
Rcpp::List CbOutcome(SEXP pointer) {
  const ResultPointer result(pointer);
  const std::size_t n = result->messages.size();
  Rcpp::CharacterVector severity(n), text(n), printed(n);
  for (std::size_t i = 0; i < n; ++i) {
    severity[i] = std::string(codebook::output::SeverityName(result->messages[i].severity));
    text[i] = result->messages[i].text;
    printed[i] = result->messages[i].printed;
  }
  return Rcpp::List::create(
      Rcpp::Named("status") = result->status, Rcpp::Named("interrupted") = result->interrupted,
      Rcpp::Named("error_text") = result->ErrorText(),
      Rcpp::Named("commands") = static_cast<int>(result->commands.size()),
      Rcpp::Named("messages") = Frame(Rcpp::List::create(Rcpp::Named("severity") = severity,
                                                         Rcpp::Named("text") = text, Rcpp::Named("printed") = printed)));
}

// [[Rcpp::export(.cb_model)]]
Rcpp::List CbModel(SEXP pointer, int command) {
  const ResultPointer result(pointer);
  const api::CommandResult& made = At(result, command);
  Rcpp::List tables;
  Rcpp::RObject overview = R_NilValue;
  for (const api::TableFrame& frame : api::FramesOf(*made.document, 0, made.document->Size())) {
    if (frame.subtype == "Overview") {
      overview = Table(frame);
    } else {
      tables.push_back(Table(frame));
    }
  }
  return Rcpp::List::create(Rcpp::Named("variables") = Variables(made.model), Rcpp::Named("values") = Values(made.model),
                            Rcpp::Named("sets") = Sets(made.model), Rcpp::Named("file") = File(made.model),
                            Rcpp::Named("alerts") = Alerts(made.alerts), Rcpp::Named("overview") = overview,
                            Rcpp::Named("tables") = tables);
}

// [[Rcpp::export(.cb_render)]]
Rcpp::RawVector CbRender(SEXP pointer, int command, std::string format, int width) {
  const ResultPointer result(pointer);
  std::string bytes;
  std::string error;
  if (!api::Render(At(result, command), format, bytes, error, width)) Rcpp::stop(error);
  Rcpp::RawVector out(bytes.size());
  std::copy(bytes.begin(), bytes.end(), out.begin());
  return out;
}

// [[Rcpp::export(.cb_formats)]]
Rcpp::CharacterVector CbFormats() { return Rcpp::wrap(api::FormatNames()); }

// [[Rcpp::export(.cb_model_version)]]
std::string CbModelVersion() { return exporting::kModelVersion; }
