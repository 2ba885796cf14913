#include "platform/output/document/fixed_texts.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>

namespace bp {
namespace {

// The wording of a procedure is a few dozen texts; the limits only keep a
// caller that passes its data as procedure text from growing the pool.
constexpr std::size_t kMaxTexts = 4096;
constexpr std::size_t kMaxLength = 80;

struct Entry {
  BpCellText::Content content;
  codebook::output::ContentView view;
};

struct Pool {
  std::mutex mutex;
  std::unordered_map<std::string_view, std::uint32_t> byText;  // keys point into the entries
  // Published once and never moved, so that readers need no lock.
  std::array<std::atomic<const Entry*>, kMaxTexts> entries{};
  std::uint32_t size = 0;
  std::set<std::string, std::less<>> names;
};

// Never destroyed: tables read their fixed texts until the very end.
Pool& ThePool() {
  static Pool* pool = new Pool;
  return *pool;
}

const BpCellText::Content* FixedTextFromPool(std::string_view text) {
  Pool& pool = ThePool();
  std::lock_guard<std::mutex> lock(pool.mutex);
  if (const auto found = pool.byText.find(text); found != pool.byText.end()) {
    return &pool.entries[found->second].load(std::memory_order_relaxed)->content;
  }
  if (pool.size == kMaxTexts) return nullptr;
  auto entry = std::make_unique<Entry>();
  entry->content.text = std::string(text);
  entry->content.procedureText = true;
  entry->content.fixedId = static_cast<std::int32_t>(pool.size);
  entry->view = codebook::output::ViewOf(entry->content);
  const Entry* kept = entry.release();
  pool.byText.emplace(std::string_view(kept->content.text), pool.size);
  pool.entries[pool.size].store(kept, std::memory_order_release);
  ++pool.size;
  return &kept->content;
}

// Each table asks for some twenty fixed texts: a small cache per thread
// answers without the lock and the map. A slot holds the last text that
// hashed to it.
const BpCellText::Content* CachedFixedText(std::string_view text) {
  constexpr std::size_t kSlots = 256;
  thread_local std::array<const BpCellText::Content*, kSlots> cache{};
  // Length and end characters tell the procedure's texts apart well enough.
  const std::size_t slot =
      text.empty() ? 0
                   : (text.size() * 31 + static_cast<unsigned char>(text.front()) * 7 +
                      static_cast<unsigned char>(text.back()) + static_cast<unsigned char>(text[text.size() / 2]) * 3) %
                         kSlots;
  const BpCellText::Content* cached = cache[slot];
  if (cached != nullptr && cached->text == text) return cached;
  const BpCellText::Content* found = FixedTextFromPool(text);
  if (found != nullptr) cache[slot] = found;
  return found;
}

}  // namespace

const BpCellText::Content* FixedText(std::string_view text) {
  if (text.size() > kMaxLength) return nullptr;
  return CachedFixedText(text);
}

const codebook::output::ContentView& FixedTextView(std::uint32_t id) {
  static const codebook::output::ContentView kNone;
  if (id >= kMaxTexts) return kNone;
  const Entry* entry = ThePool().entries[id].load(std::memory_order_acquire);
  return entry != nullptr ? entry->view : kNone;
}

std::string_view SharedName(std::string_view name) {
  // A procedure gives every table the same few names.
  thread_local std::string_view lastName;
  thread_local std::string_view nameBefore;
  if (name == lastName) return lastName;
  if (name == nameBefore) return nameBefore;
  Pool& pool = ThePool();
  std::lock_guard<std::mutex> lock(pool.mutex);
  auto found = pool.names.find(name);
  if (found == pool.names.end()) found = pool.names.emplace(name).first;
  nameBefore = lastName;
  lastName = *found;
  return lastName;
}

}  // namespace bp
