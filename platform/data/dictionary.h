// The dictionary of a dataset: its variables in order, found by name in O(1)
// (case-insensitively, Unicode case folded), the file-level metadata, and the
// layout of a case (where each variable's cells start).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/data/attributes.h"
#include "host/data/documents.h"
#include "host/data/variable_sets.h"
#include "platform/data/text/name_index.h"
#include "platform/data/variable.h"

namespace codebook::data {

class Dictionary {
 public:
  Dictionary() = default;
  Dictionary(Dictionary&&) noexcept = default;
  Dictionary& operator=(Dictionary&&) noexcept = default;
  Dictionary(const Dictionary&) = delete;
  Dictionary& operator=(const Dictionary&) = delete;

  int VariableCount() const { return static_cast<int>(variables_.size()); }
  // Room for this many variables, for a reader that knows how many come.
  void Reserve(std::size_t count);
  // The variable at a position; null when out of range.
  const Variable* GetVariable(int index) const;
  // For the reader and builders: the name and widths change only through
  // RenameVariable and SetVariableWidth. Throws std::out_of_range.
  Variable& MutableVariable(int index);

  // Appends a variable and returns its position. Throws std::invalid_argument
  // for a null variable, an empty name or a name already in use (names are
  // unique case-insensitively), and std::length_error when a case would
  // outgrow the cell count an int can address.
  int AddVariable(std::unique_ptr<Variable> variable);
  // Throws like AddVariable; a variable keeps its own name without error.
  void RenameVariable(int index, std::string name);
  // Changes a variable's widths (see Variable) and moves the cells of the
  // variables behind it. Linear; meant for the reader's occasional fix-up.
  void SetVariableWidth(int index, int width, int cellWidth);

  // Position of the variable with this name (case-insensitive) if it is at
  // `start` or later; -1 otherwise.
  int FindVarIndex(std::string_view name, int start = 0) const;
  // `wanted` when it is not empty and no variable has that name yet; else
  // the first name V<k>, k from position + 1, that is free. For readers of
  // files whose names may be empty or repeated.
  std::string FreeName(const std::string& wanted, std::size_t position) const;

  // Case layout: the first cell of a variable within a case (-1 when out of
  // range) and the number of cells of a whole case.
  int CellOffset(int index) const;
  int CellsPerCase() const { return cellsPerCase_; }

  const std::optional<std::string>& FileLabel() const { return fileLabel_; }
  void SetFileLabel(std::optional<std::string> label) { fileLabel_ = std::move(label); }
  const std::vector<DSDocument>& Documents() const { return documents_; }
  void AddDocument(DSDocument document) { documents_.push_back(std::move(document)); }
  const DatasourceAttributes& Attributes() const { return attributes_; }
  void SetAttributes(DatasourceAttributes attributes) { attributes_ = std::move(attributes); }
  const std::vector<VariableSetImpl>& MRSets() const { return mrSets_; }
  void AddMRSet(VariableSetImpl set) { mrSets_.push_back(std::move(set)); }
  // The weight variable's position, -1 when there is none. Throws
  // std::invalid_argument for a position out of range or a string variable.
  int WeightIndex() const { return weightIndex_; }
  void SetWeightIndex(int index);
  // The name of the character encoding of the file (empty when unknown).
  const std::string& Encoding() const { return encoding_; }
  void SetEncoding(std::string encoding) { encoding_ = std::move(encoding); }

 private:
  void CheckNewName(std::string_view name, int self) const;
  int FindFolded(std::string_view folded) const {
    return byFoldedName_.Find(folded, [this](int i) { return std::string_view(folded_[static_cast<std::size_t>(i)]); });
  }

  std::vector<std::unique_ptr<Variable>> variables_;
  std::vector<std::string> folded_;  // each variable's name case-folded
  NameIndex byFoldedName_;
  std::vector<int> offsets_;
  int cellsPerCase_ = 0;
  std::optional<std::string> fileLabel_;
  std::vector<DSDocument> documents_;
  DatasourceAttributes attributes_;
  std::vector<VariableSetImpl> mrSets_;
  int weightIndex_ = -1;
  std::string encoding_;
};

}  // namespace codebook::data
