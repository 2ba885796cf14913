// A table on a screen too narrow for its columns: one column inside the
// box, each row's label on its line, its value after it or below, and the
// other columns' cells below as "Count 168, Percent 6.8%". Words are split
// only when one alone is wider than the screen.
//
//   q1
//   ┌────────────────────────────┐
//   │ Valid Values               │
//   │   1: Strongly disagree     │
//   │     Count 168, Percent 6.8%│
#pragma once

#include <string>

#include "platform/output/render/renderers.h"
#include "platform/output/render/table_view.h"
#include "platform/output/render/text_box.h"

namespace codebook::output {

// `options.width` is the screen's (kMinimumWidth or more).
void RenderTableAsList(std::string& out, const TableView& view, const TextOptions& options, const BoxChars& box,
                       std::string_view mark);

}  // namespace codebook::output
