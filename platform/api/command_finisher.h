// What the program adds around the procedure's tables, for one CODEBOOK
// command after another: the tally its pass takes, then, once it has run,
// its data-quality alerts, the values asked to be hidden, the histograms of
// the reports, and at the head of its output the file's summary and the
// overview. The program and the packages both finish commands here, so
// that a codebook is the same whichever way it is made.
#pragma once

#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/data/case_observer.h"
#include "platform/data/dataset.h"
#include "platform/export/export_input.h"
#include "platform/output/document/document.h"
#include "platform/report/distributions.h"
#include "platform/report/hidden_values.h"
#include "platform/session/session.h"

namespace codebook::api {

struct FinishChoices {
  bool alerts = false;      // look for data-quality alerts
  bool overview = true;     // put the overview at the head of the output
  bool exporting = false;   // the run is for an export: no summary or overview, every value counted
  bool histograms = false;  // the reports draw the scale variables' histograms
  bool countAll = false;    // every value counted, as for an export, the output headed all the same
  report::HideRequest hide;
};

class CommandFinisher {
 public:
  explicit CommandFinisher(FinishChoices choices);
  CommandFinisher(const CommandFinisher&) = delete;
  CommandFinisher& operator=(const CommandFinisher&) = delete;

  // The collector the pass gives its distributions to (for the reports and
  // the overview), or null when nothing needs them. Install it around the
  // session's commands (report::DistributionScope).
  report::DistributionCollector* Distributions();

  // The tally a CODEBOOK pass takes (SessionOptions::passObserver), or null
  // when none is needed.
  std::shared_ptr<data::CaseObserver> Observer(const data::Dataset& dataset, int weightIndex);

  struct Finished {
    bool done = false;  // the command was a CODEBOOK command that ran whole
    bool alertsChecked = false;
    std::vector<output::Alert> alerts;       // of its items, then of the file
    std::vector<std::string> unknownHidden;  // names to hide the dataset lacks
  };
  // After each command (SessionOptions::afterCommand): when it was a
  // CODEBOOK command that ran whole, finds its alerts, hides values, and
  // heads its output. `shownName` names the file in the summary when
  // `forceName`, else when the dataset has no path of its own.
  Finished Finish(session::Session& session, std::size_t first, const std::string& shownName, bool forceName);

  // What the exports of the session's last CODEBOOK command are made of;
  // its `dataset` is null when no command ran whole.
  exporting::ExportInput ExportInputOf(const session::Session& session, const std::string& fileName,
                                       const std::string& version) const;

  const std::set<int>& Hidden() const { return hidden_; }

 private:
  void Head(session::Session& session, const session::CodebookRun& run, const exporting::ValueTally* tally,
            const std::string& shownName);

  FinishChoices choices_;
  std::set<int> hidden_;  // of the last CODEBOOK command
  report::DistributionCollector distributions_;
};

}  // namespace codebook::api
