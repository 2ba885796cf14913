// The HTML report of a wide file: how big it is per variable, how long the
// program takes to write it, and how soon a browser shows its first screen.
//
//   bench_report [VARIABLES [CASES [DIR]]]
//
// Writes (once, into DIR or a temporary folder) a file of VARIABLES
// variables (10,000 by default) by CASES cases (500) as a survey has them: every
// variable labelled, half of them nominal with five labelled codes and a
// missing code, half scale with continuous values; one name in a hundred is
// 64 characters long. Then runs the program on it, and, where Chromium is
// installed, loads the report in headless Chromium with a trace of its
// first paint. Prints one "name: value unit" line per figure.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

void Print(const std::string& name, double value, const char* unit) {
  std::printf("%s: %.3f %s\n", name.c_str(), value, unit);
  std::fflush(stdout);
}

std::string Name(int v) {
  std::string name = "q" + std::to_string(v);
  if (v % 100 == 99) {
    name += "_with_a_name_as_long_as_the_dictionary_allows_";
    while (name.size() < 64) name += 'x';
  }
  return name;
}

void WriteWideFile(const std::string& path, int variables, int cases) {
  codebook::data::DatasetBuilder builder;
  builder.FileLabel("Wide survey for the report benchmark");
  for (int v = 0; v < variables; ++v) {
    builder.Numeric(Name(v)).Label("Question " + std::to_string(v) + ": how much do you agree with statement " +
                                   std::to_string(v) + "?");
    if (v % 2 == 0) {
      builder.Level(1).Format(VELA_Format::F, 1).MissingDiscrete({9});
      for (int code = 1; code <= 5; ++code) builder.ValueLabel(code, "Answer " + std::to_string(code));
      builder.ValueLabel(9, "No answer");
    } else {
      builder.Level(3).Format(VELA_Format::F, 8, 2);
    }
  }
  for (int c = 0; c < cases; ++c) {
    codebook::data::Row row;
    row.reserve(static_cast<std::size_t>(variables));
    for (int v = 0; v < variables; ++v) {
      const int mix = (c * 31 + v * 17) % 97;
      if (v % 2 == 0) {
        row.emplace_back(mix == 0 ? 9.0 : static_cast<double>(1 + mix % 5));
      } else {
        row.emplace_back(std::round(1000 * (50 + 15 * std::sin(c * 0.37 + v))) / 1000);
      }
    }
    builder.Case(std::move(row));
  }
  codebook::data::WriteDatasetFile(*builder.Build(), path);
}

struct Run {
  double seconds = 0;
  long peakMb = 0;
  int status = -1;
};

