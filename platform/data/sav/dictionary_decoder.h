// Turns the raw dictionary records into the platform's Dictionary and the
// plan for reading cases, in the order the format requires: encoding first,
// then variables, value labels and display parameters by record position,
// then very long strings, long names, attributes and long-string labels and
// missing values by name.
#pragma once

#include <memory>

#include "platform/data/dictionary.h"
#include "platform/data/sav/case_plan.h"
#include "platform/data/sav/raw_dictionary.h"
#include "platform/data/sav/read_dataset.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::sav {

struct DecodedFile {
  Dictionary dictionary;
  std::shared_ptr<CasePlan> plan;
  FileInfo info;
};

DecodedFile DecodeDictionary(const RawDictionary& raw, const ByteSource& source,
                             const ReadOptions& options, Warnings& warnings);

}  // namespace codebook::data::sav
