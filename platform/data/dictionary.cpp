#include "platform/data/dictionary.h"

#include <climits>
#include <stdexcept>

#include "platform/data/text/fold_case.h"

namespace codebook::data {

const Variable* Dictionary::GetVariable(int index) const {
  if (index < 0 || index >= VariableCount()) return nullptr;
  return variables_[static_cast<std::size_t>(index)].get();
}

Variable& Dictionary::MutableVariable(int index) {
  if (index < 0 || index >= VariableCount()) {
    throw std::out_of_range("no variable at position " + std::to_string(index));
  }
  return *variables_[static_cast<std::size_t>(index)];
}

void Dictionary::Reserve(std::size_t count) {
  variables_.reserve(count);
  folded_.reserve(count);
  offsets_.reserve(count);
  byFoldedName_.Reserve(count);
}

void Dictionary::CheckNewName(std::string_view name, int self) const {
  if (name.empty()) throw std::invalid_argument("a variable name is empty");
  const int found = FindFolded(FoldCase(name));
  if (found >= 0 && found != self) {
    throw std::invalid_argument("variable name " + std::string(name) + " is used twice");
  }
}

int Dictionary::AddVariable(std::unique_ptr<Variable> variable) {
  if (!variable) throw std::invalid_argument("no variable to add");
  if (variable->Name().empty()) throw std::invalid_argument("a variable name is empty");
  if (variables_.size() >= static_cast<std::size_t>(INT_MAX)) {
    throw std::length_error("too many variables");
  }
  const long long cells = static_cast<long long>(cellsPerCase_) + variable->cellCount();
  if (cells > INT_MAX) throw std::length_error("a case would hold too many cells");

  const int index = VariableCount();
  // One fold and one hash probe per variable: the reader adds them by the
  // hundred thousand.
  std::string folded = FoldCase(variable->Name());
  if (FindFolded(folded) >= 0) {
    throw std::invalid_argument("variable name " + variable->Name() + " is used twice");
  }
  byFoldedName_.Insert(folded, index);
  folded_.push_back(std::move(folded));
  offsets_.push_back(cellsPerCase_);
  cellsPerCase_ = static_cast<int>(cells);
  variables_.push_back(std::move(variable));
  return index;
}

void Dictionary::RenameVariable(int index, std::string name) {
  Variable& v = MutableVariable(index);
  CheckNewName(name, index);
  const auto keyOf = [this](int i) { return std::string_view(folded_[static_cast<std::size_t>(i)]); };
  byFoldedName_.Erase(folded_[static_cast<std::size_t>(index)], keyOf);
  folded_[static_cast<std::size_t>(index)] = FoldCase(name);
  byFoldedName_.Insert(folded_[static_cast<std::size_t>(index)], index);
  v.SetName(std::move(name));
}

void Dictionary::SetVariableWidth(int index, int width, int cellWidth) {
  Variable& v = MutableVariable(index);
  const bool wasNumeric = v.IsNumeric();
  if (wasNumeric != (width == 0)) {
    throw std::invalid_argument("variable " + v.Name() + " cannot change between number and string");
  }
  const int oldCells = v.cellCount();
  const int oldWidth = v.DeclaredWidth();
  const int oldCellWidth = v.CellWidth();
  v.SetWidths(width, cellWidth);
  const long long total = static_cast<long long>(cellsPerCase_) - oldCells + v.cellCount();
  if (total > INT_MAX) {
    v.SetWidths(oldWidth, oldCellWidth);
    throw std::length_error("a case would hold too many cells");
  }
  const int delta = v.cellCount() - oldCells;
  if (delta == 0) return;
  for (std::size_t i = static_cast<std::size_t>(index) + 1; i < offsets_.size(); ++i) {
    offsets_[i] += delta;
  }
  cellsPerCase_ = static_cast<int>(total);
}

std::string Dictionary::FreeName(const std::string& wanted, std::size_t position) const {
  if (!wanted.empty() && FindVarIndex(wanted) < 0) return wanted;
  for (std::size_t k = position + 1;; ++k) {
    std::string generated = "V" + std::to_string(k);
    if (FindVarIndex(generated) < 0) return generated;
  }
}

int Dictionary::FindVarIndex(std::string_view name, int start) const {
  if (name.empty()) return -1;
  const int found = FindFolded(FoldCase(name));
  return found < start ? -1 : found;
}

int Dictionary::CellOffset(int index) const {
  if (index < 0 || index >= VariableCount()) return -1;
  return offsets_[static_cast<std::size_t>(index)];
}

void Dictionary::SetWeightIndex(int index) {
  if (index < 0) {
    weightIndex_ = -1;
    return;
  }
  const Variable* v = GetVariable(index);
  if (v == nullptr) {
    throw std::invalid_argument("no variable at position " + std::to_string(index) +
                                " to weight by");
  }
  if (!v->IsNumeric()) {
    throw std::invalid_argument("the weight variable " + v->Name() + " is not numeric");
  }
  weightIndex_ = index;
}

}  // namespace codebook::data
