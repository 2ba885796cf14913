// Benchmarks of the CODEBOOK procedure on generated data; one
// "name: value unit" line per figure.
//
//   bench_codebook            all figures
//   bench_codebook parse      parsing CODEBOOK ALL / first TO last on wide dictionaries
//   bench_codebook wide       the default CODEBOOK with text output on wide datasets
//   bench_codebook pass [N]   the statistics pass against decoding alone (N cases)
//   bench_codebook e2e [DIR]  the codebook program end to end on the 1M x 101 file in
//                             every layout, as a .dta file, and on a 100,000-variable
//                             file (files are kept in DIR when given, and reused when
//                             present)
//   bench_codebook split FILE the program on FILE (JSON and text) against its
//                             statistics pass alone and its dictionary alone
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "codebook.h"
#include "host/data/data_source.h"
#include "parser/cbkparser.h"
#include "platform/data/case_stream.h"
#include "platform/data/dataset.h"
#include "platform/data/sav/read_dataset.h"
#include "platform/data/sav/write_dataset.h"
#include "platform/output/current_output.h"
#include "platform/output/render/renderers.h"
#include "platform/session/procedure_context.h"
#include "platform/syntax/command_splitter.h"
#include "platform/syntax/current_command.h"
#include "platform/syntax/message_sink.h"
#include "statistics/variablestatistics.h"
#include "testing/dta_writer.h"

namespace {

using namespace codebook;
using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

// Processor time of the whole process (all its threads) so far.
double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec * 1e-6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void Print(const std::string& name, double value, const char* unit) {
  std::printf("%s: %.3f %s\n", name.c_str(), value, unit);
  std::fflush(stdout);
}

// Cases computed on the fly, so that wide or long datasets cost no memory.
class GeneratedCases : public data::CaseStream {
 public:
  using Fill = void (*)(std::int64_t, std::vector<OBS>&);
  GeneratedCases(std::int64_t cases, int cells, Fill fill) : cases_(cases), row_(static_cast<std::size_t>(cells)), fill_(fill) {}
  const OBS* Next() override {
    if (next_ == cases_) return nullptr;
    fill_(next_++, row_);
    return row_.data();
  }

