// Builds documents of many small codebook-like tables through the Bp classes
// and renders them in every form, at two sizes, to show the time per table
// stays flat (linear) as the document grows.
#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"
#include "platform/output/render/pdf/pdf_renderer.h"
#include "platform/output/render/renderers.h"

namespace {

using codebook::output::Document;
using Clock = std::chrono::steady_clock;

// Counts bytes and throws them away.
class CountingBuffer : public std::streambuf {
 public:
  std::size_t bytes = 0;

 protected:
  int_type overflow(int_type c) override {
    if (c != traits_type::eof()) ++bytes;
    return c;
  }
  std::streamsize xsputn(const char*, std::streamsize n) override {
    bytes += static_cast<std::size_t>(n);
    return n;
  }
};

double Seconds(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::shared_ptr<Document> Build(int tables) {
  auto document = std::make_shared<Document>();
  codebook::output::ScopedCurrentDocument scope(document);
  BpProcedure procedure("Codebook", 1);
  for (int t = 0; t < tables; ++t) {
    const std::string name = "v" + std::to_string(t);
    BpPivotTable table = procedure.PivotTable(BpString(name, false), BpString("Variable Information", false), false);
    BpDimension rows = table.Dimension(BpString("Attributes", true), 2);
    rows.Position(0, 1, true, false);
    BpDimension columns = table.Dimension(BpString("Values", true), 2);
    columns.Position(1, 1, true, false);
    BpCategory value = columns.Category(BpString("Value", true));
    BpCategory count = columns.Category(BpString("Count", true));
    BpCategory percent = columns.Category(BpString("Percent", true));
    BpGroup standard = rows.Group(BpString("Standard Attributes", true), true, 2);
    standard.Category(BpString("Position", true));
    value.Cell(BpNumber(t + 1, procedure.Count()));
    standard.Category(BpString("Label", true));
    value.Cell(BpString("Question " + name + " of the survey", false));
    standard.Category(BpString("Type", true));
    value.Cell(BpString("Numeric", true));
    standard.Category(BpString("Measurement", true));
    value.Cell(BpString("Nominal", true));
    BpGroup valid = rows.Group(BpString("Valid Values", true), true, 2);
    rows.Group(BpString("Missing Values", true), true, 2);  // empty: hidden
    for (int v = 1; v <= 5; ++v) {
      valid.Category(BpString(std::to_string(v), false));
      value.Cell(BpString("Answer " + std::to_string(v), false));
      count.Cell(BpNumber(v * 7 + t % 13, procedure.Count()));
      percent.Cell(BpNumber(v * 6.6667, procedure.Percent()));
    }
  }
  return document;
}

// Bytes the allocator has handed out and not had back.
double HeapInUse() { return static_cast<double>(mallinfo2().uordblks); }

void Measure(int tables) {
  const double heapBefore = HeapInUse();
  const auto start = Clock::now();
  const std::shared_ptr<Document> document = Build(tables);
  const double build = Seconds(start);
  const double held = HeapInUse() - heapBefore;
  std::printf("build_%d_tables: %.3f s\n", tables, build);
  std::printf("document_%d_tables_memory: %.1f MB\n", tables, held / 1e6);
  std::printf("document_%d_tables_memory_per_table: %.0f bytes\n", tables, held / tables);
  struct Form {
    const char* name;
    codebook::output::OutputFormat format;
  };
  using codebook::output::OutputFormat;
  const Form forms[] = {{"text", OutputFormat::kText}, {"html", OutputFormat::kHtml},
                        {"json", OutputFormat::kJson}, {"markdown", OutputFormat::kMarkdown},
                        {"csv", OutputFormat::kCsv}};
  for (const Form& form : forms) {
    CountingBuffer buffer;
    std::ostream out(&buffer);
    const auto renderStart = Clock::now();
    codebook::output::Render(*document, form.format, out);
    const double seconds = Seconds(renderStart);
    std::printf("render_%s_%d_tables: %.3f s\n", form.name, tables, seconds);
    std::printf("render_%s_%d_tables_per_table: %.2f us\n", form.name, tables, seconds / tables * 1e6);
    std::printf("render_%s_%d_tables_output: %.1f MB\n", form.name, tables, static_cast<double>(buffer.bytes) / 1e6);
  }
}

// The PDF, laid out twice and drawn page by page: its time, its pages'
// bytes, and the most heap held while it is made beyond the document's.
void MeasurePdf(int tables) {
  const std::shared_ptr<Document> document = Build(tables);
  malloc_trim(0);
  const double heapBefore = HeapInUse();
  CountingBuffer buffer;
  std::ostream out(&buffer);
  const auto start = Clock::now();
  codebook::output::pdf::RenderPdf(*document, out);
  const double seconds = Seconds(start);
  std::printf("render_pdf_%d_tables: %.3f s\n", tables, seconds);
  std::printf("render_pdf_%d_tables_per_table: %.2f us\n", tables, seconds / tables * 1e6);
  std::printf("render_pdf_%d_tables_output: %.1f MB\n", tables, static_cast<double>(buffer.bytes) / 1e6);
  std::printf("render_pdf_%d_tables_heap_after: %.1f MB\n", tables, (HeapInUse() - heapBefore) / 1e6);
}

}  // namespace

int main() {
  Measure(10000);
  Measure(100000);
  MeasurePdf(500);
  MeasurePdf(10000);
  return 0;
}
