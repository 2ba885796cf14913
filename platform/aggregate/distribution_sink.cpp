#include "platform/aggregate/distribution_sink.h"

namespace codebook::aggregate {
namespace {
DistributionSink* current = nullptr;
}  // namespace

DistributionSink::~DistributionSink() = default;

void SetDistributionSink(DistributionSink* sink) { current = sink; }

DistributionSink* GetDistributionSink() { return current; }

}  // namespace codebook::aggregate
