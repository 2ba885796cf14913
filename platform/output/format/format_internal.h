// Shared pieces of the value formatters.
#pragma once

#include <optional>
#include <string>

#include "host/data/vela_format.h"
#include "platform/output/format/value_format.h"

namespace codebook::output::detail {

// Right-aligns `text` in a fixed field, or stars when it is longer.
std::string FitField(std::string text, int width, FieldMode mode);
std::string Stars(int width);
std::string MissingText(int width, FieldMode mode);

// Date, date-time, duration, WKDAY and MONTH formats: the text without
// padding, or nullopt when the value cannot be shown in this format (the
// caller stars it). Missing values are handled by the caller.
std::optional<std::string> DateTimeText(double value, const VELA_Format& format,
                                        FieldMode mode, bool& isMissing);

}  // namespace codebook::output::detail