 private:
  std::int64_t cases_;
  std::int64_t next_ = 0;
  std::vector<OBS> row_;
  Fill fill_;
};

std::shared_ptr<data::Dataset> WideDataset(int variables, std::int64_t cases) {
  data::Dictionary dictionary;
  for (int v = 0; v < variables; ++v) {
    auto variable = std::make_unique<data::Variable>("v" + std::to_string(v));
    // Half nominal (category counts), half scale (summary statistics).
    variable->SetMeasurementLevel(v % 2 == 0 ? 1 : 3);
    dictionary.AddVariable(std::move(variable));
  }
  const int cells = dictionary.CellsPerCase();
  return std::make_shared<data::Dataset>(std::move(dictionary), cases, [cases, cells] {
    return std::make_unique<GeneratedCases>(cases, cells, [](std::int64_t c, std::vector<OBS>& row) {
      for (std::size_t v = 0; v < row.size(); ++v) row[v].d = static_cast<double>((c * 7 + static_cast<std::int64_t>(v)) % 5 + 1);
    });
  });
}

double TimeParse(const std::shared_ptr<data::Dataset>& dataset, const std::string& text) {
  std::vector<syntax::Command> commands = syntax::SplitCommands(text);
  syntax::CurrentCommand current{commands[0].name, commands[0].tokens, 1, 1};
  syntax::CurrentCommandScope scope(current);
  syntax::MessageCollector messages;
  syntax::MessageSinkScope sink(messages);
  ProcedureDataSource source(std::make_shared<const ProcedureDataSource::Selection>(dataset));
  ParserMessage message;
  const auto start = Clock::now();
  CbkParser parser(source, message);
  const bool ok = parser.Parse();
  const double seconds = Seconds(start);
  if (!ok || parser.GetRequest().GetVarList().size() != static_cast<std::size_t>(dataset->ColumnCount())) {
    std::fprintf(stderr, "parse failed: %s\n", text.c_str());
    std::exit(1);
  }
  return seconds;
}

void Parse() {
  for (int n : {25000, 50000, 100000}) {
    auto dataset = WideDataset(n, 0);
    const std::string k = std::to_string(n / 1000) + "k";
    Print("parse_all_" + k, TimeParse(dataset, "CODEBOOK ALL.") * 1000, "ms");
    Print("parse_first_to_last_" + k,
          TimeParse(dataset, "CODEBOOK v0 TO v" + std::to_string(n - 1) + ".") * 1000, "ms");
  }
}

void Wide(const std::vector<int>& sizes) {
  for (int n : sizes) {
    auto dataset = WideDataset(n, 1000);
    const auto start = Clock::now();
    auto document = std::make_shared<output::Document>();
    {
      session::ProcedureParts parts;
      parts.command = syntax::CurrentCommand{"CODEBOOK", {}, 1, 1};
      parts.selection = std::make_shared<const ProcedureDataSource::Selection>(dataset);
      parts.document = document;
      const session::ProcedureContext context(std::move(parts));
      codebook_(0);
    }
    const double run = Seconds(start);
    std::ofstream devnull("/dev/null");
    output::RenderText(*document, devnull);
    const double total = Seconds(start);
    const std::string k = std::to_string(n / 1000) + "k";
    Print("codebook_default_" + k + "_vars_1000_cases", run, "s");
    Print("codebook_default_with_text_" + k + "_vars_1000_cases", total, "s");
  }
}

// The mix of the statistics benchmark: 70 categorical codes with labels, 20
// scale with at most 1,000 distinct values, 5 continuous all distinct, 5
// strings of 16 bytes with about 200 values, and a weight.
std::shared_ptr<data::Dataset> SurveyMix(std::int64_t cases) {
  data::Dictionary dictionary;
  for (int v = 0; v < 70; ++v) {
    auto variable = std::make_unique<data::Variable>("c" + std::to_string(v));
    variable->SetMeasurementLevel(1);
    std::vector<ValueLabelSetImpl::NumericLabel> labels;
    for (int code = 1; code <= 12; ++code) labels.push_back({static_cast<double>(code), "code " + std::to_string(code)});
    variable->SetValueLabels(std::make_shared<ValueLabelSetImpl>(std::move(labels)));
    dictionary.AddVariable(std::move(variable));
  }
  for (int v = 0; v < 25; ++v) {
    auto variable = std::make_unique<data::Variable>("s" + std::to_string(v));
    variable->SetMeasurementLevel(3);
    dictionary.AddVariable(std::move(variable));
  }
  for (int v = 0; v < 5; ++v) {
    auto variable = std::make_unique<data::Variable>("t" + std::to_string(v), 16);
    variable->SetMeasurementLevel(1);
    variable->SetPrintFormat(VELA_Format(VELA_Format::A, 16, 0));
    variable->SetWriteFormat(VELA_Format(VELA_Format::A, 16, 0));
    dictionary.AddVariable(std::move(variable));
  }
  dictionary.AddVariable(std::make_unique<data::Variable>("weight"));
  dictionary.SetWeightIndex(100);
  const int cells = dictionary.CellsPerCase();
  return std::make_shared<data::Dataset>(std::move(dictionary), cases, [cases, cells] {
    return std::make_unique<GeneratedCases>(cases, cells, [](std::int64_t c, std::vector<OBS>& row) {
      std::uint64_t x = static_cast<std::uint64_t>(c) * 0x9E3779B97F4A7C15ULL + 1;
      const auto next = [&x] {
        x ^= x >> 12; x ^= x << 25; x ^= x >> 27;
        return x * 2685821657736338717ULL;
      };
      std::size_t cell = 0;
      for (int v = 0; v < 70; ++v) row[cell++].d = static_cast<double>(next() % 12 + 1);
      for (int v = 0; v < 20; ++v) row[cell++].d = static_cast<double>(next() % 1000) / 4.0;
      for (int v = 0; v < 5; ++v) row[cell++].d = static_cast<double>(c) * 1.5 + v;
      for (int v = 0; v < 5; ++v) {
        char text[17];
        std::snprintf(text, sizeof text, "answer %-9u", static_cast<unsigned>(next() % 200));
        std::memcpy(row[cell].c, text, 16);
        cell += 2;
      }
      row[cell].d = 0.5 + static_cast<double>(next() % 100) / 100.0;
    });
  });
}

// Peak resident memory since the last ResetPeakMemory(), from the kernel's
// high-water mark (a forked child would otherwise inherit its parent's).
void ResetPeakMemory() { std::ofstream("/proc/self/clear_refs") << "5"; }

long PeakMegabytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6) / 1024;
  }
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

