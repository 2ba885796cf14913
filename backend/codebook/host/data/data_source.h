// The dataset as procedures see it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/data/attributes.h"
#include "host/data/case_iterator.h"
#include "host/data/documents.h"
#include "host/data/variable.h"
#include "host/data/variable_sets.h"
#include "host/host_api.h"

class HOST_API VELA_DataSource {
 public:
  virtual ~VELA_DataSource();

  // Number of variables.
  virtual int ColumnCount() const = 0;
  // The variable at a 0-based dictionary position, or null when out of range.
  virtual const VELA_Variable* GetVariable(int index) const = 0;
  VELA_Variable* GetVariable(int index) {
    return const_cast<VELA_Variable*>(static_cast<const VELA_DataSource*>(this)->GetVariable(index));
  }
  // Position of the variable with this name (case-insensitive), searching from
  // position `start`; -1 when there is none.
  virtual int FindVarIndex(const char* name, int start) const = 0;

  // File label, or null when there is none.
  virtual const char* GetLabel() const = 0;
  // Full path of the dataset's file, or null when it has none.
  virtual const char* GetFileSpec() const = 0;
  virtual const DatasourceAttributes& GetAttributes() const = 0;
  // Multiple-response sets in file order.
  virtual const std::vector<VariableSetImpl>& GetMRSets() const = 0;
  virtual const std::vector<DSDocument>& GetDocumentList() const = 0;

  // Number of cases, negative when unknown.
  virtual std::int64_t GetCaseCount() const = 0;
  // A new iterator over the cases, owned by the caller. The flag asks for an
  // iterator that may write; procedures pass false.
  virtual VELA_InputCaseIterator* CreateCaseIterator(bool writable) const = 0;
};

// The active dataset of the session, as one procedure run sees it: the case
// selection (weight, filter, case limit) of the session applies to it.
class HOST_API ProcedureDataSource : public VELA_DataSource {
 public:
  class Selection;  // the platform's view of the active dataset

  // The session's active dataset (FatalError() is true when there is none).
  ProcedureDataSource();
  explicit ProcedureDataSource(std::shared_ptr<const Selection> selection);
  ~ProcedureDataSource() override;
  ProcedureDataSource(const ProcedureDataSource&) = delete;
  ProcedureDataSource& operator=(const ProcedureDataSource&) = delete;

  bool FatalError() const;
  // Index of the weight variable, negative when cases are not weighted.
  int GetWeightVarIndex() const;
  // The dataset this procedure source is drawn from, or null.
  const VELA_DataSource* Parent() const;

  int ColumnCount() const override;
  using VELA_DataSource::GetVariable;
  const VELA_Variable* GetVariable(int index) const override;
  int FindVarIndex(const char* name, int start) const override;
  const char* GetLabel() const override;
  const char* GetFileSpec() const override;
  const DatasourceAttributes& GetAttributes() const override;
  const std::vector<VariableSetImpl>& GetMRSets() const override;
  const std::vector<DSDocument>& GetDocumentList() const override;
  std::int64_t GetCaseCount() const override;
  VELA_InputCaseIterator* CreateCaseIterator(bool writable) const override;

 private:
  std::shared_ptr<const Selection> selection_;
};
