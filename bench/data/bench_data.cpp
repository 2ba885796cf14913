// Dataset file reader throughput. Generates, deterministically and through
// the writer, a file of 1,000,000 cases x 100 variables in each data layout
// (in a temporary directory, removed at the end) and reports:
//   decode throughput per layout, in MB of uncompressed case data per second,
//   by processor time and by the wall clock;
//   the time zlib's and libdeflate's inflate alone take over the same blocks
//   on one thread, and the ratios;
//   the time to read the dictionary of files with 25k, 50k and 100k variables.
// Usage: bench_data [cases]   (default 1000000)
#include <zlib.h>
#ifdef CODEBOOK_HAVE_LIBDEFLATE
#include <libdeflate.h>
#endif

#include <chrono>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include "platform/data/dataset.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/raw_dictionary.h"
#include "platform/data/sav/read_dataset.h"
#include "platform/data/sav/warnings.h"
#include "platform/data/sav/write_dataset.h"
#include "platform/data/sav/zlib_layout.h"
#include "testing/dataset_builder.h"

namespace {

using namespace codebook::data;
// Process CPU time, all threads together: it stays meaningful on a machine
// shared with other work, but it hides what the reader's threads gain by
// running at once, which the wall clock shows.
struct Clock {
  using time_point = double;
  static double now() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
  }
};
using WallClock = std::chrono::steady_clock;

constexpr int kNumeric = 90;
constexpr int kStrings = 10;
constexpr int kStringWidth = 8;

double Seconds(Clock::time_point since) { return Clock::now() - since; }

// Survey-like cases made on the fly: coded answers (small whole numbers),
// measurements (fractions), some system-missing values, short words.
class GeneratedCases final : public CaseStream {
 public:
  GeneratedCases(std::int64_t count, int cells) : count_(count), cells_(static_cast<std::size_t>(cells)) {}

  const OBS* Next() override {
    if (n_ == count_) return nullptr;
    ++n_;
    static const char* const kWords[] = {"alpha   ", "beta    ", "gamma   ", "        ", "delta   "};
    for (int v = 0; v < kNumeric; ++v) {
      state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
      const std::uint32_t r = static_cast<std::uint32_t>(state_ >> 33);
      double x;
      if (v < 50) x = 1 + r % 9;                              // codes
      else if (v < 80) x = static_cast<double>(r % 100000) / 7.0;  // measurements
      else x = r % 10 == 0 ? kSysmis : static_cast<double>(r % 1000);
      cells_[static_cast<std::size_t>(v)].d = x;
    }
    for (int s = 0; s < kStrings; ++s) {
      state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
      std::memcpy(cells_[static_cast<std::size_t>(kNumeric + s)].c, kWords[(state_ >> 40) % 5], 8);
    }
    return cells_.data();
  }

 private:
  std::int64_t count_;
  std::int64_t n_ = 0;
  std::uint64_t state_ = 42;
  std::vector<OBS> cells_;
};

std::shared_ptr<Dataset> Generated(std::int64_t cases) {
  Dictionary dict;
  for (int v = 0; v < kNumeric; ++v) dict.AddVariable(std::make_unique<Variable>("n" + std::to_string(v)));
  for (int s = 0; s < kStrings; ++s) dict.AddVariable(std::make_unique<Variable>("s" + std::to_string(s), kStringWidth));
  const int cells = dict.CellsPerCase();
  return std::make_shared<Dataset>(std::move(dict), cases, [cases, cells]() -> std::unique_ptr<CaseStream> {
    return std::make_unique<GeneratedCases>(cases, cells);
  });
}

struct Timing {
  double cpu = 1e30;
  double wall = 1e30;
};

// Reads every case; returns seconds (best of `runs`).
Timing DecodeSeconds(const std::string& path, int runs) {
  Timing best;
  for (int r = 0; r < runs; ++r) {
    ReadResult result = OpenDatasetFile(path);
    const auto t0 = Clock::now();
    const auto w0 = WallClock::now();
    auto stream = result.dataset->OpenCases();
    // (the file's pages are in the cache after the first run; the best run
    // measures decoding, not the disk)
    double sink = 0;
    std::int64_t n = 0;
    while (const OBS* c = stream->Next()) {
      sink += c[0].d;
      ++n;
    }
    best.cpu = std::min(best.cpu, Seconds(t0));
    best.wall = std::min(best.wall, std::chrono::duration<double>(WallClock::now() - w0).count());
    if (sink == -1) std::printf("%lld\n", static_cast<long long>(n));
  }
  return best;
}

sav::ZlibLayout Layout(const sav::ByteSource& source) {
  sav::Warnings warnings;
  sav::RawDictionary raw = sav::ReadRawDictionary(source, warnings);
  return sav::ReadZlibLayout(source, raw.dataOffset, raw.header.bigEndian, raw.header.bias, warnings);
}

