// The walk over the document that both passes make: the first measures
// only and learns on which page each item starts; the second draws, with
// those page numbers in the contents and the footers.
#pragma once

#include <cairo-pdf.h>

#include <cstddef>
#include <string>
#include <vector>

#include "platform/output/document/document.h"
#include "platform/output/render/pdf/document_scan.h"
#include "platform/output/render/pdf/page_flow.h"
#include "platform/output/render/pdf/table_block.h"

namespace codebook::output::pdf {

class DocumentLayout {
 public:
  // `surface` is null in the measuring pass; `itemPages` then is empty.
  DocumentLayout(const Document& document, const DocumentScan& scan, Canvas& canvas, PageFlow& flow,
                 cairo_surface_t* surface, std::vector<int> itemPages);

  void Run();
  // The page on which each item starts (0: not shown).
  const std::vector<int>& ItemPages() const { return pages_; }

 private:
  // front_matter.cpp
  void TitleBlock(const Part& part);
  void Cover();
  void Contents();
  void Paragraph(Font font, const std::string& text, Color color, double after = 2);
  // document_layout.cpp
  void PlaceTable(std::size_t index, const Document::Table& table, const Part& part);
  void PlaceMessage(const Message& message);
  void StartPart(std::size_t index, const Part& part);
  // Moves on until `height` fits, or to the top of a page.
  void Ensure(double height, bool wide);
  void Outline(std::size_t index, const std::string& title);

  const Document& document_;
  const DocumentScan& scan_;
  Canvas& canvas_;
  TextEngine& text_;
  PageFlow& flow_;
  cairo_surface_t* surface_;
  std::vector<int> known_;  // the pages of the first pass, in the second
  std::vector<int> pages_;
  std::vector<int> partOutline_;  // each part's outline entry
  std::size_t currentPart_ = 0;
  TableView view_;
};

}  // namespace codebook::output::pdf
