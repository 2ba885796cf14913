// A dataset: its dictionary, its declared case count and a way to open its
// cases as often as a procedure makes a pass. The file reader makes one for a
// file; tests make one over cases held in memory (testing/dataset_builder.h).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/data/data_source.h"
#include "platform/data/case_stream.h"
#include "platform/data/dictionary.h"

namespace codebook::data {

class Dataset : public VELA_DataSource, public std::enable_shared_from_this<Dataset> {
 public:
  // Opens a new stream over all cases, from the first. Called once per pass;
  // may throw DataError (for example when the file has gone).
  using CaseStreamFactory = std::function<std::unique_ptr<CaseStream>()>;

  // caseCount: the number of cases the source declares, -1 when unknown.
  // A dataset without a factory has no cases.
  Dataset(Dictionary dictionary, std::int64_t caseCount, CaseStreamFactory openCases,
          std::optional<std::string> fileSpec = std::nullopt);
  ~Dataset() override;

  const Dictionary& GetDictionary() const { return dictionary_; }
  const std::optional<std::string>& FileSpec() const { return fileSpec_; }
  std::unique_ptr<CaseStream> OpenCases() const;

  // VELA_DataSource
  int ColumnCount() const override { return dictionary_.VariableCount(); }
  using VELA_DataSource::GetVariable;
  const VELA_Variable* GetVariable(int index) const override {
    return dictionary_.GetVariable(index);
  }
  int FindVarIndex(const char* name, int start) const override;
  const char* GetLabel() const override;
  const char* GetFileSpec() const override { return fileSpec_ ? fileSpec_->c_str() : nullptr; }
  const DatasourceAttributes& GetAttributes() const override { return dictionary_.Attributes(); }
  const std::vector<VariableSetImpl>& GetMRSets() const override { return dictionary_.MRSets(); }
  const std::vector<DSDocument>& GetDocumentList() const override {
    return dictionary_.Documents();
  }
  std::int64_t GetCaseCount() const override { return caseCount_; }
  // A ProcDSIterator over all cases, weighted by the dictionary's weight
  // variable. Iterators only read; the flag is accepted and ignored.
  VELA_InputCaseIterator* CreateCaseIterator(bool writable) const override;

 private:
  Dictionary dictionary_;
  std::int64_t caseCount_;
  CaseStreamFactory openCases_;
  std::optional<std::string> fileSpec_;
};

}  // namespace codebook::data
