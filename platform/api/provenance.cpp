#include "platform/api/provenance.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace codebook::api {

std::time_t ProductionTime() {
  std::time_t now = std::time(nullptr);
  if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH"); epoch != nullptr && *epoch != '\0') {
    long long seconds = 0;
    const char* end = epoch + std::strlen(epoch);
    if (const auto [stop, failure] = std::from_chars(epoch, end, seconds); failure == std::errc() && stop == end) {
      now = static_cast<std::time_t>(seconds);
    }
  }
  return now;
}

std::string ProductionDate() {
  const std::time_t now = ProductionTime();
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[16];
  std::strftime(text, sizeof text, "%Y-%m-%d", &utc);
  return text;
}

}  // namespace codebook::api