// Runs `work` in a child process, so that its peak memory is its own, and
// returns what it wrote.
template <typename Work>
std::string InChild(Work work) {
  int fds[2];
  if (pipe(fds) != 0) std::exit(1);
  const pid_t child = fork();
  if (child == 0) {
    close(fds[0]);
    ResetPeakMemory();
    const std::string result = work();
    if (write(fds[1], result.data(), result.size()) < 0) _exit(1);
    _exit(0);
  }
  close(fds[1]);
  std::string result;
  char buffer[256];
  ssize_t n;
  while ((n = read(fds[0], buffer, sizeof buffer)) > 0) result.append(buffer, static_cast<std::size_t>(n));
  close(fds[0]);
  waitpid(child, nullptr, 0);
  return result;
}

// The fastest of several runs, with the processor time it took, as the
// child process reports them: "seconds peak-MB cpu-seconds".
class BestRun {
 public:
  // A run that began at `start` with `cpuStart` processor seconds spent.
  void Ended(Clock::time_point start, double cpuStart) {
    const double seconds = Seconds(start);
    if (seconds >= seconds_) return;
    seconds_ = seconds;
    cpu_ = CpuSeconds() - cpuStart;
  }
  std::string Report() const {
    return std::to_string(seconds_) + " " + std::to_string(PeakMegabytes()) + " " + std::to_string(cpu_);
  }

 private:
  double seconds_ = 1e30;
  double cpu_ = 0;
};

void Pass(std::int64_t cases) {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("bench_codebook_" + std::to_string(getpid()) + ".sav");
  data::WriteDatasetFile(*SurveyMix(cases), path.string());
  Print("pass_file_cases", static_cast<double>(cases), "cases");

  const std::string decode = InChild([&] {
    auto dataset = data::OpenDatasetFile(path.string()).dataset;
    BestRun best;
    for (int round = 0; round < 2; ++round) {
      const auto start = Clock::now();
      const double cpuStart = CpuSeconds();
      std::unique_ptr<VELA_InputCaseIterator> it(dataset->CreateCaseIterator(false));
      double sink = 0;
      while (it->NextCase() != 0) sink += it->CurrentCase()[0].d;
      best.Ended(start, cpuStart);
      if (sink < 0) std::puts("");
    }
    return best.Report();
  });
  const std::string statistics = InChild([&] {
    auto dataset = data::OpenDatasetFile(path.string()).dataset;
    BestRun best;
    for (int round = 0; round < 2; ++round) {
      // The entries the output driver makes by default: one per variable,
      // levels from the dictionary.
      std::vector<std::unique_ptr<CBKVariable>> owned;
      std::vector<const CBKVariable*> entries;
      for (int v = 0; v < dataset->ColumnCount(); ++v) {
        auto* resolver = new CBKVariableResolver;
        resolver->resolveVariable(dataset.get(), v);
        owned.push_back(std::make_unique<CBKVariable>(resolver, CBKVariable::kOrdinary));
        owned.back()->setMeasurmentLevel(dataset->GetVariable(v)->GetMeasurementLevel() == 3
                                             ? CBKVariable::kScale : CBKVariable::kCategorical);
        entries.push_back(owned.back().get());
      }
      std::vector<AggregationStatistic> category = {AggregationStatistic(TableEncryptionCodes::kStatCount),
                                                    AggregationStatistic(TableEncryptionCodes::kStatPercent)};
      std::vector<TableEncryptionCodes::StatisticCodes> scale = {
          TableEncryptionCodes::kStatValidCount, TableEncryptionCodes::kStatMissingCount,
          TableEncryptionCodes::kStatMean, TableEncryptionCodes::kStatStdDev,
          TableEncryptionCodes::kStatPercentile};
      const auto start = Clock::now();
      const double cpuStart = CpuSeconds();
      std::unique_ptr<VELA_InputCaseIterator> it(dataset->CreateCaseIterator(false));
      VariableStatistics pass(entries, category, scale);
      pass.Init(dynamic_cast<ProcDSIterator*>(it.get()), 200);
      pass.PassingData(200);
      std::vector<double> stats;
      for (int v = 0; v < dataset->ColumnCount(); ++v) pass.GetContStats(v, stats);
      best.Ended(start, cpuStart);
    }
    return best.Report();
  });
  std::filesystem::remove(path);

  double decodeSeconds = 0, passSeconds = 0, decodeCpu = 0, passCpu = 0;
  long decodeMb = 0, passMb = 0;
  std::sscanf(decode.c_str(), "%lf %ld %lf", &decodeSeconds, &decodeMb, &decodeCpu);
  std::sscanf(statistics.c_str(), "%lf %ld %lf", &passSeconds, &passMb, &passCpu);
  Print("decode_alone", decodeSeconds, "s");
  Print("decode_alone_cpu", decodeCpu, "s");
  Print("statistics_pass", passSeconds, "s");
  Print("statistics_pass_cpu", passCpu, "s");
  Print("statistics_pass_over_decode", passSeconds / decodeSeconds, "x");
  Print("decode_peak_memory", static_cast<double>(decodeMb), "MB");
  Print("statistics_pass_peak_memory", static_cast<double>(passMb), "MB");
}

