#include "testing/xpt_writer.h"

#include <cmath>
#include <cstring>
#include <stdexcept>

#include "platform/data/extended_missing.h"
#include "platform/data/time_origin.h"

namespace codebook::data {
namespace {

std::string Padded(std::string text, std::size_t size) {
  if (text.size() > size) text.resize(size);
  text.resize(size, ' ');
  return text;
}

std::string Header(const std::string& kind, const std::string& tail) {
  return "HEADER RECORD*******" + Padded(kind, 8) + "HEADER RECORD!!!!!!!" + Padded(tail, 32);
}

void Short(std::string& out, int v) {
  out += static_cast<char>((v >> 8) & 0xFF);
  out += static_cast<char>(v & 0xFF);
}

void PadRecord(std::string& out) {
  while (out.size() % 80 != 0) out += ' ';
}

}  // namespace

std::vector<std::uint8_t> TransportBytes(double value) {
  std::vector<std::uint8_t> bytes(8, 0);
  if (value == 0) return bytes;
  int e = 0;
  const double f = std::frexp(std::fabs(value), &e);  // f in [0.5, 1)
  const int exponent = static_cast<int>(std::ceil(e / 4.0));
  const double fraction = std::ldexp(f, e - 4 * exponent);  // in [1/16, 1)
  if (exponent + 64 < 0 || exponent + 64 > 127) throw std::invalid_argument("a number beyond the transport format's range");
  auto bits = static_cast<std::uint64_t>(std::ldexp(fraction, 56));
  bytes[0] = static_cast<std::uint8_t>((value < 0 ? 0x80 : 0) | (exponent + 64));
  for (int i = 7; i >= 1; --i) {
    bytes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(bits & 0xFF);
    bits >>= 8;
  }
  return bytes;
}

std::vector<std::uint8_t> WriteXptBytes(const Dataset& dataset, const XptWriteOptions& o) {
  const bool v8 = o.version == 8;
  const Dictionary& d = dataset.GetDictionary();
  std::string out;
  out += Header(v8 ? "LIBV8" : "LIBRARY", "000000000000000000000000000000");
  out += Padded("SAS     SAS     SASLIB  6.06    bsd4.2", 64) + "01JAN24:12:00:00";
  out += Padded("01JAN24:12:00:00", 80);
  struct Column {
    const Variable* variable;
    int index, position, length;
    XptColumnSpec spec;
  };
  std::vector<Column> columns;
  int position = 0;
  for (int i = 0; i < d.VariableCount(); ++i) {
    const Variable& v = *d.GetVariable(i);
    const auto found = o.columns.find(v.Name());
    Column c{&v, i, position, v.IsNumeric() ? 8 : v.DeclaredWidth(), found == o.columns.end() ? XptColumnSpec{} : found->second};
    if (v.IsNumeric()) c.length = c.spec.length;
    position += c.length;
    columns.push_back(c);
  }
  for (int member = 0; member < o.members; ++member) {
    out += Header(v8 ? "MEMBV8" : "MEMBER", "000000000000000001600000000140");
    out += Header(v8 ? "DSCPTV8" : "DSCRPTR", "000000000000000000000000000000");
    out += "SAS     " + Padded(o.datasetName, v8 ? 32 : 8) + "SASDATA 6.06    bsd4.2  " +
           std::string(v8 ? 0 : 24, ' ') + "01JAN24:12:00:00";
    out += "01JAN24:12:00:00" + std::string(16, ' ') + Padded(o.datasetLabel, 40) + Padded("", 8);
    char count[16];
    std::snprintf(count, sizeof count, "%010d", static_cast<int>(columns.size()));
    out += Header(v8 ? "NAMSTV8" : "NAMESTR", std::string(count) + "00000000000000000000");
    std::vector<const Column*> longLabels;
    for (const Column& c : columns) {
      std::string n;
      Short(n, c.variable->IsNumeric() ? 1 : 2);
      Short(n, 0);
      Short(n, c.length);
      Short(n, c.index + 1);
      n += Padded(c.variable->Name(), 8);
      const std::string label = c.variable->Label().value_or("");
      n += Padded(label, 40);
      n += Padded(c.spec.format, 8);
      Short(n, c.spec.width);
      Short(n, c.spec.decimals);
      Short(n, 0);
      n += std::string(2, '\0');
      n += Padded("", 8);
      Short(n, 0);
      Short(n, 0);
      n += static_cast<char>((c.position >> 24) & 0xFF);
      n += static_cast<char>((c.position >> 16) & 0xFF);
      n += static_cast<char>((c.position >> 8) & 0xFF);
      n += static_cast<char>(c.position & 0xFF);
      if (v8) {
        n += Padded(c.variable->Name(), 32);
        Short(n, static_cast<int>(label.size()));
        n += std::string(18, '\0');
        if (label.size() > 40) longLabels.push_back(&c);
      } else {
        n += std::string(52, '\0');
      }
      out += n;
    }
    PadRecord(out);
    if (!longLabels.empty()) {
      out += Header("LABELV8", std::to_string(longLabels.size()));
      for (const Column* c : longLabels) {
        const std::string label = *c->variable->Label();
        Short(out, c->index + 1);
        Short(out, static_cast<int>(c->variable->Name().size()));
        Short(out, static_cast<int>(label.size()));
        out += c->variable->Name() + label;
      }
      PadRecord(out);
    }
    out += Header(v8 ? "OBSV8" : "OBS", "000000000000000000000000000000");
    std::unique_ptr<CaseStream> stream = dataset.OpenCases();
    while (const OBS* row = stream ? stream->Next() : nullptr) {
      for (const Column& c : columns) {
        const OBS* cell = row + d.CellOffset(c.index);
        if (!c.variable->IsNumeric()) {
          std::string_view text = c.variable->StringValue(cell);
          out += Padded(std::string(text.substr(0, std::min<std::size_t>(text.size(), static_cast<std::size_t>(c.length)))),
                        static_cast<std::size_t>(c.length));
          continue;
        }
        double value = cell->d;
        std::vector<std::uint8_t> bytes(8, 0);
        if (value == kSysmis) {
          bytes[0] = '.';
        } else if (const char code = ExtendedMissingCode(value)) {
          bytes[0] = static_cast<std::uint8_t>(code);
        } else {
          if (c.spec.format == "DATETIME") value -= kSeconds1582To1960;
          else if (c.spec.format == "DATE") value = value / 86400.0 - 137775.0;
          bytes = TransportBytes(value);
        }
        out.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(c.length));
      }
    }
    PadRecord(out);
  }
  return std::vector<std::uint8_t>(out.begin(), out.end());
}

}  // namespace codebook::data
