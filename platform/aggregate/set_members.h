// The member variables of a multiple-response set as a dimension reads
// them: cell offset, type and width, looked up once.
#pragma once

#include <cstddef>
#include <vector>

#include "host/data/case_iterator.h"
#include "host/data/variable.h"

namespace codebook::aggregate {

struct SetMember {
  int varIndex = -1;
  const VELA_Variable* variable = nullptr;  // null: the dataset has no such variable
  int offset = -1;
  std::size_t width = 0;  // 0 numeric, else bytes of a string value
};

inline std::vector<SetMember> LookUpMembers(const VELA_InputCaseIterator& cases,
                                            const std::vector<int>& varIndexes) {
  std::vector<SetMember> members;
  members.reserve(varIndexes.size());
  for (int index : varIndexes) {
    SetMember m;
    m.varIndex = index;
    m.variable = cases.GetVariable(index);
    m.offset = cases.CellOffset(index);
    if (m.variable == nullptr || m.offset < 0) {
      m.variable = nullptr;
    } else if (m.variable->GetType() > 0) {
      m.width = static_cast<std::size_t>(m.variable->GetType());
    }
    members.push_back(m);
  }
  return members;
}

}  // namespace codebook::aggregate
