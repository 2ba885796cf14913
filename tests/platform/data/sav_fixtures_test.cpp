// Every shared fixture must read with exactly the dictionary its truth file
// gives, and its cases must reproduce the truth file's counts per value.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>
#include <vector>

#include "platform/data/missing_values.h"
#include "platform/data/sav/read_dataset.h"
#include "tests/platform/data/sav_test_util.h"

namespace codebook::data {
namespace {

using Json = nlohmann::ordered_json;
namespace fs = std::filesystem;

std::vector<std::string> FixtureNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(CODEBOOK_FIXTURES_DIR)) {
    const auto ext = entry.path().extension();
    if (ext == ".sav" || ext == ".zsav") names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Json LoadTruth(const std::string& file) {
  fs::path path = fs::path(CODEBOOK_FIXTURES_DIR) / file;
  path.replace_extension(".json");
  std::ifstream in(path);
  return Json::parse(in);
}

const char* MeasureName(int level) {
  switch (level) {
    case 1: return "nominal";
    case 2: return "ordinal";
    case 3: return "scale";
    default: return "unknown";
  }
}

const char* RoleName(int role) {
  static const char* const kRoles[] = {"input", "target", "both", "none", "partition", "split"};
  return role >= 0 && role <= 5 ? kRoles[role] : "?";
}

const char* CompressionName(FileCompression c) {
  switch (c) {
    case FileCompression::kNone: return "none";
    case FileCompression::kBytecode: return "bytecode";
    case FileCompression::kZlib: return "zlib";
  }
  return "?";
}

Json AttributesJson(const DatasourceAttributes& attributes) {
  Json out = Json::object();
  for (const auto& a : attributes.All()) out[a.name] = a.values;
  return out;
}

Json ValueLabelsJson(const Variable& v) {
  Json out = Json::array();
  const auto& set = v.ValueLabels();
  if (!set) return out;
  for (std::size_t i = 0; i < set->Size(); ++i) {
    if (set->IsString()) {
      out.push_back(Json::array({std::string(set->StringValue(i)), set->Label(i)}));
    } else {
      out.push_back(Json::array({set->NumericValue(i), set->Label(i)}));
    }
  }
  return out;
}

Json Bound(double v) {
  if (std::isinf(v)) return v < 0 ? Json("LO") : Json("HI");
  return Json(v);
}

Json MissingJson(const Variable& v) {
  const MissingValues& m = v.Missing();
  Json discrete = Json::array();
  if (v.IsNumeric()) {
    for (double d : m.Discrete()) discrete.push_back(d);
  } else {
    for (const auto& s : m.StringValues()) discrete.push_back(s);
  }
  Json range = nullptr;
  if (m.GetRange()) range = Json::array({Bound(m.GetRange()->low), Bound(m.GetRange()->high)});
  return Json{{"discrete", discrete}, {"range", range}};
}

// Two JSON numbers from different writers: equal, or equal within 1e-12.
bool SameNumber(const Json& a, const Json& b) {
  if (!a.is_number() || !b.is_number()) return a == b;
  const double x = a.get<double>(), y = b.get<double>();
  return x == y || std::fabs(x - y) <= 1e-12 * std::max(std::fabs(x), std::fabs(y));
}

void ExpectJsonEqual(const Json& expected, const Json& actual, const std::string& what) {
  if (expected.is_number() && actual.is_number()) {
    EXPECT_TRUE(SameNumber(expected, actual)) << what << ": expected " << expected << ", got " << actual;
    return;
  }
  if (expected.is_array() && actual.is_array() && expected.size() == actual.size()) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
      ExpectJsonEqual(expected[i], actual[i], what + "[" + std::to_string(i) + "]");
    }
    return;
  }
  EXPECT_EQ(expected.dump(), actual.dump()) << what;
}

class FixtureTest : public ::testing::TestWithParam<std::string> {};

