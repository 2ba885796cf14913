#include "platform/data/dataset.h"

#include "platform/data/selecting_source.h"

namespace codebook::data {

namespace {

class NoCases final : public CaseStream {
 public:
  const OBS* Next() override { return nullptr; }
};

}  // namespace

Dataset::Dataset(Dictionary dictionary, std::int64_t caseCount, CaseStreamFactory openCases,
                 std::optional<std::string> fileSpec)
    : dictionary_(std::move(dictionary)),
      caseCount_(caseCount < 0 ? -1 : caseCount),
      openCases_(std::move(openCases)),
      fileSpec_(std::move(fileSpec)) {}

Dataset::~Dataset() = default;

std::unique_ptr<CaseStream> Dataset::OpenCases() const {
  std::unique_ptr<CaseStream> stream;
  if (openCases_) stream = openCases_();
  if (!stream) stream = std::make_unique<NoCases>();
  return stream;
}

int Dataset::FindVarIndex(const char* name, int start) const {
  return name ? dictionary_.FindVarIndex(name, start) : -1;
}

const char* Dataset::GetLabel() const {
  const auto& label = dictionary_.FileLabel();
  return label ? label->c_str() : nullptr;
}

VELA_InputCaseIterator* Dataset::CreateCaseIterator(bool /*writable*/) const {
  SelectionRules rules;
  rules.weightIndex = dictionary_.WeightIndex();
  // Hold the dataset while the iterator lives when it is shared-owned.
  auto iterator = std::make_unique<ProcDSIterator>(
      OpenSelectingSource(weak_from_this().lock(), *this, rules));
  return iterator.release();  // the caller owns it, as the host interface says
}

}  // namespace codebook::data
