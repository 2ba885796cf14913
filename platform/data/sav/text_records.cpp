#include "platform/data/sav/text_records.h"

#include <algorithm>

#include "platform/data/sav/endian.h"

namespace codebook::data::sav {
namespace {

std::string Text(Bytes data, std::size_t begin, std::size_t end) {
  return std::string(reinterpret_cast<const char*>(data.data()) + begin, end - begin);
}

std::size_t FindByte(Bytes data, std::size_t from, std::uint8_t byte) {
  for (std::size_t i = from; i < data.size(); ++i) {
    if (data[i] == byte) return i;
  }
  return data.size();
}

// A counted string "<digits> <bytes>" at pos; false when malformed.
bool ReadCounted(Bytes data, std::size_t& pos, std::string& out) {
  std::size_t digits = 0;
  std::uint64_t n = 0;
  while (pos < data.size() && data[pos] >= '0' && data[pos] <= '9') {
    if (++digits > 9) return false;
    n = n * 10 + (data[pos] - '0');
    ++pos;
  }
  if (digits == 0 || pos >= data.size() || data[pos] != ' ') return false;
  ++pos;
  if (n > data.size() - pos) return false;
  out = Text(data, pos, pos + static_cast<std::size_t>(n));
  pos += static_cast<std::size_t>(n);
  return true;
}

}  // namespace

void ParseMrSets(Bytes data, std::vector<RawMrSet>& out, Warnings& warnings) {
  std::size_t pos = 0;
  const std::size_t end = data.size();
  auto fail = [&](const std::string& why) {
    warnings.Add("mrsets", "multiple-response set record damaged (" + why + "); the rest is ignored");
  };
  for (;;) {
    while (pos < end && (data[pos] == '\n' || data[pos] == '\r')) ++pos;
    if (pos >= end) return;
    RawMrSet set;
    std::size_t eq = FindByte(data, pos, '=');
    if (eq >= end) return fail("a set without '='");
    set.name = Text(data, pos, eq);
    pos = eq + 1;
    if (pos >= end) return fail("a set without a kind");
    set.kind = static_cast<char>(data[pos++]);
    if (set.kind == 'C') {
      if (pos >= end || data[pos] != ' ') return fail("'C' not followed by a blank");
      ++pos;
    } else if (set.kind == 'D') {
      if (!ReadCounted(data, pos, set.counted)) return fail("bad counted value");
      if (pos >= end || data[pos] != ' ') return fail("counted value not followed by a blank");
      ++pos;
    } else if (set.kind == 'E') {
      if (pos >= end || data[pos] != ' ') return fail("'E' not followed by a blank");
      ++pos;
      std::size_t digits = 0;
      int flag = 0;
      while (pos < end && data[pos] >= '0' && data[pos] <= '9' && digits < 9) {
        flag = flag * 10 + (data[pos] - '0');
        ++pos;
        ++digits;
      }
      if (digits == 0 || pos >= end || data[pos] != ' ') return fail("bad source flag");
      ++pos;
      if (flag != 1 && flag != 11) {
        warnings.Add("mrsets", "multiple-response set " + set.name + ": unknown source flag " +
                                   std::to_string(flag) + " read as 1");
        flag = 1;
      }
      set.sourceFlag = flag;
      if (!ReadCounted(data, pos, set.counted)) return fail("bad counted value");
      if (pos >= end || data[pos] != ' ') return fail("counted value not followed by a blank");
      ++pos;
    } else {
      return fail(std::string("unknown kind '") + set.kind + "'");
    }
    if (!ReadCounted(data, pos, set.label)) return fail("bad label");
    bool terminated = false;
    while (pos < end) {
      if (data[pos] == '\n') {
        ++pos;
        terminated = true;
        break;
      }
      if (data[pos] != ' ') return fail("members not separated by blanks");
      ++pos;
      std::size_t start = pos;
      while (pos < end && data[pos] != ' ' && data[pos] != '\n') ++pos;
      if (pos > start) {
        std::string member = Text(data, start, pos);
        if (!member.empty() && member.back() == '\r') member.pop_back();
        if (!member.empty()) set.members.push_back(std::move(member));
      }
    }
    if (!terminated) {
      warnings.Add("mrsets", "multiple-response set record lacks its final line end");
    }
    out.push_back(std::move(set));
  }
}

std::vector<RawPair> ParsePairs(Bytes data) {
  std::vector<RawPair> out;
  std::size_t pos = 0;
  while (pos < data.size()) {
    std::size_t start = pos;
    while (pos < data.size() && data[pos] != '\t' && data[pos] != 0 && data[pos] != '\n' &&
           data[pos] != '\r') {
      ++pos;
    }
    if (pos > start) {
      std::string token = Text(data, start, pos);
      std::size_t eq = token.find('=');
      if (eq != std::string::npos) out.push_back({token.substr(0, eq), token.substr(eq + 1)});
    }
    ++pos;
  }
  return out;
}

namespace {

// Attributes from pos until '/' or the end. False when the record is damaged
// (the attributes complete so far are kept).
bool ParseAttributeList(Bytes data, std::size_t& pos, std::vector<RawAttribute>& out,
                        const std::string& owner, Warnings& warnings) {
  const std::size_t end = data.size();
  while (pos < end && data[pos] != '/') {
    if (data[pos] == '\n' || data[pos] == '\r') {  // stray line ends between attributes
      ++pos;
      continue;
    }
    std::size_t open = FindByte(data, pos, '(');
    if (open >= end) {
      warnings.Add("attributes", "attribute record of " + owner + " ends inside an attribute name");
      return false;
    }
    RawAttribute attribute;
    attribute.name = Text(data, pos, open);
    pos = open + 1;
    bool closed = false;
    while (pos < end) {
      if (data[pos] == ')') {
        ++pos;
        closed = true;
        break;
      }
      std::size_t lf = FindByte(data, pos, '\n');
      if (lf >= end) break;
      std::size_t b = pos;
      std::size_t e = lf;
      if (data[b] == '\'' && e > b + 1 && data[e - 1] == '\'') {
        ++b;
        --e;
      } else {
        warnings.Add("attributes", "attribute " + attribute.name + " of " + owner +
                                       ": value not enclosed in quotes, taken as it is");
        if (data[b] == '\'') ++b;
      }
      attribute.values.push_back(Text(data, b, std::max(b, e)));
      pos = lf + 1;
    }
    if (!closed) {
      warnings.Add("attributes", "attribute record of " + owner + " ends inside attribute " +
                                     attribute.name);
      return false;
    }
    bool duplicate = std::any_of(out.begin(), out.end(),
                                 [&](const RawAttribute& a) { return a.name == attribute.name; });
    if (duplicate) {
      warnings.Add("attributes", "duplicate attribute " + attribute.name + " of " + owner +
                                     "; the first is kept");
    } else {
      out.push_back(std::move(attribute));
    }
  }
  return true;
}

}  // namespace

std::vector<RawAttribute> ParseFileAttributes(Bytes data, Warnings& warnings) {
  std::vector<RawAttribute> out;
  std::size_t pos = 0;
  while (pos < data.size()) {
    if (!ParseAttributeList(data, pos, out, "the data file", warnings)) break;
    if (pos < data.size()) ++pos;  // a stray '/'
  }
  return out;
}

void ParseVariableAttributes(Bytes data, std::vector<RawVariableAttributes>& out, Warnings& warnings) {
  std::size_t pos = 0;
  const std::size_t end = data.size();
  while (pos < end) {
    while (pos < end && (data[pos] == '/' || data[pos] == '\n' || data[pos] == '\r' || data[pos] == 0)) ++pos;
    if (pos >= end) return;
    std::size_t colon = FindByte(data, pos, ':');
    if (colon >= end) {
      warnings.Add("attributes", "variable attribute record ends inside a variable name");
      return;
    }
    RawVariableAttributes entry;
    entry.variable = Text(data, pos, colon);
    pos = colon + 1;
    bool ok = ParseAttributeList(data, pos, entry.attributes, "variable " + entry.variable, warnings);
    out.push_back(std::move(entry));
    if (!ok) return;
  }
}

namespace {

class Cursor {
 public:
  Cursor(Bytes data, bool bigEndian) : data_(data), bigEndian_(bigEndian) {}
  bool Done() const { return pos_ >= data_.size(); }
  std::size_t Left() const { return data_.size() - pos_; }
  bool I32(std::int32_t& v) {
    if (Left() < 4) return false;
    v = static_cast<std::int32_t>(Load32(data_.data() + pos_, bigEndian_));
    pos_ += 4;
    return true;
  }
  bool PeekI32(std::int32_t& v) const {
    if (Left() < 4) return false;
    v = static_cast<std::int32_t>(Load32(data_.data() + pos_, bigEndian_));
    return true;
  }
  bool U8(std::uint8_t& v) {
    if (Left() < 1) return false;
    v = data_[pos_++];
    return true;
  }
  bool Str(std::int32_t n, std::string& out) {
    if (n < 0 || static_cast<std::size_t>(n) > Left()) return false;
    out = Text(data_, pos_, pos_ + static_cast<std::size_t>(n));
    pos_ += static_cast<std::size_t>(n);
    return true;
  }
  void Skip(std::size_t n) { pos_ += std::min(n, Left()); }

