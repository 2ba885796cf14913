#include "platform/data/dta/dta_case_stream.h"

#include <algorithm>
#include <cstring>

#include "platform/data/byte_cursor.h"
#include "platform/data/data_error.h"
#include "platform/data/dta/dta_numbers.h"
#include "platform/data/row_case_stream.h"

namespace codebook::data::dta {
namespace {

// A strls section up to this size is held in memory during a pass; a
// larger one is read value by value.
constexpr std::uint64_t kStrLsInMemory = 64u << 20;

class DtaDecoder final : public RowDecoder {
 public:
  DtaDecoder(std::shared_ptr<const sav::ByteSource> source, std::shared_ptr<const DtaPlan> plan)
      : source_(std::move(source)), plan_(std::move(plan)), strings_(plan_->encoding) {}

  void Decode(const std::uint8_t* rows, std::size_t n, std::size_t rowBytes, CaseBatch& batch,
              std::size_t first) override {
    for (const DtaColumn& column : plan_->columns) {
      const std::uint8_t* field = rows + column.rowOffset;
      switch (column.storage) {
        case Storage::kString:
          for (std::size_t r = 0; r < n; ++r) {
            const auto text = UpToNul(std::string_view(reinterpret_cast<const char*>(field + r * rowBytes), column.bytes));
            strings_.Put(text, batch, column.cell, column.cellBytes, first + r);
          }
          break;
        case Storage::kStrL:
          for (std::size_t r = 0; r < n; ++r) {
            strings_.Put(StrL(field + r * rowBytes, column, r), batch, column.cell, column.cellBytes, first + r);
          }
          break;
        default:
          Numbers(column, field, n, rowBytes, batch.Column(column.cell) + first);
          break;
      }
    }
  }

 private:
  void Numbers(const DtaColumn& column, const std::uint8_t* field, std::size_t n, std::size_t rowBytes, OBS* out) {
    const bool bigEndian = plan_->bigEndian;
    const bool extended = plan_->extended;
    const Storage storage = column.storage;
    for (std::size_t r = 0; r < n; ++r) out[r].d = NumberAt(field + r * rowBytes, storage, bigEndian, extended);
    if (column.time == TimeUnit::kNone) return;
    for (std::size_t r = 0; r < n; ++r) {
      const double v = out[r].d;
      if (v != kSysmis && !IsExtendedMissing(v)) out[r].d = ToProgramTime(v, column.time);
    }
  }

  std::string_view StrL(const std::uint8_t* cell, const DtaColumn& column, std::size_t row) {
    StrLRef ref = DecodeStrLRef(cell, plan_->release, plan_->bigEndian);
    if (ref.v == 0 && ref.o == 0) return {};
    const StrLIndex::Entry* entry = plan_->strls->Find(ref.v, ref.o);
    if (entry == nullptr && plan_->bigEndian && plan_->release >= 118) {
      ref = DecodeStrLRefAsNumber(cell, plan_->release);
      entry = plan_->strls->Find(ref.v, ref.o);
    }
    if (entry == nullptr) {
      throw DataError("", static_cast<std::int64_t>(row + 1),
                      "variable " + std::to_string(column.number) + " refers to a strL (" + std::to_string(ref.v) +
                          ", " + std::to_string(ref.o) + ") that the file does not hold");
    }
    // Conversion only lengthens a text, so the cells' bytes of it suffice.
    const std::size_t take = std::min<std::size_t>(entry->length, column.cellBytes);
    std::string_view bytes;
    if (Section()) {
      bytes = std::string_view(reinterpret_cast<const char*>(section_.data() + (entry->offset - plan_->strlsBegin)), take);
    } else {
      value_.resize(take);
      if (source_->ReadAt(entry->offset, std::span<std::uint8_t>(reinterpret_cast<std::uint8_t*>(value_.data()), take)) != take) {
        throw DataError("", static_cast<std::int64_t>(row + 1), "the file ends inside a strL");
      }
      bytes = value_;
    }
    return UpToNul(bytes);
  }

  // The strls section in memory, when it is small enough; read at first use.
  bool Section() {
    if (!sectionTried_) {
      sectionTried_ = true;
      const std::uint64_t size = plan_->strlsEnd - plan_->strlsBegin;
      if (size <= kStrLsInMemory) {
        section_.resize(size);
        if (source_->ReadAt(plan_->strlsBegin, section_) != size) section_.clear();
        else inMemory_ = true;
      }
    }
    return inMemory_;
  }

  std::shared_ptr<const sav::ByteSource> source_;
  std::shared_ptr<const DtaPlan> plan_;
  StringCellWriter strings_;
  bool sectionTried_ = false;
  bool inMemory_ = false;
  std::vector<std::uint8_t> section_;
  std::string value_;
};

}  // namespace

std::unique_ptr<CaseStream> OpenDtaCases(std::shared_ptr<const sav::ByteSource> source,
                                         std::shared_ptr<const DtaPlan> plan) {
  RowLayout layout;
  layout.fileName = plan->fileName;
  layout.format = plan->format;
  layout.rowBytes = plan->rowBytes;
  layout.cellsPerCase = plan->cellsPerCase;
  layout.cases = static_cast<std::int64_t>(plan->cases);
  auto reader = ContiguousRows(source, plan->dataOffset, plan->rowBytes, plan->cases);
  auto decoder = std::make_unique<DtaDecoder>(std::move(source), std::move(plan));
  return MakeRowCaseStream(std::move(reader), std::move(decoder), std::move(layout));
}

}  // namespace codebook::data::dta
