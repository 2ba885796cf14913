// The current-output slot: the document that BpProcedure's tables go to.
// The session sets it for a run (see platform/session/procedure_context.h);
// with none set, tables go to the thread's default document, which tests
// read and clear.
#pragma once

#include <memory>

#include "platform/output/document/document.h"

namespace codebook::output {

// Null goes back to the default document.
void SetCurrentDocument(std::shared_ptr<Document> document);
// The document set, or the default one. Never null.
std::shared_ptr<Document> CurrentDocument();
std::shared_ptr<Document> DefaultDocument();

// Sets a document for the lifetime of the guard, then restores the previous.
class ScopedCurrentDocument {
 public:
  explicit ScopedCurrentDocument(std::shared_ptr<Document> document);
  ~ScopedCurrentDocument();
  ScopedCurrentDocument(const ScopedCurrentDocument&) = delete;
  ScopedCurrentDocument& operator=(const ScopedCurrentDocument&) = delete;

 private:
  std::shared_ptr<Document> previous_;
};

}  // namespace codebook::output