 private:
  Bytes data_;
  bool bigEndian_;
  std::size_t pos_ = 0;
};

}  // namespace

std::vector<RawLongStringLabels> ParseLongStringLabels(Bytes data, bool bigEndian, Warnings& warnings) {
  std::vector<RawLongStringLabels> out;
  Cursor c(data, bigEndian);
  while (!c.Done()) {
    RawLongStringLabels entry;
    std::int32_t nameLen = 0, count = 0;
    if (!c.I32(nameLen) || !c.Str(nameLen, entry.variable) || !c.I32(entry.width) || !c.I32(count) ||
        count < 0 || static_cast<std::uint64_t>(count) * 8 > c.Left()) {
      warnings.Add("long string labels", "long-string value-label record damaged; the rest is ignored");
      return out;
    }
    for (std::int32_t i = 0; i < count; ++i) {
      std::int32_t valueLen = 0, labelLen = 0;
      std::string value, label;
      if (!c.I32(valueLen) || !c.Str(valueLen, value) || !c.I32(labelLen) || !c.Str(labelLen, label)) {
        warnings.Add("long string labels", "long-string value-label record damaged; the rest is ignored");
        if (!entry.labels.empty()) out.push_back(std::move(entry));
        return out;
      }
      entry.labels.emplace_back(std::move(value), std::move(label));
    }
    out.push_back(std::move(entry));
  }
  return out;
}

std::vector<RawLongStringMissing> ParseLongStringMissing(Bytes data, bool bigEndian, Warnings& warnings) {
  std::vector<RawLongStringMissing> out;
  Cursor c(data, bigEndian);
  bool warnedRepeat = false;
  while (!c.Done()) {
    RawLongStringMissing entry;
    std::int32_t nameLen = 0, valueLen = 0;
    std::uint8_t n = 0;
    if (!c.I32(nameLen) || !c.Str(nameLen, entry.variable) || !c.U8(n) || !c.I32(valueLen) || valueLen < 0) {
      warnings.Add("long string missing", "long-string missing-value record damaged; the rest is ignored");
      return out;
    }
    if (n < 1 || n > 3) {
      warnings.Add("long string missing", "variable " + entry.variable + ": " + std::to_string(n) +
                                              " long-string missing values");
    }
    for (int i = 0; i < n; ++i) {
      std::int32_t peek = 0;
      // An old writer repeated the value length before every later value.
      if (i > 0 && valueLen == 8 && c.PeekI32(peek) && peek == 8 &&
          c.Left() >= static_cast<std::size_t>(n - i) * 12) {
        c.Skip(4);
        if (!warnedRepeat) {
          warnings.Add("long string missing", "long-string missing values with repeated lengths");
          warnedRepeat = true;
        }
      }
      std::string value;
      if (!c.Str(valueLen, value)) {
        warnings.Add("long string missing", "long-string missing-value record damaged; the rest is ignored");
        return out;
      }
      if (entry.values.size() < 3) entry.values.push_back(std::move(value));
    }
    out.push_back(std::move(entry));
  }
  return out;
}

}  // namespace codebook::data::sav