// zlib's inflate over the same blocks into a scratch buffer, nothing else.
double InflateSeconds(const std::string& path, int runs) {
  auto source = sav::OpenFileSource(path);
  const sav::ZlibLayout layout = Layout(*source);
  std::vector<std::uint8_t> in(256 * 1024), out(1024 * 1024);
  double best = 1e30;
  for (int r = 0; r < runs; ++r) {
    const auto t0 = Clock::now();
    z_stream z{};
    inflateInit(&z);
    for (const auto& b : layout.blocks) {
      inflateReset(&z);
      std::uint64_t pos = b.compressedOffset, left = b.compressedSize;
      int rc = Z_OK;
      while (rc != Z_STREAM_END) {
        if (z.avail_in == 0 && left > 0) {
          const std::size_t n = std::min<std::uint64_t>(in.size(), left);
          source->ReadAt(pos, std::span<std::uint8_t>(in.data(), n));
          pos += n;
          left -= n;
          z.next_in = in.data();
          z.avail_in = static_cast<uInt>(n);
        }
        z.next_out = out.data();
        z.avail_out = static_cast<uInt>(out.size());
        rc = inflate(&z, Z_NO_FLUSH);
        if (rc != Z_OK && rc != Z_STREAM_END) {
          std::fprintf(stderr, "inflate failed\n");
          std::exit(1);
        }
      }
    }
    inflateEnd(&z);
    best = std::min(best, Seconds(t0));
  }
  return best;
}

#ifdef CODEBOOK_HAVE_LIBDEFLATE
// libdeflate over the same blocks, each read whole and inflated whole into a
// buffer of its declared size, on one thread.
double LibdeflateSeconds(const std::string& path, int runs) {
  auto source = sav::OpenFileSource(path);
  const sav::ZlibLayout layout = Layout(*source);
  std::vector<std::uint8_t> in, out;
  libdeflate_decompressor* d = libdeflate_alloc_decompressor();
  double best = 1e30;
  for (int r = 0; r < runs; ++r) {
    const auto t0 = Clock::now();
    for (const auto& b : layout.blocks) {
      in.resize(b.compressedSize);
      out.resize(b.uncompressedSize);
      source->ReadAt(b.compressedOffset, in);
      if (libdeflate_zlib_decompress(d, in.data(), in.size(), out.data(), out.size(), nullptr) !=
          LIBDEFLATE_SUCCESS) {
        std::fprintf(stderr, "libdeflate failed\n");
        std::exit(1);
      }
    }
    best = std::min(best, Seconds(t0));
  }
  libdeflate_free_decompressor(d);
  return best;
}
#endif

// A dictionary of n variables, each with a label, two value labels and one
// attribute, written without cases; returns the seconds to open it.
double DictionarySeconds(const std::filesystem::path& dir, int n) {
  DatasetBuilder b;
  for (int i = 0; i < n; ++i) {
    b.Numeric("var" + std::to_string(i)).Label("Question " + std::to_string(i) + " of the survey")
        .ValueLabel(1, "Yes").ValueLabel(2, "No").Attribute("Source", {"wave " + std::to_string(i % 5)});
  }
  const std::string path = (dir / ("dict_" + std::to_string(n) + ".sav")).string();
  WriteDatasetFile(*b.Build(), path);
  double best = 1e30;
  for (int r = 0; r < 3; ++r) {
    const auto t0 = Clock::now();
    ReadResult result = OpenDatasetFile(path);
    best = std::min(best, Seconds(t0));
    if (result.dataset->ColumnCount() != n) std::exit(1);
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  const std::int64_t cases = argc > 1 ? std::atoll(argv[1]) : 1000000;
  const auto dir = std::filesystem::temp_directory_path() / ("codebook_bench_data_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  auto dataset = Generated(cases);
  const double mb = static_cast<double>(cases) * (kNumeric + kStrings) * 8 / 1e6;
  std::printf("case_data_per_file: %.1f MB\n", mb);

  struct Layout {
    const char* name;
    FileCompression compression;
    const char* file;
  } layouts[] = {{"uncompressed", FileCompression::kNone, "u.sav"},
                 {"bytecode", FileCompression::kBytecode, "b.sav"},
                 {"zlib", FileCompression::kZlib, "z.zsav"}};
  double zlibDecode = 0;
  for (const auto& l : layouts) {
    WriteOptions options;
    options.compression = l.compression;
    const std::string path = (dir / l.file).string();
    const auto t0 = Clock::now();
    WriteDatasetFile(*dataset, path, options);
    std::printf("write_%s: %.1f MB/s\n", l.name, mb / Seconds(t0));
    std::printf("file_size_%s: %.1f MB\n", l.name, static_cast<double>(std::filesystem::file_size(path)) / 1e6);
    const Timing t = DecodeSeconds(path, 2);
    std::printf("decode_%s: %.1f MB/s\n", l.name, mb / t.cpu);
    std::printf("decode_%s_wall: %.1f MB/s\n", l.name, mb / t.wall);
    if (l.compression == FileCompression::kZlib) {
      zlibDecode = t.cpu;
      const double inflate = InflateSeconds(path, 2);
      std::printf("inflate_alone_zlib: %.1f MB/s\n", mb / inflate);
      std::printf("zlib_decode_over_inflate: %.3f ratio\n", zlibDecode / inflate);
#ifdef CODEBOOK_HAVE_LIBDEFLATE
      const double fast = LibdeflateSeconds(path, 2);
      std::printf("inflate_alone_libdeflate: %.1f MB/s\n", mb / fast);
      std::printf("zlib_decode_over_inflate_libdeflate: %.3f ratio\n", zlibDecode / fast);
#endif
    }
    std::filesystem::remove(path);
  }
  for (int n : {25000, 50000, 100000}) {
    std::printf("dictionary_%dk_variables: %.1f ms\n", n / 1000, DictionarySeconds(dir, n) * 1000);
  }
  std::filesystem::remove_all(dir);
  return 0;
}
