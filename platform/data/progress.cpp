#include "platform/data/progress.h"

namespace codebook::data {

namespace detail {
thread_local ProgressCallback progressCallback = nullptr;
}  // namespace detail

void SetProgressCallback(ProgressCallback callback) { detail::progressCallback = callback; }

}  // namespace codebook::data
