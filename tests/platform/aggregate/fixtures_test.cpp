// Every fixture file, read through the file reader and aggregated as the
// procedure does, against the statistics of its JSON truth file: counts per
// value, valid and missing weights, mean, standard deviation and quartiles,
// weighted and unweighted, and the counts of the multiple-response sets.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "host/aggregate/aggregation_table.h"
#include "platform/aggregate/cell_values.h"
#include "platform/data/data_error.h"
#include "platform/data/sav/read_dataset.h"
#include "table_harness.h"

namespace codebook::aggregate {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::TableHarness;

constexpr double kRelative = 1e-9;

void ExpectClose(double actual, const json& expected, const std::string& what) {
  if (expected.is_null()) return;
  const double e = expected.get<double>();
  EXPECT_NEAR(actual, e, kRelative * std::max(1.0, std::fabs(e))) << what;
}

// The value of a category as the JSON writes it: a number, or a string
// without trailing blanks.
json CategoryValue(const AggregationCategory& c, const VELA_Variable& v) {
  if (v.GetType() == 0) return c.GetCatValue()->d;
  return std::string(TrimmedString(c.GetCatValue(), static_cast<std::size_t>(v.GetType())));
}

bool SameValue(const json& a, const json& b) {
  if (a.is_number() && b.is_number()) return a.get<double>() == b.get<double>();
  return a == b;
}

struct Fixture {
  std::string name;
  fs::path data;
  json truth;
};

std::vector<Fixture> LoadFixtures() {
  std::vector<Fixture> out;
  const fs::path dir = CODEBOOK_FIXTURES_DIR;
  if (!fs::exists(dir)) return out;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.path().extension() != ".json") continue;
    Fixture f;
    f.name = entry.path().stem().string();
    std::ifstream in(entry.path());
    f.truth = json::parse(in);
    f.data = dir / f.truth.at("file").get<std::string>();
    out.push_back(std::move(f));
  }
  std::sort(out.begin(), out.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
  return out;
}

class FixtureStatistics : public ::testing::TestWithParam<Fixture> {};

// Categorical counts and scale statistics of every variable.
void CheckVariables(const Fixture& f, const json& stats, bool weighted) {
  auto read = data::OpenDatasetFile(f.data.string());
  const auto& ds = read.dataset;
  TableHarness run(ds, weighted);
  struct Tables {
    int index, categorical, scale;
  };
  std::map<std::string, Tables> tables;
  for (const auto& [name, _] : stats.items()) {
    const int index = ds->FindVarIndex(name.c_str(), 0);
    ASSERT_GE(index, 0) << name;
    const int c = run.AddCategorical(new AggregationVariable(index, name));
    const int s = run.AddScale(index);
    tables[name] = {index, c, s};
  }
  run.Run();
  const std::string mode = weighted ? " weighted" : " unweighted";
  for (const auto& [name, truth] : stats.items()) {
    SCOPED_TRACE(f.name + " " + name + mode);
    const Tables& t = tables[name];
    const VELA_Variable& variable = *ds->GetVariable(t.index);

    auto scale = run.Scale(t.scale);
    ExpectClose(scale.valid, truth.at("valid"), "valid");
    ExpectClose(scale.missing, truth.at("missing"), "missing");
    ExpectClose(scale.valid + scale.missing, truth.at("n_cases"), "n_cases");
    for (auto [value, key] : {std::pair{scale.mean, "mean"}, std::pair{scale.sd, "sd"}}) {
      if (truth.at(key).is_null()) {
        EXPECT_EQ(value, kSysmis) << key;
      } else {
        ExpectClose(value, truth.at(key), key);
      }
    }
    ExpectClose(scale.p25, truth.at("p25"), "p25");
    ExpectClose(scale.p50, truth.at("p50"), "p50");
    ExpectClose(scale.p75, truth.at("p75"), "p75");

    auto categorical = run.Categorical(t.categorical);
    const json& counts = truth.at("counts");
    ASSERT_EQ(categorical.rows.size(), counts.size());
    for (std::size_t k = 0; k < counts.size(); ++k) {
      const json value = CategoryValue(*categorical.rows[k].category, variable);
      EXPECT_TRUE(SameValue(value, counts[k][0])) << "category " << k << ": " << value << " vs " << counts[k][0];
      ExpectClose(categorical.rows[k].count, counts[k][1], "count of " + counts[k][0].dump());
    }
    ExpectClose(categorical.missing, truth.at("missing"), "198");
    ExpectClose(categorical.total, truth.at("n_cases"), "213");
  }
}