Run RunProgram(const std::vector<std::string>& argv) {
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  const auto start = Clock::now();
  const pid_t child = fork();
  if (child == 0) {
    std::freopen("/dev/null", "w", stdout);
    std::freopen("/dev/null", "w", stderr);
    execv(args[0], args.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  Run run;
  run.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  run.peakMb = usage.ru_maxrss / 1024;
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
  return run;
}

std::string Chromium() {
  for (const char* path : {"/usr/bin/chromium", "/usr/bin/chromium-browser"}) {
    if (access(path, X_OK) == 0) return path;
  }
  return {};
}

// The first contentful paint and the load event of the page, in seconds
// after its navigation began, from a trace of Chromium's start.
struct Paint {
  double firstPaint = -1;
  double loaded = -1;
};

Paint LoadInChromium(const std::string& chromium, const fs::path& page, int width, const fs::path& dir) {
  const fs::path trace = dir / "trace.json";
  fs::remove(trace);
  fs::remove_all(dir / "profile");
  const std::string command =
      "timeout 300 " + chromium +
      " --headless --no-sandbox --disable-gpu --disable-background-networking --disable-component-update"
      " --disable-sync --no-first-run --user-data-dir=" + (dir / "profile").string() +
      " --trace-startup=loading,blink.user_timing,devtools.timeline --trace-startup-format=json"
      // The trace is written when its time is up: long enough for the page
      // to load.
      " --trace-startup-duration=45 --trace-startup-file=" + trace.string() +
      " --window-size=" + std::to_string(width) + ",900 --screenshot=" + (dir / "shot.png").string() +
      " file://" + page.string() + " >/dev/null 2>&1";
  Paint paint;
  if (std::system(command.c_str()) != 0) return paint;
  std::ifstream in(trace);
  const nlohmann::json parsed = nlohmann::json::parse(in, nullptr, false);
  if (parsed.is_discarded() || !parsed.contains("traceEvents")) return paint;
  std::string navigation;
  std::string frame;
  double start = 0;
  for (const auto& event : parsed["traceEvents"]) {
    if (event.value("name", "") != "navigationStart") continue;
    const auto& data = event["args"]["data"];
    if (data.value("documentLoaderURL", "").rfind("file://", 0) == 0) {
      navigation = data.value("navigationId", "");
      frame = event["args"].value("frame", "");
      start = event["ts"].get<double>();
    }
  }
  for (const auto& event : parsed["traceEvents"]) {
    const std::string name = event.value("name", "");
    const double at = (event.value("ts", 0.0) - start) / 1e6;
    const auto& data = event["args"].contains("data") ? event["args"]["data"] : nlohmann::json::object();
    if (!data.is_object()) continue;
    if (name == "firstContentfulPaint" && data.value("navigationId", "") == navigation) paint.firstPaint = at;
    // The page's own load, not that of a frame of the browser's.
    if (name == "MarkLoad" && data.value("frame", "") == frame && at > 0) paint.loaded = at;
  }
  return paint;
}

}  // namespace

int main(int argc, char** argv) {
  const int variables = argc > 1 ? std::atoi(argv[1]) : 10000;
  const int cases = argc > 2 ? std::atoi(argv[2]) : 500;
  const bool keep = argc > 3;
  const fs::path dir = keep ? fs::path(argv[3]) : fs::temp_directory_path() / ("bench_report_" + std::to_string(getpid()));
  if (variables < 1 || cases < 1) {
    std::fprintf(stderr, "usage: bench_report [VARIABLES [CASES [DIR]]]\n");
    return 2;
  }
  fs::create_directories(dir);
  const fs::path file = dir / ("wide_report_" + std::to_string(variables) + "x" + std::to_string(cases) + ".sav");
  if (!fs::exists(file)) WriteWideFile(file.string(), variables, cases);
  const std::string program = (fs::read_symlink("/proc/self/exe").parent_path() / "codebook").string();
  const fs::path page = dir / "report.html";
  Run best;
  best.seconds = 1e30;
  for (int round = 0; round < 2; ++round) {
    const Run run = RunProgram({program, "--format", "html", "-o", page.string(), file.string()});
    if (run.status != 0) {
      std::fprintf(stderr, "codebook exited %d\n", run.status);
      return 1;
    }
    if (run.seconds < best.seconds) best = run;
  }
  const std::string k = std::to_string(variables);
  const double bytes = static_cast<double>(fs::file_size(page));
  Print("report_" + k + "_html_size", bytes / 1e6, "MB");
  Print("report_" + k + "_html_per_variable", bytes / variables, "bytes");
  Print("report_" + k + "_html_write", best.seconds, "s");
  Print("report_" + k + "_html_peak_memory", static_cast<double>(best.peakMb), "MB");
  const std::string chromium = Chromium();
  if (!chromium.empty()) {
    for (const int width : {1400, 420}) {
      const Paint fastest = LoadInChromium(chromium, page, width, dir);
      const std::string at = "report_" + k + "_chromium_" + std::to_string(width) + "px";
      Print(at + "_first_paint", fastest.firstPaint, "s");
      Print(at + "_load", fastest.loaded, "s");
    }
  }
  if (!keep) fs::remove_all(dir);
  return 0;
}