// Runs `argv` with standard output and error thrown away; returns its wall
// time, processor time and peak resident memory.
struct ProgramRun {
  double seconds = 0;
  double cpu = 0;
  long peakMb = 0;
  int status = 0;
};

ProgramRun RunProgram(const std::vector<std::string>& argv) {
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
  ProgramRun run;
  run.seconds = Seconds(start);
  const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec * 1e-6; };
  run.cpu = seconds(usage.ru_utime) + seconds(usage.ru_stime);
  run.peakMb = usage.ru_maxrss / 1024;
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
  return run;
}

// Decoding alone, in this process: every case read through the case stream.
ProgramRun TimeDecode(const std::string& path) {
  const std::string report = InChild([&] {
    auto dataset = data::OpenDatasetFile(path).dataset;
    BestRun best;
    for (int round = 0; round < 2; ++round) {
      const auto start = Clock::now();
      const double cpuStart = CpuSeconds();
      std::unique_ptr<VELA_InputCaseIterator> it(dataset->CreateCaseIterator(false));
      double sink = 0;
      while (it->NextCase() != 0) sink += it->CurrentCase()[0].d;
      best.Ended(start, cpuStart);
      if (sink < 0) std::puts("");
    }
    return best.Report();
  });
  ProgramRun run;
  std::sscanf(report.c_str(), "%lf %ld %lf", &run.seconds, &run.peakMb, &run.cpu);
  return run;
}

