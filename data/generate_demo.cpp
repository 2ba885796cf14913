// Generates the bundled demo dataset: a synthetic customer survey of a few
// thousand cases with the things a codebook has to show (labels, user-missing
// codes, a weight, dates and times, open text, attributes, documents, one
// multiple-response set of each kind). Deterministic: the same file on every
// run, so the committed demo.sav can be regenerated and compared.
//
//   generate_demo data/demo.sav
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"

namespace {

using codebook::data::DatasetBuilder;
using codebook::data::Row;

// A small deterministic generator (xorshift64*), independent of the
// standard library's distributions.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t Next() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 2685821657736338717ULL;
  }
  double Uniform() { return static_cast<double>(Next() >> 11) / 9007199254740992.0; }
  int Between(int low, int high) { return low + static_cast<int>(Uniform() * (high - low + 1)); }
  double Normal(double mean, double sd) {
    const double u = std::max(Uniform(), 1e-12);
    const double v = Uniform();
    return mean + sd * std::sqrt(-2.0 * std::log(u)) * std::cos(6.283185307179586 * v);
  }
  template <typename T>
  const T& Pick(const std::vector<T>& items) {
    return items[static_cast<std::size_t>(Between(0, static_cast<int>(items.size()) - 1))];
  }

 private:
  std::uint64_t state_;
};

constexpr int kCases = 2500;
// 2026-03-02 00:00 in seconds since 14 October 1582.
constexpr double kFieldworkStart = 13966300800.0;

const std::vector<std::string> kLikert = {"Strongly disagree", "Disagree", "Neither agree nor disagree",
                                          "Agree", "Strongly agree"};
const std::vector<std::string> kQuestions = {
    "The staff were friendly", "My question was answered", "The waiting time was acceptable",
    "The price is fair", "The product works as described", "I would buy again",
    "The website is easy to use", "Delivery was on time", "Complaints are handled well",
    "I trust this company"};

DatasetBuilder& Likert(DatasetBuilder& b, int item) {
  b.Numeric("q" + std::to_string(item)).Label(kQuestions[static_cast<std::size_t>(item - 1)])
      .Format(VELA_Format::F, 1).Level(2).Attribute("Question", {"Q" + std::to_string(item)});
  for (int v = 1; v <= 5; ++v) b.ValueLabel(v, kLikert[static_cast<std::size_t>(v - 1)]);
  return b.ValueLabel(8, "Don't know").ValueLabel(9, "Refused").MissingDiscrete({8, 9});
}

