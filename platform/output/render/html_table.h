// One pivot table as HTML: its title as <caption> (with the item's alerts
// after the name), column headings in <thead>, a <tbody> per top-level row
// group whose heading row is a <th scope="rowgroup">, a <th> per category.
// Optional end tags are left out and the indentation of the usual depth is
// the style sheet's: a codebook of a wide file holds a hundred thousand
// tables. The percents of an item's categories get a bar behind them.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/output/render/table_view.h"

namespace codebook::output {

struct HtmlTableParts {
  std::string_view classes = "pivot";  // of the <table>
  // The depth of the categories the style sheet indents without a class:
  // 1 under the groups of a codebook's table, 0 in the overview's list.
  int usualDepth = 1;
  // Markup after the title inside the caption (the item's alerts).
  std::string_view captionExtra;
  // For the overview: the anchor of the item a row names (empty: no link).
  std::function<std::string(std::string_view rowLabel)> rowLink;
  // A part of a long table: the view's entries [firstEntry, endEntry), its
  // caption only in the first part. Each part repeats the column headings,
  // each marked with a class made from its title ("distinct-values"), by
  // which the style sheet gives the parts the same column widths.
  std::size_t firstEntry = 0;
  std::size_t endEntry = static_cast<std::size_t>(-1);
  bool caption = true;
  bool columnClasses = false;
};

void AppendHtmlTable(std::string& out, const TableView& view, const HtmlTableParts& parts = {});

}  // namespace codebook::output
