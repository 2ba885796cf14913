// What one run of a procedure owns. The procedure reaches the host through
// its classes' default constructors (the data source, the message sink,
// the output), which read the host's slots: the command being run, where
// its messages go, the active dataset, the document its tables go to,
// where the distributions of scale variables go, and whether progress is
// shown. A ProcedureContext sets all of them for its own lifetime and puts
// each back as it was when it goes, also when an exception passes. The
// slots belong to the calling thread, so runs on two threads do not meet.
//
//   ProcedureContext context({command, &messages, selection, document});
//   module.Run();
#pragma once

#include <memory>
#include <optional>

#include "host/data/data_source.h"
#include "platform/aggregate/distribution_sink.h"
#include "platform/data/progress.h"
#include "platform/data/selection.h"
#include "platform/output/document/document.h"
#include "platform/syntax/current_command.h"
#include "platform/syntax/message_sink.h"

namespace codebook::session {

struct ProcedureParts {
  // None leaves the slot as it is (the session has made it current).
  std::optional<syntax::CurrentCommand> command;
  syntax::MessageSink* messages = nullptr;  // null: a collector the context owns
  std::shared_ptr<const ProcedureDataSource::Selection> selection;
  std::shared_ptr<output::Document> document;  // null: the thread's default document
  // Null leaves the slot as it is (a caller may have set one around several runs).
  aggregate::DistributionSink* distributions = nullptr;
  data::ProgressCallback progress = nullptr;
};

class ProcedureContext {
 public:
  explicit ProcedureContext(ProcedureParts parts);
  ~ProcedureContext();
  ProcedureContext(const ProcedureContext&) = delete;
  ProcedureContext& operator=(const ProcedureContext&) = delete;

 private:
  struct Saved;
  std::unique_ptr<Saved> saved_;
};

}  // namespace codebook::session