std::shared_ptr<codebook::data::Dataset> Build() {
  DatasetBuilder b;
  b.FileLabel("Customer survey 2026, synthetic demo data")
      .Document({"Customer survey 2026: synthetic data made by generate_demo.",
                 "Every value is invented; any likeness to real people is chance."})
      .Document({"Weights: post-stratification by region and sex (weight)."})
      .FileAttribute("Project", {"Customer survey"})
      .FileAttribute("Waves", {"Spring 2026", "Autumn 2026"})
      .FileAttribute("$Reviewed", {"2026-11-01"});

  b.Numeric("id").Label("Respondent number").Format(VELA_Format::F, 5).Level(1).Role(3);
  b.Numeric("wave").Label("Survey wave").Format(VELA_Format::F, 1).Level(1)
      .ValueLabel(1, "Spring").ValueLabel(2, "Autumn");
  b.Numeric("interview_date").Label("Date of interview").Format(VELA_Format::DATE, 11).Level(3);
  b.Numeric("start_time").Label("Time the interview started").Format(VELA_Format::TIME, 5).Level(3);
  b.Numeric("duration").Label("Length of interview").Format(VELA_Format::TIME, 8).Level(3);
  b.Numeric("region").Label("Region").Format(VELA_Format::F, 1).Level(1)
      .ValueLabel(1, "North").ValueLabel(2, "South").ValueLabel(3, "East").ValueLabel(4, "West")
      .ValueLabel(5, "Capital");
  b.Numeric("urban").Label("Type of place").Format(VELA_Format::F, 1).Level(1)
      .ValueLabel(1, "City").ValueLabel(2, "Town").ValueLabel(3, "Countryside");
  b.Numeric("sex").Label("Sex").Format(VELA_Format::F, 1).Level(1)
      .ValueLabel(1, "Female").ValueLabel(2, "Male").ValueLabel(3, "Another answer")
      .ValueLabel(9, "No answer").MissingDiscrete({9});
  b.Numeric("age").Label("Age in years").Format(VELA_Format::F, 3).Level(3)
      .ValueLabel(999, "Refused").MissingDiscrete({999});
  b.Numeric("age_group").Label("Age group").Format(VELA_Format::F, 1).Level(2)
      .ValueLabel(1, "18-24").ValueLabel(2, "25-34").ValueLabel(3, "35-44").ValueLabel(4, "45-54")
      .ValueLabel(5, "55-64").ValueLabel(6, "65 or older");
  b.Numeric("education").Label("Highest education").Format(VELA_Format::F, 1).Level(2)
      .ValueLabel(1, "Primary").ValueLabel(2, "Lower secondary").ValueLabel(3, "Upper secondary")
      .ValueLabel(4, "Bachelor").ValueLabel(5, "Master or higher").ValueLabel(8, "Don't know")
      .ValueLabel(9, "Refused").MissingDiscrete({8, 9});
  b.Numeric("employment").Label("Employment status").Format(VELA_Format::F, 1).Level(1)
      .ValueLabel(1, "Employed").ValueLabel(2, "Self-employed").ValueLabel(3, "Unemployed")
      .ValueLabel(4, "Student").ValueLabel(5, "Retired").ValueLabel(6, "Other");
  b.Numeric("income").Label("Net monthly household income").Format(VELA_Format::DOLLAR, 10, 2)
      .Level(3).Attribute("Source", {"Self-reported", "Rounded to 10"})
      .MissingRange(-99, -1);
  b.Numeric("household").Label("People in the household").Format(VELA_Format::F, 2).Level(3);
  b.Numeric("children").Label("Children under 16").Format(VELA_Format::F, 2).Level(3)
      .ValueLabel(0.0, "None");
  for (int item = 1; item <= 10; ++item) Likert(b, item);
  b.Numeric("satisfaction").Label("Overall satisfaction (0-10)").Format(VELA_Format::F, 2).Level(3)
      .Role(1).ValueLabel(0.0, "Not at all satisfied").ValueLabel(10, "Completely satisfied");
  b.Numeric("recommend").Label("Would recommend us").Format(VELA_Format::F, 1).Level(1)
      .ValueLabel(1, "Yes").ValueLabel(2, "No").ValueLabel(3, "Not sure");
  const char* brands[] = {"brand_a", "brand_b", "brand_c", "brand_d", "brand_e"};
  const char* brandLabels[] = {"Knows Acorn", "Knows Birch", "Knows Cedar", "Knows Dune", "Knows Elm"};
  for (int i = 0; i < 5; ++i) {
    b.Numeric(brands[i]).Label(brandLabels[i]).Format(VELA_Format::F, 1).Level(1)
        .ValueLabel(0.0, "No").ValueLabel(1, "Yes");
  }
  for (int i = 1; i <= 3; ++i) {
    b.Numeric("channel" + std::to_string(i)).Label("Where you heard of us, mention " + std::to_string(i))
        .Format(VELA_Format::F, 1).Level(1)
        .ValueLabel(1, "Television").ValueLabel(2, "Radio").ValueLabel(3, "Web search")
        .ValueLabel(4, "Social media").ValueLabel(5, "Friends").ValueLabel(6, "Newspaper");
  }
  b.String("city", 24).Label("City or town").Level(1);
  b.String("contact", 1).Label("May we contact you again").Level(1)
      .ValueLabel("Y", "Yes").ValueLabel("N", "No").ValueLabel(" ", "Not asked").MissingStrings({" "});
  b.String("comment", 120).Label("Anything else you would like to tell us").Level(1);
  b.Numeric("weight").Label("Post-stratification weight").Format(VELA_Format::F, 8, 4).Level(3).Role(3);

  VariableSetImpl::Definition known;
  known.name = "$brands";
  known.label = "Brands known";
  known.kind = VariableSetImpl::kMultipleDichotomy;
  known.members = {"brand_a", "brand_b", "brand_c", "brand_d", "brand_e"};
  known.countedValue = "1";
  b.MRSet(known);
  VariableSetImpl::Definition channels;
  channels.name = "$channels";
  channels.label = "Where you heard of us";
  channels.kind = VariableSetImpl::kMultipleCategory;
  channels.members = {"channel1", "channel2", "channel3"};
  b.MRSet(channels);
  b.Weight("weight");

  const std::vector<std::string> cities = {"Ashford", "Brampton", "Carlow", "Dunmore", "Eastleigh",
                                           "Fairview", "Glenby", "Harwick", "Inverley", "Juniper Bay"};
  const std::vector<std::string> comments = {
      "", "", "", "", "", "Keep up the good work.", "The app keeps logging me out.",
      "Delivery took two weeks longer than promised.", "Friendly staff in the shop.",
      "Prices went up too much this year.", "Please send fewer emails.",
      "I could not find the opening hours on the website.", "Great value for money!",
      "The phone line was busy for an hour."};

  Random random(20261122);
  const double regionWeight[] = {0.0, 0.92, 1.08, 0.97, 1.11, 0.88};
  for (int id = 1; id <= kCases; ++id) {
    Row row;
    const int wave = id <= kCases / 2 ? 1 : 2;
    const double day = std::floor(random.Uniform() * 40) + (wave == 2 ? 200 : 0);
    const int region = random.Between(1, 5);
    const int sex = random.Uniform() < 0.02 ? 9 : (random.Uniform() < 0.51 ? 1 : (random.Uniform() < 0.98 ? 2 : 3));
    double age = std::round(std::clamp(random.Normal(46, 16), 18.0, 92.0));
    if (random.Uniform() < 0.015) age = 999;
    const int ageGroup = age == 999 ? 0 : (age < 25 ? 1 : age < 35 ? 2 : age < 45 ? 3 : age < 55 ? 4 : age < 65 ? 5 : 6);
    const int education = random.Uniform() < 0.03 ? (random.Uniform() < 0.5 ? 8 : 9) : random.Between(1, 5);
    double income = std::round(std::max(400.0, random.Normal(2600 + 350 * (education % 8), 900)) / 10) * 10;
    if (random.Uniform() < 0.06) income = -99;  // refused
    const int household = std::clamp(static_cast<int>(std::round(random.Normal(2.4, 1.2))), 1, 9);
    const int children = std::max(0, std::min(household - 1, random.Between(0, 3)));
    const double mood = random.Normal(0, 1);

    row.emplace_back(id);
    row.emplace_back(wave);
    row.emplace_back(kFieldworkStart + day * 86400.0);
    row.emplace_back(std::floor(8 + random.Uniform() * 12) * 3600 + random.Between(0, 59) * 60);
    row.emplace_back(std::round(std::max(180.0, random.Normal(1260, 300))));
    row.emplace_back(region);
    row.emplace_back(random.Between(1, 3));
    row.emplace_back(sex);
    row.emplace_back(age);
    row.emplace_back(ageGroup == 0 ? kSysmis : static_cast<double>(ageGroup));
    row.emplace_back(education);
    row.emplace_back(random.Between(1, 6));
    row.emplace_back(income);
    row.emplace_back(household);
    row.emplace_back(random.Uniform() < 0.01 ? kSysmis : static_cast<double>(children));
    for (int item = 1; item <= 10; ++item) {
      const double u = random.Uniform();
      int answer = std::clamp(static_cast<int>(std::round(3.4 + mood + random.Normal(0, 0.9))), 1, 5);
      if (u < 0.03) answer = 8;
      else if (u < 0.045) answer = 9;
      row.emplace_back(u > 0.995 ? kSysmis : static_cast<double>(answer));
    }
    row.emplace_back(std::clamp(std::round(7 + 1.6 * mood + random.Normal(0, 1)), 0.0, 10.0));
    row.emplace_back(mood > 0.3 ? 1 : (mood < -0.6 ? 2 : 3));
    const double awareness[] = {0.82, 0.55, 0.37, 0.21, 0.09};
    for (double share : awareness) row.emplace_back(random.Uniform() < share ? 1 : 0);
    std::vector<int> heard;
    const int mentions = random.Between(0, 3);
    for (int i = 0; i < 3; ++i) {
      int channel = 0;
      if (i < mentions) {
        do channel = random.Between(1, 6);
        while (std::find(heard.begin(), heard.end(), channel) != heard.end());
        heard.push_back(channel);
      }
      row.emplace_back(channel == 0 ? kSysmis : static_cast<double>(channel));
    }
    row.emplace_back(random.Pick(cities));
    row.emplace_back(wave == 1 ? std::string(" ") : std::string(random.Uniform() < 0.6 ? "Y" : "N"));
    row.emplace_back(random.Pick(comments));
    row.emplace_back(std::round(regionWeight[region] * (sex == 2 ? 1.06 : 0.95) * 10000) / 10000);
    b.Case(std::move(row));
  }
  return b.Build();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: generate_demo OUTPUT.sav\n");
    return 2;
  }
  try {
    codebook::data::WriteDatasetFile(*Build(), argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "generate_demo: %s\n", error.what());
    return 1;
  }
  return 0;
}
