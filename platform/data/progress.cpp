#include "platform/data/progress.h"

namespace codebook::data {

namespace detail {
ProgressCallback progressCallback = nullptr;
}  // namespace detail

void SetProgressCallback(ProgressCallback callback) { detail::progressCallback = callback; }

}  // namespace codebook::data
