// What a SAS display format becomes here: the one place for .sas7bdat and
// transport files alike (docs/formats.md tells the same for people).
#pragma once

#include <string>
#include <string_view>

#include "host/data/vela_format.h"
#include "platform/data/time_origin.h"

namespace codebook::data::sas {

struct SasFormat {
  std::string name;  // upper case, without width: "DOLLAR", "$", "" for w.d
  int width = 0;     // 0: none given
  int decimals = 0;
  // As people write it: "DOLLAR10.2", "DATE9.", "$8.", "BEST12.".
  std::string Text() const;
};

// The format as stored: a name with its width and decimals fields (0 when
// not given; some writers leave them 0 and put them into the name's text).
SasFormat ParseSasFormat(std::string_view name, int width, int decimals);

struct SasDisplay {
  VELA_Format format;
  TimeUnit time = TimeUnit::kNone;
};

// The display of a numeric variable (dates and times converted, as
// time_origin.h says), or of a string variable of `stringWidth` bytes.
SasDisplay MapSasFormat(const SasFormat& format, bool isString, int stringWidth);

}  // namespace codebook::data::sas
