#include "platform/data/sav/dictionary_decoder/decode_context.h"

#include "platform/data/sav/endian.h"
#include "platform/data/text/fold_case.h"

namespace codebook::data::sav::decode {

std::string_view TrimRight(std::string_view s) {
  while (!s.empty() && (s.back() == ' ' || s.back() == '\0')) s.remove_suffix(1);
  return s;
}

std::string DecodeContext::Decode(std::string_view bytes) {
  bool damaged = false;
  std::string s = decoder->Decode(bytes, &damaged);
  if (damaged) warnings.Add("encoding", "text not valid in the encoding " + encodingName + " was replaced");
  return s;
}

const RawExtension* DecodeContext::Single(std::int32_t subtype, std::int32_t size, std::int32_t count) {
  const RawExtension* first = nullptr;
  for (const auto& ext : raw.extensions) {
    if (ext.subtype != subtype) continue;
    if (first) {
      warnings.Add("duplicate", "duplicate extension record subtype " + std::to_string(subtype) +
                                    " ignored");
      continue;
    }
    first = &ext;
  }
  if (first && (first->size != size || (count >= 0 && first->count != count))) {
    warnings.Add("extension size", "extension record subtype " + std::to_string(subtype) +
                                       " has an unexpected size and is ignored");
    return nullptr;
  }
  return first;
}

double DecodeContext::Number(const Raw8& bytes) const { return LoadDouble(bytes.data(), bigEndian); }
std::uint64_t DecodeContext::Bits(const Raw8& bytes) const { return Load64(bytes.data(), bigEndian); }

int DecodeContext::FindShort(std::string_view folded) const {
  return byShort.Find(folded, [this](int i) { return std::string_view(vars[static_cast<std::size_t>(i)].shortFolded); });
}

int DecodeContext::FindName(std::string_view folded) const {
  return byName.Find(folded, [this](int i) { return std::string_view(vars[static_cast<std::size_t>(i)].nameFolded); });
}

VarInfo* DecodeContext::FindByName(const std::string& decodedName) {
  const int found = FindName(FoldCase(decodedName));
  return found < 0 ? nullptr : &vars[static_cast<std::size_t>(found)];
}

VarInfo* DecodeContext::FindLongString(const std::string& decodedName, const char* kind, const char* what) {
  VarInfo* v = FindByName(decodedName);
  if (v && v->width > 8) return v;
  warnings.Add(kind, std::string("long-string ") + what + " of " + decodedName +
                         ", which is not a long string variable, are ignored");
  return nullptr;
}

}  // namespace codebook::data::sav::decode
