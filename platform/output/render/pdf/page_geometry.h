// Where things go on a page, in points (1/72 inch).
#pragma once

#include "platform/output/render/pdf/pdf_renderer.h"

namespace codebook::output::pdf {

struct PageGeometry {
  double width = 595.276;   // A4
  double height = 841.89;
  double margin = 40;       // left, right and top
  double footer = 28;       // from the bottom edge to the footer's baseline area
  double bottomMargin = 52; // the body ends this far above the bottom edge
  double columnGap = 16;    // between the two columns
  double blockGap = 9;      // between one item and the next

  double Left() const { return margin; }
  double Top() const { return margin; }
  double Bottom() const { return height - bottomMargin; }
  double BodyWidth() const { return width - 2 * margin; }
  double ColumnWidth() const { return (BodyWidth() - columnGap) / 2; }
  double ColumnX(int column) const { return Left() + column * (ColumnWidth() + columnGap); }
};

PageGeometry GeometryFor(Paper paper);

}  // namespace codebook::output::pdf