TEST_P(FixtureTest, DictionaryMatchesTruth) {
  const std::string file = GetParam();
  const Json truth = LoadTruth(file);
  ReadResult result = OpenDatasetFile((fs::path(CODEBOOK_FIXTURES_DIR) / file).string());
  for (const auto& w : result.warnings) ADD_FAILURE() << file << ": unexpected warning: " << w;
  const Dataset& ds = *result.dataset;
  const Dictionary& dict = ds.GetDictionary();

  EXPECT_EQ(truth["compression"], CompressionName(result.info.compression));
  EXPECT_EQ(truth["encoding"], dict.Encoding());
  EXPECT_EQ(truth["case_count"].get<std::int64_t>(), ds.GetCaseCount());
  if (truth["file_label"].is_null()) {
    EXPECT_FALSE(dict.FileLabel().has_value());
  } else {
    EXPECT_EQ(truth["file_label"], dict.FileLabel().value_or("<none>"));
  }
  Json documents = Json::array();
  Json lines = Json::array();
  for (const auto& doc : dict.Documents()) {
    Json d = Json::array();
    for (int i = 0; i < doc.Size(); ++i) {
      d.push_back(doc[i]);
      lines.push_back(doc[i]);
    }
    documents.push_back(d);
  }
  EXPECT_EQ(truth["documents"], documents);
  EXPECT_EQ(truth["document_lines"], lines);
  if (truth["weight"].is_null()) {
    EXPECT_EQ(dict.WeightIndex(), -1);
  } else {
    ASSERT_GE(dict.WeightIndex(), 0);
    EXPECT_EQ(truth["weight"], dict.GetVariable(dict.WeightIndex())->Name());
  }
  EXPECT_EQ(truth["datafile_attributes"], AttributesJson(dict.Attributes()));

  const Json& vars = truth["variables"];
  ASSERT_EQ(vars.size(), static_cast<std::size_t>(dict.VariableCount()));
  for (int i = 0; i < dict.VariableCount(); ++i) {
    const Json& t = vars[static_cast<std::size_t>(i)];
    const Variable& v = *dict.GetVariable(i);
    const std::string where = file + " variable " + t["name"].get<std::string>();
    EXPECT_EQ(t["name"], v.Name()) << where;
    EXPECT_EQ(t["position"].get<int>(), i + 1) << where;
    EXPECT_EQ(t["type"], v.IsNumeric() ? "numeric" : "string") << where;
    EXPECT_EQ(t["width"].get<int>(), v.DeclaredWidth()) << where;
    if (t["label"].is_null()) {
      EXPECT_EQ(v.GetLabel(), nullptr) << where;
    } else {
      EXPECT_EQ(t["label"], v.Label().value_or("<none>")) << where;
    }
    EXPECT_EQ(t["print_format"], test::FormatText(v.PrintFormat())) << where;
    EXPECT_EQ(t["write_format"], test::FormatText(v.WriteFormat())) << where;
    EXPECT_EQ(t["measure"], MeasureName(v.GetMeasurementLevel())) << where;
    EXPECT_EQ(t["role"], RoleName(v.GetRole())) << where;
    ExpectJsonEqual(t["value_labels"], ValueLabelsJson(v), where + " value labels");
    ExpectJsonEqual(t["missing"]["discrete"], MissingJson(v)["discrete"], where + " missing");
    ExpectJsonEqual(t["missing"]["range"], MissingJson(v)["range"], where + " missing range");
    EXPECT_EQ(t["attributes"], AttributesJson(v.GetAttributes())) << where;
  }

  const Json& sets = truth["mr_sets"];
  ASSERT_EQ(sets.size(), dict.MRSets().size()) << file;
  for (std::size_t i = 0; i < sets.size(); ++i) {
    const Json& t = sets[i];
    const auto& d = dict.MRSets()[i].Get();
    const std::string where = file + " set " + t["name"].get<std::string>();
    EXPECT_EQ(t["name"], d.name) << where;
    EXPECT_EQ(t["type"], d.kind == VariableSetImpl::kMultipleCategory ? "categories" : "dichotomies") << where;
    EXPECT_EQ(t["label"].is_null() ? std::string() : t["label"].get<std::string>(), d.label) << where;
    if (t["counted_value"].is_null()) {
      EXPECT_EQ(d.countedValue, "") << where;
    } else if (t["counted_value"].is_number()) {
      EXPECT_EQ(t["counted_value"].get<double>(), std::stod(d.countedValue)) << where;
    } else {
      EXPECT_EQ(t["counted_value"], d.countedValue) << where;
    }
    EXPECT_EQ(t["variables"], Json(d.members)) << where;
    const char* from = d.kind == VariableSetImpl::kMultipleCategory ? nullptr
                       : d.categoryLabelsFromCountedValue            ? "counted_values"
                                                                     : "variable_labels";
    EXPECT_EQ(t["category_labels_from"], from ? Json(from) : Json(nullptr)) << where;
    EXPECT_EQ(t["label_from_first_variable"].get<bool>(), d.labelFromFirstVariable) << where;
  }
}

