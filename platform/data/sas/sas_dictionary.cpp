// SAS files store no measurement level, no missing values beyond their
// codes, and value labels only in a catalog: every numeric variable counts
// ._ and .A-.Z as missing, takes the labels of the catalog format it names,
// and gets its level from default_level.h.
#include "platform/data/sas/sas_dictionary.h"

#include <algorithm>
#include <cstring>

#include "platform/data/default_level.h"
#include "platform/data/extended_missing.h"
#include "platform/data/sas/sas_numbers.h"
#include "platform/data/sav/text_encoding.h"

namespace codebook::data::sas {
namespace {

std::string UniqueName(const Dictionary& dictionary, const std::string& wanted, std::size_t position,
                       sav::Warnings& warnings) {
  std::string name = dictionary.FreeName(wanted, position);
  if (name != wanted) {
    warnings.Add("names", "variable " + std::to_string(position + 1) + " has an empty or duplicate name (\"" + wanted +
                              "\"); it is called " + name);
  }
  return name;
}

class SasDecoder final : public RowDecoder {
 public:
  SasDecoder(std::vector<SasColumn> columns, const SasRows& rows)
      : columns_(std::move(columns)), rows_(rows), strings_(rows.encoding, rows.fallback) {}

  void Decode(const std::uint8_t* rows, std::size_t n, std::size_t rowBytes, CaseBatch& batch,
              std::size_t first) override {
    for (const SasColumn& column : columns_) {
      const std::uint8_t* field = rows + column.offset;
      if (column.isString) {
        for (std::size_t r = 0; r < n; ++r) {
          const std::string_view text(reinterpret_cast<const char*>(field + r * rowBytes), column.length);
          strings_.Put(Unpadded(text), batch, column.cell, column.cellBytes, first + r);
        }
        continue;
      }
      OBS* out = batch.Column(column.cell) + first;
      if (rows_.numbers == NumberKind::kTransport) {
        for (std::size_t r = 0; r < n; ++r) out[r].d = TransportValue(field + r * rowBytes, column.length);
      } else if (column.length == 8 && !rows_.bigEndian) {
        for (std::size_t r = 0; r < n; ++r) {
          std::uint64_t bits;
          std::memcpy(&bits, field + r * rowBytes, 8);
          out[r].d = Sas7bdatValue(bits);
        }
      } else {
        for (std::size_t r = 0; r < n; ++r) out[r].d = Sas7bdatValue(Bits(field + r * rowBytes, column.length));
      }
      if (column.time == TimeUnit::kNone) continue;
      for (std::size_t r = 0; r < n; ++r) {
        const double v = out[r].d;
        if (v != kSysmis && !IsExtendedMissing(v)) out[r].d = ToProgramTime(v, column.time);
      }
    }
  }

 private:
  // Writers pad a string with blanks or with NULs; a NUL inside it is
  // shown as a blank.
  std::string_view Unpadded(std::string_view text) {
    std::size_t n = text.size();
    while (n > 0 && (text[n - 1] == ' ' || text[n - 1] == '\0')) --n;
    text = text.substr(0, n);
    if (text.find('\0') == std::string_view::npos) return text;
    unpadded_.assign(text);
    std::replace(unpadded_.begin(), unpadded_.end(), '\0', ' ');
    return unpadded_;
  }

  // A number of `length` bytes (3 to 8) keeps the most significant bytes of
  // the double; the rest are zeros.
  std::uint64_t Bits(const std::uint8_t* p, std::size_t length) const {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 8; ++i) {
      std::uint64_t byte = 0;
      if (rows_.bigEndian) {
        byte = i < length ? p[i] : 0;
      } else {
        byte = i < 8 - length ? 0 : p[i - (8 - length)];
      }
      bits |= byte << (rows_.bigEndian ? 8 * (7 - i) : 8 * i);
    }
    return bits;
  }

  std::vector<SasColumn> columns_;
  SasRows rows_;
  StringCellWriter strings_;
  std::string unpadded_;
};

}  // namespace

SasDictionary BuildSasDictionary(const std::vector<SasVariable>& variables, int cellsPerByte,
                                 const CatalogLabels* catalog, sav::Warnings& warnings) {
  SasDictionary out;
  out.dictionary.Reserve(variables.size());
  for (std::size_t i = 0; i < variables.size(); ++i) {
    const SasVariable& v = variables[i];
    const int width = static_cast<int>(std::max<std::uint32_t>(v.length, 1));
    const SasDisplay display = MapSasFormat(v.format, v.isString, width);
    const std::string name = UniqueName(out.dictionary, v.name, i, warnings);
    const int cellWidth = cellsPerByte == 1 ? width : (cellsPerByte * width + 7) / 8 * 8;
    auto variable = v.isString ? std::make_unique<Variable>(name, width, cellWidth) : std::make_unique<Variable>(name);
    variable->SetPrintFormat(display.format);
    variable->SetWriteFormat(display.format);
    variable->SetAlignment(v.isString ? Alignment::kLeft : Alignment::kRight);
    if (!v.label.empty()) variable->SetLabel(v.label);
    if (!v.isString) {
      variable->SetMissingValues(MissingValues().WithExtendedCodes());
      if (catalog != nullptr && !v.format.name.empty()) {
        const auto found = catalog->find(v.format.name);
        if (found != catalog->end()) variable->SetValueLabels(found->second);
      }
    }
    variable->SetMeasurementLevel(DefaultMeasurementLevel(*variable));
    const int index = out.dictionary.AddVariable(std::move(variable));
    SasColumn column;
    column.isString = v.isString;
    column.offset = v.offset;
    column.length = v.length;
    column.cell = static_cast<std::uint32_t>(out.dictionary.CellOffset(index));
    column.cellBytes = v.isString ? static_cast<std::uint32_t>(cellWidth) : 0;
    column.time = display.time;
    out.columns.push_back(column);
  }
  return out;
}

std::unique_ptr<RowDecoder> MakeSasRowDecoder(std::vector<SasColumn> columns, const SasRows& rows) {
  return std::make_unique<SasDecoder>(std::move(columns), rows);
}

std::string DecodeSasText(std::string_view bytes, const sav::TextDecoder& decoder, const sav::TextDecoder* fallback) {
  if (fallback != nullptr && decoder.IsUtf8() && !sav::IsValidUtf8(bytes)) return fallback->Decode(bytes);
  return decoder.Decode(bytes);
}

}  // namespace codebook::data::sas
