#include "variables/cbkvariable.h"

const VELA_Format kDefaultFormat(VELA_Format::F, 8, 2);

CBKVariable::CBKVariable(CBKVariableResolver* resolver, MissingHandle handle)
    : resolver(resolver), missingHandle(handle) {}

CBKVariable::~CBKVariable() {
  delete resolver;
  resolver = nullptr;
}

bool CBKVariable::isString() const { return resolver != nullptr && resolver->isString(); }

std::string CBKVariable::GetVariableName() const {
  if (resolver == nullptr) return {};
  if (resolver->getVariableType() != 1) return resolver->getMRSetName();
  if (const VELA_Variable* variable = resolver->getVELAVariable()) return variable->GetName();
  return {};
}
