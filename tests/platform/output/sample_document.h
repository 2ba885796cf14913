// A small document shaped like a codebook, made through the Bp classes the
// way the procedure makes it: a "File Information" table, two "Variable
// Information" tables and a warning; with what the program adds around
// them: the file's summary and an overview at the head, who made it, and
// an alert.
#pragma once

#include <memory>

#include "platform/output/document/document.h"

namespace codebook::output::testing {

std::shared_ptr<Document> BuildSampleCodebook();

}  // namespace codebook::output::testing
