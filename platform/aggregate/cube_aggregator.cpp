// The host's aggregator class; the platform's kind is in cube_state.h.
#include "host/aggregate/cube_aggregator.h"

CubeAggregator::~CubeAggregator() = default;
