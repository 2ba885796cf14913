// Pages filled from top to bottom in two columns, newspaper-wise: the
// narrow items (most of a codebook's tables) go down the left column, then
// down the right; a wide item spans both, below whatever stands above it.
// An item starts in the next column or on the next page only when it does
// not fit in what is left.
#pragma once

#include <string>

#include "platform/output/render/pdf/canvas.h"
#include "platform/output/render/pdf/page_geometry.h"

namespace codebook::output::pdf {

struct Spot {
  double x = 0;
  double y = 0;
  double width = 0;
};

class PageFlow {
 public:
  PageFlow(Canvas& canvas, const PageGeometry& page) : canvas_(canvas), page_(page) { Reset(); }

  const PageGeometry& Geometry() const { return page_; }
  int Page() const { return number_; }
  // What the footers say: the file's name, and the number of pages once it
  // is known (in the drawing pass).
  void SetFooterName(std::string name) { footerName_ = std::move(name); }
  void SetTotalPages(int pages) { totalPages_ = pages; }

  // Where the next item of this span starts, and how much room it has.
  Spot Here(bool wide) const;
  double Room(bool wide) const { return page_.Bottom() - Here(wide).y; }
  // The height of an empty column (or page, for a wide item).
  double EmptyHeight() const { return page_.Bottom() - page_.Top(); }
  // Whether the next item of this span would stand at the top of a page
  // (where breaking gives it no more room).
  bool AtTop(bool wide) const;
  // Takes `height` at the current place.
  void Advance(double height, bool wide);
  // Goes on in the next column (narrow) or on the next page.
  void Break(bool wide);
  // A new page unless the current one is still empty.
  void NewPage();
  // Ends the last page.
  void Finish();

 private:
  void Reset();
  void EndPage();

  Canvas& canvas_;
  PageGeometry page_;
  int number_ = 1;
  int totalPages_ = 0;
  std::string footerName_;
  int column_ = 0;
  double sectionTop_ = 0;  // where the current run of narrow items began
  double y_[2] = {0, 0};   // each column's next free place
  bool empty_ = true;
};

}  // namespace codebook::output::pdf
