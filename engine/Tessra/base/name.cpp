// The table of interned names: open addressing with a fixed size, read without locks, written under a mutex.

#include "Tessra/base/name.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <new>
#include <string>

#include "Tessra/base/error.h"

namespace tessra {

namespace {

/// Four slots per possible name keep probe sequences short without ever growing the table, which is why it can be read
/// without a lock. Unused parts are zero pages that take no memory.
constexpr std::size_t kSlots = 4 * Name::kMaxAdded;
template <class Rep>
using Slots = std::array<std::atomic<const Rep*>, kSlots>;

template <class Rep>
Slots<Rep>& slots() {
  static Slots<Rep> table;
  return table;
}

/// A one-hash Bloom filter in front of the table. Most texts looked up are ids, not names: the filter usually rejects
/// them without touching their slot, which would be another memory page for each id.
class Hint {
 public:
  bool may_be_there(std::uint32_t hash) const {
    return (words_[place(hash) / kWord].load(std::memory_order_acquire) >> place(hash) % kWord & 1) != 0;
  }
  void add(std::uint32_t hash) {
    words_[place(hash) / kWord].fetch_or(std::uint64_t{1} << place(hash) % kWord, std::memory_order_release);
  }

 private:
  static constexpr std::size_t kWord = 64;
  static constexpr int kBits = 15;  // 4 KB in all
  static std::size_t place(std::uint32_t hash) { return hash >> (32 - kBits); }
  std::array<std::atomic<std::uint64_t>, (std::size_t{1} << kBits) / kWord> words_;
};
constinit Hint hint{};

}  // namespace

const Name::Rep* Name::lookup(std::string_view text, std::uint32_t hash) {
  if (!hint.may_be_there(hash)) return nullptr;
  auto& table = slots<Rep>();
  for (std::size_t slot = hash % kSlots;; slot = (slot + 1) % kSlots) {
    const Rep* rep = table[slot].load(std::memory_order_acquire);
    if (rep == nullptr) return nullptr;
    if (rep->hash == hash && std::string_view(rep->bytes, rep->size) == text) return rep;
  }
}

std::optional<Name> Name::find(std::string_view text) {
  const Rep* rep = lookup(text, hash_text(text));
  return rep != nullptr ? std::optional(Name(rep)) : std::nullopt;
}

std::optional<Name> Name::learn(std::string_view text) {
  try {
    return intern(text);
  } catch (const LimitError&) {
    return std::nullopt;
  }
}

const Name::Rep* Name::insert(std::string_view text, bool counted) {
  static std::mutex mutex;
  static std::size_t added = 0;
  static std::uint32_t known_names = 0;

  const std::uint32_t hash = hash_text(text);
  if (const Rep* known = lookup(text, hash)) return known;

  const std::lock_guard lock(mutex);
  if (const Rep* known = lookup(text, hash)) return known;  // another thread was faster
  if (counted && ++added > kMaxAdded) throw LimitError("too many field names, refused '" + std::string(text) + "'");

  // Never freed: names live as long as the process. The bytes follow the name in the same block, for locality.
  const std::size_t room = std::max(text.size(), detail::Front::kBytes);
  auto* memory = static_cast<char*>(::operator new(sizeof(Rep) + room));
  std::fill_n(memory + sizeof(Rep), room, '\0');
  text.copy(memory + sizeof(Rep), text.size());  // not memcpy: the data of an empty view may be null
  const char* bytes = memory + sizeof(Rep);
  const auto size = static_cast<std::uint32_t>(text.size());
  const Rep* rep = new (memory) Rep{bytes, size, hash, known_names++, detail::Front(bytes, size)};
  auto& table = slots<Rep>();
  std::size_t slot = hash % kSlots;
  while (table[slot].load(std::memory_order_relaxed) != nullptr) slot = (slot + 1) % kSlots;
  table[slot].store(rep, std::memory_order_release);
  hint.add(hash);
  return rep;
}

}  // namespace tessra
