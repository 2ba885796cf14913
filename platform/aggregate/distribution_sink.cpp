#include "platform/aggregate/distribution_sink.h"

namespace codebook::aggregate {
namespace {
thread_local DistributionSink* current = nullptr;  // per thread, as every slot of a run
}  // namespace

DistributionSink::~DistributionSink() = default;

void SetDistributionSink(DistributionSink* sink) { current = sink; }

DistributionSink* GetDistributionSink() { return current; }

}  // namespace codebook::aggregate