// The sets as the procedure builds them from the dataset's definitions.
void CheckSets(const Fixture& f, const json& mrStats, bool weighted) {
  auto read = data::OpenDatasetFile(f.data.string());
  const auto& ds = read.dataset;
  TableHarness run(ds, weighted);
  std::map<std::string, int> tables;
  std::map<std::string, std::vector<int>> members;
  std::vector<std::vector<OBS>> countedValues;  // alive until the sets joined their cubes
  for (const json& set : f.truth.at("mr_sets")) {
    const std::string name = set.at("name");
    if (!mrStats.contains(name)) continue;
    std::vector<int> indexes;
    std::size_t width = 0;
    for (const json& member : set.at("variables")) {
      const int index = ds->FindVarIndex(member.get<std::string>().c_str(), 0);
      ASSERT_GE(index, 0) << member;
      indexes.push_back(index);
      width = std::max(width, static_cast<std::size_t>(ds->GetVariable(index)->GetType()));
    }
    members[name] = indexes;
    if (set.at("type") == "categories") {
      tables[name] = run.AddCategorical(new AggregationMCSet(indexes, name));
      continue;
    }
    const json& value = set.at("counted_value");
    std::vector<OBS> counted;
    int length = 8;
    if (value.is_number()) {
      counted.resize(1);
      counted[0].d = value.get<double>();
    } else {
      const std::string text = value.get<std::string>();
      counted.resize(CellCount(width));
      std::memset(counted.data(), ' ', counted.size() * sizeof(OBS));
      std::memcpy(counted.data(), text.data(), std::min(text.size(), counted.size() * sizeof(OBS)));
      length = static_cast<int>(counted.size());
    }
    countedValues.push_back(std::move(counted));
    tables[name] = run.AddCategorical(new AggregationMDSet(indexes, name, countedValues.back().data(), length, false));
  }
  run.Run();
  for (const json& set : f.truth.at("mr_sets")) {
    const std::string name = set.at("name");
    if (!tables.count(name)) continue;
    SCOPED_TRACE(f.name + " " + name + (weighted ? " weighted" : " unweighted"));
    const json& truth = mrStats.at(name);
    auto r = run.Categorical(tables[name]);
    ExpectClose(r.total, truth.at("n_cases"), "213");
    ExpectClose(r.missing, truth.at("n_cases").get<double>() - truth.at("cases_with_any").get<double>(), "198");
    const json& counts = truth.at("counts");
    if (set.at("type") == "dichotomies") {
      // Members that never held the value are not categories; their count is 0.
      std::size_t k = 0;
      for (std::size_t m = 0; m < counts.size(); ++m) {
        const double expected = counts[m][1].get<double>();
        if (expected == 0) continue;
        ASSERT_LT(k, r.rows.size());
        EXPECT_EQ(r.rows[k].category->GetVarIndex(), members[name][m]);
        ExpectClose(r.rows[k].count, counts[m][1], counts[m][0].dump());
        ++k;
      }
      EXPECT_EQ(k, r.rows.size());
    } else {
      ASSERT_EQ(r.rows.size(), counts.size());
      for (std::size_t k = 0; k < counts.size(); ++k) {
        const auto& category = *r.rows[k].category;
        const json value = CategoryValue(category, *ds->GetVariable(category.GetVarIndex()));
        EXPECT_TRUE(SameValue(value, counts[k][0])) << value << " vs " << counts[k][0];
        ExpectClose(r.rows[k].count, counts[k][1], counts[k][0].dump());
      }
    }
  }
}

TEST_P(FixtureStatistics, MatchTheTruthFile) {
  const Fixture& f = GetParam();
  const bool weighted = !f.truth.at("weight").is_null();
  CheckVariables(f, f.truth.at("stats"), true);
  if (weighted) CheckVariables(f, f.truth.at("stats_unweighted"), false);
  if (f.truth.contains("mr_stats")) CheckSets(f, f.truth.at("mr_stats"), true);
  if (f.truth.contains("mr_stats_unweighted")) CheckSets(f, f.truth.at("mr_stats_unweighted"), false);
}

INSTANTIATE_TEST_SUITE_P(Fixtures, FixtureStatistics, ::testing::ValuesIn(LoadFixtures()),
                         [](const auto& info) { return info.param.name; });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FixtureStatistics);

TEST(FixtureStatistics, DamagedDataEndsThePassWithTheDataError) {
  const fs::path file = fs::path(CODEBOOK_FIXTURES_DIR) / "malformed" / "m06_truncated_data_mid_case.sav";
  if (!fs::exists(file)) GTEST_SKIP() << "no malformed fixtures";
  data::ReadResult read;
  try {
    read = data::OpenDatasetFile(file.string());
  } catch (const std::exception& e) {
    GTEST_SKIP() << "the reader rejects the file while opening: " << e.what();
  }
  TableHarness run(read.dataset);
  for (int i = 0; i < read.dataset->ColumnCount(); ++i) {
    run.AddCategorical(new AggregationVariable(i, "v"));
    run.AddScale(i);
  }
  EXPECT_THROW(run.Run(), data::DataError);
}

}  // namespace
}  // namespace codebook::aggregate