// Counts per value, system-missing and user-missing per variable, from one
// pass over the cases; compared with the truth file's unweighted statistics.
TEST_P(FixtureTest, CasesReproduceCounts) {
  const std::string file = GetParam();
  const Json truth = LoadTruth(file);
  const Json& stats = truth.contains("stats_unweighted") ? truth["stats_unweighted"] : truth["stats"];
  ReadResult result = OpenDatasetFile((fs::path(CODEBOOK_FIXTURES_DIR) / file).string());
  const Dataset& ds = *result.dataset;
  const Dictionary& dict = ds.GetDictionary();
  const int n = dict.VariableCount();
  std::vector<std::map<double, std::int64_t>> numbers(static_cast<std::size_t>(n));
  std::vector<std::map<std::string, std::int64_t>> strings(static_cast<std::size_t>(n));
  std::vector<std::int64_t> sysmis(static_cast<std::size_t>(n)), missing(static_cast<std::size_t>(n));
  std::int64_t cases = 0;
  if (auto stream = ds.OpenCases()) {
    while (const OBS* c = stream->Next()) {
      ++cases;
      for (int i = 0; i < n; ++i) {
        const Variable& v = *dict.GetVariable(i);
        const OBS* cell = c + dict.CellOffset(i);
        const auto k = static_cast<std::size_t>(i);
        if (v.IsNumeric()) {
          if (cell->d == kSysmis) {
            ++sysmis[k];
            ++missing[k];
            continue;
          }
          ++numbers[k][cell->d];
        } else {
          std::string_view s = v.StringValue(cell);
          ASSERT_EQ(s.size(), static_cast<std::size_t>(v.CellWidth()));
          ++strings[k][std::string(TrimTrailingBlanks(s))];
        }
        if (v.IsMissing(cell)) ++missing[k];
      }
    }
  }
  EXPECT_EQ(truth["case_count"].get<std::int64_t>(), cases);
  for (int i = 0; i < n; ++i) {
    const Variable& v = *dict.GetVariable(i);
    const auto k = static_cast<std::size_t>(i);
    ASSERT_TRUE(stats.contains(v.Name())) << v.Name();
    const Json& t = stats[v.Name()];
    const std::string where = file + " " + v.Name();
    Json counts = Json::array();
    if (v.IsNumeric()) {
      for (const auto& [value, count] : numbers[k]) counts.push_back(Json::array({value, count}));
    } else {
      for (const auto& [value, count] : strings[k]) counts.push_back(Json::array({value, count}));
    }
    ExpectJsonEqual(t["counts"], counts, where + " counts");
    EXPECT_EQ(t["sysmis"].get<double>(), static_cast<double>(sysmis[k])) << where;
    EXPECT_EQ(t["missing"].get<double>(), static_cast<double>(missing[k])) << where;
    EXPECT_EQ(t["n_cases"].get<double>(), static_cast<double>(cases)) << where;
  }
}

INSTANTIATE_TEST_SUITE_P(Fixtures, FixtureTest, ::testing::ValuesIn(FixtureNames()),
                         [](const auto& info) {
                           std::string name = info.param;
                           for (char& c : name) {
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           }
                           return name;
                         });

}  // namespace
}  // namespace codebook::data
