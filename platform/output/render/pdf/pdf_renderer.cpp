// The two passes: the first lays the document out without drawing, to learn
// the page of every item; the second draws it page by page onto a PDF
// surface that writes each page to the stream as it is shown, so that no
// more than a page's drawing is held at once.
#include "platform/output/render/pdf/pdf_renderer.h"

#include <cairo-pdf.h>

#include <ctime>
#include <memory>
#include <stdexcept>

#include "platform/output/render/pdf/document_layout.h"
#include "platform/output/render/pdf/document_scan.h"
#include "platform/output/render/pdf/page_geometry.h"
#include "platform/output/render/pdf/safe_text.h"

namespace codebook::output::pdf {
namespace {

struct SurfaceDeleter {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextDeleter {
  void operator()(cairo_t* cr) const { cairo_destroy(cr); }
};

// Cairo is never told of a failed write: its PDF surface, finished after
// one, may crash when it is destroyed. The rest is dropped and the failure
// reported once the surface is done.
struct Sink {
  std::ostream* out = nullptr;
  bool failed = false;
};

cairo_status_t WriteToStream(void* closure, const unsigned char* data, unsigned int length) {
  auto& sink = *static_cast<Sink*>(closure);
  if (sink.failed) return CAIRO_STATUS_SUCCESS;
  sink.out->write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(length));
  sink.failed = !*sink.out;
  return CAIRO_STATUS_SUCCESS;
}

std::string IsoTime(std::time_t when) {
  std::tm utc{};
  gmtime_r(&when, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

// The document's title in its metadata: the first file's label or name.
std::string MetadataTitle(const DocumentScan& scan) {
  for (const Part& part : scan.parts) {
    if (part.summary == nullptr) continue;
    return "Codebook of " + (part.summary->label.empty() ? part.summary->name : part.summary->label);
  }
  return "Codebook";
}

}  // namespace

void RenderPdf(const Document& document, std::ostream& out, const PdfOptions& options) {
  const PageGeometry page = GeometryFor(options.paper);
  const DocumentScan scan = ScanDocument(document);
  TextEngine text;

  std::vector<int> itemPages;
  int pages = 0;
  {
    Canvas measuring(nullptr, text);
    PageFlow flow(measuring, page);
    DocumentLayout layout(document, scan, measuring, flow, nullptr, {});
    layout.Run();
    itemPages = layout.ItemPages();
    pages = flow.Page();
  }

  Sink sink{&out, false};
  std::unique_ptr<cairo_surface_t, SurfaceDeleter> surface(
      cairo_pdf_surface_create_for_stream(WriteToStream, &sink, page.width, page.height));
  cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_TITLE, SafeText(MetadataTitle(scan)).c_str());
  cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATOR, SafeText(options.creator).c_str());
  cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, IsoTime(options.created).c_str());
  {
    std::unique_ptr<cairo_t, ContextDeleter> cr(cairo_create(surface.get()));
    Canvas drawing(cr.get(), text);
    PageFlow flow(drawing, page);
    flow.SetTotalPages(pages);
    DocumentLayout layout(document, scan, drawing, flow, surface.get(), std::move(itemPages));
    layout.Run();
    flow.Finish();
    if (cairo_status(cr.get()) != CAIRO_STATUS_SUCCESS) {
      throw std::runtime_error(std::string("cannot make the PDF: ") + cairo_status_to_string(cairo_status(cr.get())));
    }
  }
  cairo_surface_finish(surface.get());
  const cairo_status_t status = cairo_surface_status(surface.get());
  if (status != CAIRO_STATUS_SUCCESS) {
    throw std::runtime_error(std::string("cannot make the PDF: ") + cairo_status_to_string(status));
  }
  if (sink.failed) throw std::runtime_error("cannot write the PDF");
}

}  // namespace codebook::output::pdf
