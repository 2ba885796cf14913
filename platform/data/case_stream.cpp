#include "platform/data/case_stream.h"

namespace codebook::data {

bool CaseStream::NextBatch(CaseBatch& batch) {
  batch.Clear();
  if (pendingError_) std::rethrow_exception(std::exchange(pendingError_, nullptr));
  try {
    while (!batch.full()) {
      const OBS* cells = Next();
      if (cells == nullptr) break;
      if (SplitGroupEnd()) {
        batch.AppendSplitGroupEnd(cells);
        break;
      }
      batch.AppendCase(cells);
    }
  } catch (...) {
    if (batch.empty()) throw;
    pendingError_ = std::current_exception();
  }
  return !batch.empty();
}

}  // namespace codebook::data