// The statistics pass of the default CODEBOOK on a file, as the procedure
// runs it: the tables made, every case passed, the results read and the
// tables released. The dictionary is opened before the clock starts.
ProgramRun TimePass(const std::string& path) {
  const std::string report = InChild([&] {
    auto dataset = data::OpenDatasetFile(path).dataset;
    BestRun best;
    for (int round = 0; round < 2; ++round) {
      std::vector<std::unique_ptr<CBKVariable>> owned;
      std::vector<const CBKVariable*> entries;
      for (int v = 0; v < dataset->ColumnCount(); ++v) {
        auto* resolver = new CBKVariableResolver;
        resolver->resolveVariable(dataset.get(), v);
        owned.push_back(std::make_unique<CBKVariable>(resolver, CBKVariable::kOrdinary));
        owned.back()->setMeasurmentLevel(dataset->GetVariable(v)->GetMeasurementLevel() == 3
                                             ? CBKVariable::kScale : CBKVariable::kCategorical);
        entries.push_back(owned.back().get());
      }
      std::vector<AggregationStatistic> category = {AggregationStatistic(TableEncryptionCodes::kStatCount),
                                                    AggregationStatistic(TableEncryptionCodes::kStatPercent)};
      std::vector<TableEncryptionCodes::StatisticCodes> scale = {
          TableEncryptionCodes::kStatValidCount, TableEncryptionCodes::kStatMissingCount,
          TableEncryptionCodes::kStatMean, TableEncryptionCodes::kStatStdDev,
          TableEncryptionCodes::kStatPercentile};
      const auto start = Clock::now();
      const double cpuStart = CpuSeconds();
      {
        std::unique_ptr<VELA_InputCaseIterator> it(dataset->CreateCaseIterator(false));
        VariableStatistics pass(entries, category, scale);
        pass.Init(dynamic_cast<ProcDSIterator*>(it.get()), 200);
        pass.PassingData(200);
        std::vector<double> counts, percents, stats;
        std::vector<const OBS*> values;
        std::vector<std::string> labels;
        std::vector<int> members;
        double missing = 0;
        for (int v = 0; v < dataset->ColumnCount(); ++v) {
          if (entries[static_cast<std::size_t>(v)]->getMeasurmentLevel() == CBKVariable::kScale) {
            pass.GetContStats(v, stats);
          } else {
            pass.GetCatStatValues(v, counts, percents, values, labels, members, missing);
          }
        }
      }
      best.Ended(start, cpuStart);
    }
    return best.Report();
  });
  ProgramRun run;
  std::sscanf(report.c_str(), "%lf %ld %lf", &run.seconds, &run.peakMb, &run.cpu);
  return run;
}

// Opening the file alone: its dictionary read, no case.
ProgramRun TimeOpen(const std::string& path) {
  const std::string report = InChild([&] {
    BestRun best;
    for (int round = 0; round < 2; ++round) {
      const auto start = Clock::now();
      const double cpuStart = CpuSeconds();
      auto dataset = data::OpenDatasetFile(path).dataset;
      best.Ended(start, cpuStart);
    }
    return best.Report();
  });
  ProgramRun run;
  std::sscanf(report.c_str(), "%lf %ld %lf", &run.seconds, &run.peakMb, &run.cpu);
  return run;
}

// The best of three runs of the program.
ProgramRun BestProgramRun(const std::vector<std::string>& argv) {
  ProgramRun best;
  best.seconds = 1e30;
  for (int round = 0; round < 3; ++round) {
    const ProgramRun run = RunProgram(argv);
    if (run.status != 0) {
      std::fprintf(stderr, "codebook exited %d\n", run.status);
      std::exit(1);
    }
    if (run.seconds < best.seconds) best = run;
  }
  return best;
}

// Where a run's time goes: the statistics pass, and everything else
// (opening, parsing, tables, alerts, rendering, writing).
void Split(const std::string& path) {
  namespace fs = std::filesystem;
  const fs::path program = fs::read_symlink("/proc/self/exe").parent_path() / "codebook";
  const ProgramRun open = TimeOpen(path);
  Print("split_open", open.seconds, "s");
  Print("split_open_peak_memory", static_cast<double>(open.peakMb), "MB");
  const ProgramRun pass = TimePass(path);
  Print("split_statistics_pass", pass.seconds, "s");
  Print("split_statistics_pass_cpu", pass.cpu, "s");
  Print("split_statistics_pass_peak_memory", static_cast<double>(pass.peakMb), "MB");
  for (const char* format : {"json", "text"}) {
    const ProgramRun run = BestProgramRun({program.string(), "--format", format, "-o", "/dev/null", path});
    const std::string name = std::string("split_codebook_") + format;
    Print(name, run.seconds, "s");
    Print(name + "_cpu", run.cpu, "s");
    Print(name + "_peak_memory", static_cast<double>(run.peakMb), "MB");
    Print(name + "_without_pass", run.seconds - pass.seconds, "s");
  }
}

