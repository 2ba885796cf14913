// Name and text helpers. All text is UTF-8; case-insensitive comparison folds
// Unicode case, not only ASCII.
#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "host/host_api.h"

// A variable name as written in a command.
class HOST_API VelaVarName {
 public:
  VelaVarName() = default;
  explicit VelaVarName(std::string name) : name_(std::move(name)) {}
  explicit VelaVarName(const char* name) : name_(name ? name : "") {}

  const char* c_str() const { return name_.c_str(); }
  const std::string& str() const { return name_; }
  operator const std::string&() const { return name_; }

 private:
  std::string name_;
};

// 0 when the text is a valid variable name: 1 to 64 bytes, first character a
// letter or @ # $, then letters, digits and . _ $ # @, not ending in a period,
// and not a reserved word. Non-zero otherwise.
HOST_API int ValidateVELAName(const char* name);

// Case-insensitive comparison of UTF-8 text; 0 when equal, otherwise the sign
// of the first difference of the case-folded texts.
HOST_API int VELAMBstricmp_A(const char* a, const char* b);
// The same over at most the first n bytes of each text.
HOST_API int VELAMBstrnicmp_A(const char* a, const char* b, std::size_t n);
// Copies srcLength bytes of src into the fixed field dest of destLength bytes
// (which the caller has blank-filled), never splitting a UTF-8 character.
HOST_API void VELAMBCopyToFixed_A(char* dest, std::size_t destLength, const char* src,
                                  std::size_t srcLength);
