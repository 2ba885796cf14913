// Subtype 20 (character encoding) and what stands in for it when a file
// does not say: the code page of subtype 3, else a guess from the text.
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"
#include "platform/data/sav/text_encoding.h"

namespace codebook::data::sav::decode {
namespace {

// Whether every text of the dictionary is valid UTF-8, and whether any of it
// uses more than ASCII (only then is UTF-8 a better guess than the default).
bool AllTextIsUtf8(const RawDictionary& raw, bool& multibyte) {
  multibyte = false;
  auto check = [&](std::string_view s) {
    bool multi = false;
    if (!IsValidUtf8(s, &multi)) return false;
    multibyte = multibyte || multi;
    return true;
  };
  if (!check(TrimRight(raw.header.fileLabel))) return false;
  for (const auto& v : raw.variables) {
    if (!check(TrimRight(v.name)) || !check(v.label)) return false;
  }
  for (const auto& vl : raw.valueLabels) {
    for (const auto& [value, label] : vl.labels) {
      if (!check(label)) return false;
    }
  }
  for (const auto& line : raw.documentLines) {
    if (!check(TrimRight(line))) return false;
  }
  for (const auto& ext : raw.extensions) {
    if (ext.subtype == 13 || ext.subtype == 17 || ext.subtype == 18 || ext.subtype == 7) {
      std::string_view text(reinterpret_cast<const char*>(ext.data.data()), ext.data.size());
      if (!check(text)) return false;
    }
  }
  return true;
}

void PickEncoding(DecodeContext& c, FileInfo& info) {
  if (!c.options.encoding.empty()) {
    c.converter = ResolveEncodingName(c.options.encoding);
    if (!c.converter.empty()) {
      c.encodingName = c.options.encoding;
      info.encoding = c.encodingName;
      return;
    }
    c.warnings.Add("encoding", "unknown encoding " + c.options.encoding + " asked for; the file's is used");
  }
  if (const RawExtension* ext = c.Single(20, 1)) {
    std::string name(TrimRight(std::string_view(reinterpret_cast<const char*>(ext->data.data()), ext->data.size())));
    c.converter = ResolveEncodingName(name);
    if (!c.converter.empty()) {
      c.encodingName = CanonicalEncodingName(name);
      info.encoding = c.encodingName;
      return;
    }
    c.warnings.Add("encoding", "unknown encoding \"" + name + "\" in the file");
  }
  if (c.characterCode != 0) {
    std::string name = EncodingForCodePage(c.characterCode);
    if (!name.empty()) c.converter = ResolveEncodingName(name);
    if (!c.converter.empty()) {
      c.encodingName = name;
      info.encoding = name;
      return;
    }
  }
  bool multibyte = false;
  c.encodingName = AllTextIsUtf8(c.raw, multibyte) && multibyte ? "UTF-8" : "windows-1252";
  c.converter = ResolveEncodingName(c.encodingName);
  info.encoding = c.encodingName;
  info.encodingGuessed = true;
  c.warnings.Add("encoding", "the file does not say its character encoding; " + c.encodingName + " assumed");
}

}  // namespace

void ChooseEncoding(DecodeContext& c, FileInfo& info, CasePlan& plan) {
  PickEncoding(c, info);
  c.decoder.emplace(c.converter);
  plan.encoding = c.converter;
  plan.utf8 = c.decoder->IsUtf8();
}

}  // namespace codebook::data::sav::decode
