#include "platform/session/procedure_context.h"

#include "platform/data/active_dataset.h"
#include "platform/output/current_output.h"

namespace codebook::session {

// Each slot's value from before, and the scopes that hold the new ones.
struct ProcedureContext::Saved {
  syntax::MessageCollector ownMessages;
  std::unique_ptr<syntax::CurrentCommandScope> command;
  std::unique_ptr<syntax::MessageSinkScope> messages;
  std::unique_ptr<output::ScopedCurrentDocument> document;
  std::shared_ptr<const ProcedureDataSource::Selection> selection;
  aggregate::DistributionSink* distributions = nullptr;
  bool setDistributions = false;
  data::ProgressCallback progress = nullptr;
};

ProcedureContext::ProcedureContext(ProcedureParts parts) : saved_(std::make_unique<Saved>()) {
  Saved& s = *saved_;
  if (parts.command) s.command = std::make_unique<syntax::CurrentCommandScope>(*std::move(parts.command));
  s.messages = std::make_unique<syntax::MessageSinkScope>(parts.messages != nullptr ? *parts.messages : s.ownMessages);
  if (parts.document) s.document = std::make_unique<output::ScopedCurrentDocument>(std::move(parts.document));
  s.selection = data::ActiveSelection();
  data::SetActiveSelection(std::move(parts.selection));
  if (parts.distributions != nullptr) {
    s.setDistributions = true;
    s.distributions = aggregate::GetDistributionSink();
    aggregate::SetDistributionSink(parts.distributions);
  }
  s.progress = data::detail::progressCallback;
  data::SetProgressCallback(parts.progress);
}

ProcedureContext::~ProcedureContext() {
  Saved& s = *saved_;
  data::SetProgressCallback(s.progress);
  if (s.setDistributions) aggregate::SetDistributionSink(s.distributions);
  data::SetActiveSelection(std::move(s.selection));
  // The scopes go in the reverse order of their making.
  s.document.reset();
  s.messages.reset();
  s.command.reset();
}

}  // namespace codebook::session
