#include "platform/api/command_finisher.h"

#include "platform/api/provenance.h"
#include "platform/export/item_facts.h"
#include "platform/export/value_tally.h"
#include "platform/report/alerts.h"
#include "platform/report/file_summary.h"
#include "platform/report/overview.h"

namespace codebook::api {

CommandFinisher::CommandFinisher(FinishChoices choices) : choices_(std::move(choices)) {
  // The overview takes the scale variables' distinct values and range
  // from the quartiles' distributions; only the reports draw their histograms.
  distributions_.KeepHistograms(choices_.histograms);
}

report::DistributionCollector* CommandFinisher::Distributions() {
  return choices_.histograms || (choices_.overview && !choices_.exporting) ? &distributions_ : nullptr;
}

std::shared_ptr<data::CaseObserver> CommandFinisher::Observer(const data::Dataset& dataset, int weightIndex) {
  // Alerts and the file's weighted total need only the weights; hiding
  // counts the values of the variables it may hide (up to a limit); the
  // overview and the exports tally every variable (the valid and missing
  // cases, the least and greatest value of an item whose table lists no
  // values), an export counting all values when there are weights.
  // Unweighted text without any of these needs no tally.
  const bool overview = choices_.overview && !choices_.exporting;
  const bool countAll = choices_.exporting || choices_.countAll;
  if (!countAll && !choices_.alerts && choices_.hide.Empty() && !overview && weightIndex < 0) return nullptr;
  exporting::TallyOptions tally = report::AlertTallyOptions();
  if (!choices_.hide.Empty()) tally = report::HideTallyOptions(choices_.hide, dataset);
  if (overview) tally.allVariables = true;
  if (countAll) {
    tally.allVariables = true;
    tally.countValues = tally.countValues || weightIndex >= 0;
    tally.maxValues = static_cast<std::size_t>(-1);
  }
  return std::make_shared<exporting::ValueTally>(dataset, weightIndex, tally);
}

// The alerts read the tables before any value is hidden, so that they are
// the same whatever is hidden; they name no value of a hidden variable.
// The overview reads them after, so that it shows nothing they hide.
CommandFinisher::Finished CommandFinisher::Finish(session::Session& session, std::size_t first,
                                                  const std::string& shownName, bool forceName) {
  Finished finished;
  const auto& run = session.LastCodebook();
  // The command's own items start after whatever it said before its pass
  // (a file without cases is described with a warning).
  if (!run || run->firstItem < first || !run->completed || !run->dataset) return finished;
  finished.done = true;
  auto* tally = dynamic_cast<exporting::ValueTally*>(run->observer.get());
  if (tally != nullptr && run->expectedCases >= 0 && tally->Cases() < run->expectedCases) tally->SetPartial();
  output::Document& document = *session.Document();
  // Histograms first: a table whose values are hidden is replaced, and its
  // histogram goes with it.
  if (choices_.histograms) {
    report::AttachHistograms(document, run->firstItem, run->endItem, *run->dataset, distributions_);
  }
  hidden_.clear();
  if (!choices_.hide.Empty()) {
    hidden_ = report::ChooseHidden(choices_.hide, *run->dataset, tally, finished.unknownHidden);
  }
  if (choices_.alerts) {
    finished.alertsChecked = true;
    // One item's facts at a time: the facts of all the items together
    // would hold a copy of every table's values.
    exporting::ForEachItemFacts(document, run->firstItem, run->endItem,
                                [&](const exporting::ItemFacts& item, std::size_t) {
                                  report::AddItemAlerts(item, *run->dataset, hidden_, finished.alerts);
                                });
    report::AddFileAlerts(*run->dataset, tally, run->weightIndex, finished.alerts);
  }
  if (!hidden_.empty()) report::HideValues(document, run->firstItem, run->endItem, *run->dataset, hidden_, tally);
  if (!choices_.exporting) {
    Head(session, *run, tally, forceName ? shownName : run->dataset->FileSpec().value_or(shownName));
  }
  distributions_.Clear();
  return finished;
}

// The file's summary (its File Information table, if the command made one,
// says it instead in HTML) and the overview of its items.
void CommandFinisher::Head(session::Session& session, const session::CodebookRun& run,
                           const exporting::ValueTally* tally, const std::string& shownName) {
  output::Document& document = *session.Document();
  report::FileFacts facts;
  facts.dataset = run.dataset.get();
  facts.shownName = shownName;
  facts.weightIndex = run.weightIndex;
  facts.tally = tally;
  facts.expectedCases = run.expectedCases;
  output::FileSummary file = report::SummarizeFile(document, run.firstItem, run.endItem, facts);
  output::Document::Table overview;
  if (choices_.overview) {
    report::OverviewSources sources;
    sources.dataset = run.dataset.get();
    sources.tally = tally;
    sources.distributions = &distributions_;
    sources.hidden = hidden_;
    sources.maxCategories = report::MaxCategories(run.command);
    overview = report::MakeOverview(document, run.firstItem, run.endItem, sources);
  }
  document.Insert(run.firstItem, std::move(file));
  if (overview) document.Insert(run.firstItem + 1, overview);
}

exporting::ExportInput CommandFinisher::ExportInputOf(const session::Session& session, const std::string& fileName,
                                                      const std::string& version) const {
  exporting::ExportInput input;
  const auto& run = session.LastCodebook();
  if (!run || !run->completed || !run->dataset) return input;
  input.dataset = run->dataset.get();
  input.fileInfo = run->fileInfo;
  input.fileName = fileName;
  // To the document's end: the summary and overview put at the head of the
  // command's output since it ran are no items of its own.
  input.items = exporting::ReadItemFacts(*session.Document(), run->firstItem, session.Document()->Size());
  input.weightIndex = run->weightIndex;
  input.tally = dynamic_cast<const exporting::ValueTally*>(run->observer.get());
  input.hidden = hidden_;
  input.version = version;
  input.date = ProductionDate();
  return input;
}

}  // namespace codebook::api
