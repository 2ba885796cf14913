// Multiple-response sets (and, in general, sets of variables) of a dataset.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/host_api.h"

class VELA_DataSource;

// One set as the dataset holds it.
class HOST_API VariableSetImpl {
 public:
  enum Kind { kMultipleCategory = 1, kMultipleDichotomy = 2 };

  struct Definition {
    std::string name;                  // begins with "$"
    std::string label;                 // the effective label; may be empty
    int kind = kMultipleCategory;      // Kind, or another value for other kinds
    std::vector<std::string> members;  // member variable names, in set order
    std::string countedValue;          // dichotomies: the counted value as text
    bool enhanced = false;             // an extended dichotomy set
    bool categoryLabelsFromCountedValue = false;
    bool labelFromFirstVariable = false;
  };

  VariableSetImpl() = default;
  explicit VariableSetImpl(Definition definition);

  const std::string& Name() const { return def_.name; }
  const Definition& Get() const { return def_; }

 private:
  Definition def_;
};

// A copyable view of one set.
class HOST_API VariableSet {
 public:
  // How names are returned. Names are stored as the file gives them; both
  // modes return them so (lookups by name are case-insensitive anyway), and
  // kUpper returns them in upper case.
  enum ChangeCase { kUpper = 0, kAsDictionary = 1, kAsDefined = 2 };

  VariableSet() = default;
  explicit VariableSet(const VariableSetImpl& impl) : def_(impl.Get()) {}

  std::string GetName(ChangeCase mode) const;
  std::string GetLabel() const { return def_.label; }
  // 1 multiple-category, 2 multiple-dichotomy, other values other kinds.
  int GetType() const { return def_.kind; }
  std::vector<std::string> GetVariableNames(ChangeCase mode) const;
  // The counted value of a dichotomy set, as text.
  std::string GetValue() const { return def_.countedValue; }
  bool qIsEnhancedDichotomy() const { return def_.enhanced; }
  // True when the categories of an extended dichotomy set are labelled with
  // the label each member gives to the counted value.
  bool qUseVariableCategoryLabels() const { return def_.categoryLabelsFromCountedValue; }

 private:
  VariableSetImpl::Definition def_;
};

// The sets of a dataset of one kind, in file order.
class HOST_API VariableSets {
 public:
  enum VarSetsType { kVariableSets = 0, kMultipleResponseSets = 1 };

  VariableSets(const VELA_DataSource& source, VarSetsType type);
  VariableSets(const VELA_DataSource& source, int type)
      : VariableSets(source, static_cast<VarSetsType>(type)) {}

  std::size_t size() const { return sets_.size(); }
  const VariableSet& operator[](std::size_t i) const { return sets_.at(i); }
  std::vector<VariableSet>::const_iterator begin() const { return sets_.begin(); }
  std::vector<VariableSet>::const_iterator end() const { return sets_.end(); }

 private:
  std::vector<VariableSet> sets_;
};