// The mix as a .dta file: codes in bytes, the rest in doubles, strings of 16.
data::DtaWriteOptions MixAsDta() {
  data::DtaWriteOptions options;
  options.release = 118;
  for (int v = 0; v < 70; ++v) options.columns["c" + std::to_string(v)].storage = "byte";
  for (int v = 0; v < 5; ++v) options.columns["t" + std::to_string(v)].format = "%-16s";
  return options;
}

void EndToEnd(const std::string& keepIn) {
  namespace fs = std::filesystem;
  const fs::path dir = keepIn.empty() ? fs::temp_directory_path() / ("bench_codebook_e2e_" + std::to_string(getpid()))
                                      : fs::path(keepIn);
  fs::create_directories(dir);
  const fs::path program = fs::read_symlink("/proc/self/exe").parent_path() / "codebook";
  struct File {
    const char* name;
    data::FileCompression compression;
    bool wide;
    bool dta = false;
  };
  const File files[] = {{"mix_bytecode.sav", data::FileCompression::kBytecode, false},
                        {"mix_uncompressed.sav", data::FileCompression::kNone, false},
                        {"mix_zlib.zsav", data::FileCompression::kZlib, false},
                        {"mix.dta", data::FileCompression::kNone, false, true},
                        {"wide_100k.sav", data::FileCompression::kBytecode, true}};
  double uncompressedSeconds = 0;
  for (const File& file : files) {
    const fs::path path = dir / file.name;
    if (!fs::exists(path) && file.dta) {
      data::WriteDtaFile(*SurveyMix(1000000), path.string(), MixAsDta());
    } else if (!fs::exists(path)) {
      data::WriteOptions options;
      options.compression = file.compression;
      data::WriteDatasetFile(file.wide ? *WideDataset(100000, 1000) : *SurveyMix(1000000), path.string(), options);
    }
    const std::string stem = file.dta ? "mix_dta" : fs::path(file.name).stem().string();
    Print(stem + "_file_size", static_cast<double>(fs::file_size(path)) / 1e6, "MB");
    const ProgramRun decode = TimeDecode(path.string());
    Print(stem + "_decode_alone", decode.seconds, "s");
    Print(stem + "_decode_alone_cpu", decode.cpu, "s");
    ProgramRun best;
    best.seconds = 1e30;
    // A .dta file stores no weight: the same pass is asked for.
    std::vector<std::string> argv = {program.string(), "--format", "json", "-o", "/dev/null", path.string()};
    if (file.dta) argv.insert(argv.begin() + 1, {"--weight", "weight"});
    for (int round = 0; round < 3; ++round) {
      const ProgramRun run = RunProgram(argv);
      if (run.status != 0) {
        std::fprintf(stderr, "codebook exited %d on %s\n", run.status, path.c_str());
        std::exit(1);
      }
      if (run.seconds < best.seconds) best = run;
    }
    Print(stem + "_codebook_json", best.seconds, "s");
    Print(stem + "_codebook_json_cpu", best.cpu, "s");
    Print(stem + "_codebook_json_peak_memory", static_cast<double>(best.peakMb), "MB");
    if (stem == "mix_uncompressed") uncompressedSeconds = best.seconds;
    if (file.dta && uncompressedSeconds > 0) Print("mix_dta_over_uncompressed_sav", best.seconds / uncompressedSeconds, "x");
    if (file.wide) {
      const ProgramRun text = RunProgram({program.string(), "-o", "/dev/null", path.string()});
      Print(stem + "_codebook_text", text.seconds, "s");
    }
  }
  if (keepIn.empty()) fs::remove_all(dir);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "all";
  if (what == "parse" || what == "all") Parse();
  if (what == "wide" || what == "all") Wide({25000, 50000, 100000});
  if (what == "wide-small") Wide({argc > 2 ? std::atoi(argv[2]) : 5000});
  if (what == "pass" || what == "all") Pass(argc > 2 ? std::atoll(argv[2]) : 1000000);
  if (what == "e2e" || what == "all") EndToEnd(argc > 2 ? argv[2] : "");
  if (what == "split") {
    if (argc < 3) {
      std::fprintf(stderr, "usage: bench_codebook split FILE\n");
      return 2;
    }
    Split(argv[2]);
  }
  return 0;
}
