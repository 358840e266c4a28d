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

/// Four slots per name that may be added keep probes short without ever growing the table, which is what lets it be
/// read without a lock. The array is zero pages until used.
constexpr std::size_t kSlots = 4 * Name::kMaxAdded;
template <class Rep>
using Slots = std::array<std::atomic<const Rep*>, kSlots>;

template <class Rep>
Slots<Rep>& slots() {
  static Slots<Rep> table;
  return table;
}

/// A bit per part of all hashes, set when a name's hash lies there. Most texts that are asked for are ids: they mostly
/// find no bit set, and spare the way to their slot, which would be another page of memory for each.
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
  if (const Rep* known = lookup(text, hash)) return known;
  if (counted && ++added > kMaxAdded) throw LimitError("too many field names, refused '" + std::string(text) + "'");

  // Never freed: names live as long as the process. The bytes stand behind the name, to be found in one place.
  const std::size_t room = std::max(text.size(), detail::Front::kBytes);
  auto* memory = static_cast<char*>(::operator new(sizeof(Rep) + room));
  std::fill_n(memory + sizeof(Rep), room, '\0');
  text.copy(memory + sizeof(Rep), text.size());  // an empty view may have no bytes at all
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
