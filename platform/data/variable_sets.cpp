// Multiple-response sets as the host presents them (host/data/variable_sets.h)
// and the documents helper (host/data/documents.h).
#include "host/data/variable_sets.h"

#include <utility>

#include "host/data/data_source.h"
#include "host/data/documents.h"

namespace {

std::string AsciiUpper(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

}  // namespace

VariableSetImpl::VariableSetImpl(Definition definition) : def_(std::move(definition)) {}

std::string VariableSet::GetName(ChangeCase mode) const {
  return mode == kUpper ? AsciiUpper(def_.name) : def_.name;
}

std::vector<std::string> VariableSet::GetVariableNames(ChangeCase mode) const {
  if (mode != kUpper) return def_.members;
  std::vector<std::string> names;
  names.reserve(def_.members.size());
  for (const auto& m : def_.members) names.push_back(AsciiUpper(m));
  return names;
}

VariableSets::VariableSets(const VELA_DataSource& source, VarSetsType type) {
  // Only multiple-response sets exist in our datasets; other kinds list none.
  if (type != kMultipleResponseSets) return;
  const auto& sets = source.GetMRSets();
  sets_.reserve(sets.size());
  for (const auto& s : sets) sets_.emplace_back(s);
}

std::vector<DSDocument> GetDocuments(const VELA_DataSource& source) {
  return source.GetDocumentList();
}
