// When an output was made: what documents meant to be shipped say of their
// making.
#pragma once

#include <ctime>
#include <string>

namespace codebook::api {

// The time of production: $SOURCE_DATE_EPOCH when set (reproducible
// output), else now.
std::time_t ProductionTime();

// The date of production as YYYY-MM-DD.
std::string ProductionDate();

}  // namespace codebook::api
