#include <algorithm>
#include <array>
#include <bit>
#include <mutex>

#include "Tessra/base/value.h"

namespace tessra {

namespace {

/// Remembers what was met lately, so that only what comes again makes a shape.
bool met_before(std::uint64_t hash) {
  constexpr std::size_t kRemembered = 2048;
  static thread_local std::array<std::uint32_t, kRemembered> met{};
  std::uint32_t& place = met[hash >> 32 & (kRemembered - 1)];
  const auto mark = static_cast<std::uint32_t>(hash);
  if (place == mark) return true;
  place = mark;
  return false;
}

/// The bits that select slots; the hash itself has its best bits on top.
std::size_t spread(std::uint64_t hash) { return static_cast<std::size_t>(hash ^ hash >> 32); }

}  // namespace

constinit const KeySet KeySet::kNone(true, true);

/// All shapes of the process, by the hash of their names.
struct KeySet::Shapes {
  static constexpr std::size_t kSlots = 4 * kMaxShapes;

  /// `more`: one name that comes after the others, or null.
  static const KeySet* find(const Value* names, std::size_t count, std::uint64_t hash, const Value* more = nullptr) {
    for (std::size_t slot = spread(hash) % kSlots;; slot = (slot + 1) % kSlots) {
      const KeySet* shape = table[slot].load(std::memory_order_acquire);
      if (shape == nullptr) return nullptr;
      if (shape->hash_ == hash && has_names(*shape, names, count, more)) return shape;
    }
  }

  static const KeySet* make(const Value* names, std::size_t count, std::uint64_t hash, bool is_grown) {
    const std::lock_guard lock(mutex);
    if (const KeySet* known = find(names, count, hash)) return known;
    if (made == kMaxShapes) return nullptr;
    ++made;
    auto* shape = new KeySet(true, is_grown);
    shape->keys_.assign(names, names + count);
    shape->hash_ = hash;
    shape->make_index(count);  // now, since many threads may read it later
    std::size_t slot = spread(hash) % kSlots;
    while (table[slot].load(std::memory_order_relaxed) != nullptr) slot = (slot + 1) % kSlots;
    table[slot].store(shape, std::memory_order_release);
    return shape;
  }

  static bool has_names(const KeySet& shape, const Value* names, std::size_t count, const Value* more) {
    if (shape.count() != count + (more != nullptr ? 1 : 0)) return false;
    if (more != nullptr && shape.keys_.back().name_ != more->name_) return false;
    return std::equal(names, names + count, shape.keys_.begin(),
                      [](const Value& a, const Value& b) { return a.name_ == b.name_; });
  }

  static inline std::array<std::atomic<const KeySet*>, kSlots> table;
  static inline std::mutex mutex;
  static inline std::size_t made = 0;
};

const KeySet* KeySet::shape_of(const Value* names, std::size_t count, std::uint64_t hash) {
  if (count == 0) return none();
  if (count > kMaxShapeKeys) return nullptr;
  if (const KeySet* known = Shapes::find(names, count, hash)) return known;
  return met_before(hash) ? Shapes::make(names, count, hash, false) : nullptr;
}

const KeySet* KeySet::after(const Value& name) const {
  // Steps from shape to shape are few and taken again and again; each thread remembers them.
  struct Step {
    const KeySet* from = nullptr;
    const Name::Rep* name = nullptr;
    const KeySet* to = nullptr;
  };
  constexpr std::size_t kSteps = 1024;
  static thread_local std::array<Step, kSteps> steps{};
  if (keys_.size() >= kMaxShapeKeys) return nullptr;
  const std::uint64_t hash = hash_on(hash_, name);
  Step& step = steps[spread(hash) % kSteps];
  if (step.from == this && step.name == name.name_) return step.to;

  const KeySet* next = Shapes::find(keys_.data(), keys_.size(), hash, &name);
  const bool is_first = next == nullptr && is_grown_ && !led_on_.exchange(true, std::memory_order_relaxed);
  if (next == nullptr && (is_first || met_before(hash))) {
    Values names = keys_;
    names.push_back(name);
    next = Shapes::make(names.data(), names.size(), hash, is_grown_);
  }
  if (next != nullptr) step = {this, name.name_, next};
  return next;
}

KeySet* KeySet::own(std::size_t room) {
  auto* keys = new KeySet(false, false);
  keys->keys_.reserve(room);
  if (room > kMaxShapeKeys) keys->make_index(room);  // a table, which is going to be searched
  return keys;
}

KeySet* KeySet::own(const Value* keys, std::size_t count, std::size_t room) {
  KeySet* begun = own(room);
  begun->keys_.assign(keys, keys + count);
  return begun;
}

void KeySet::append(Value key, std::uint32_t hash) {
  keys_.push_back(std::move(key));
  if (index_.empty()) return;
  if (2 * keys_.size() > index_.size()) {
    make_index(2 * keys_.size());
  } else {
    link(hash, keys_.size() - 1);
  }
}

void KeySet::make_index(std::size_t room) const {
  index_.assign(std::bit_ceil(2 * room), Slot{0, 0});
  for (std::size_t at = 0; at < keys_.size(); ++at) {
    if (!keys_[at].is_none()) link(KeyRef(keys_[at]).hash(), at);
  }
}

void KeySet::link(std::uint32_t hash, std::size_t at) const {
  const std::size_t mask = index_.size() - 1;
  std::size_t slot = hash & mask;
  while (index_[slot].number != 0) slot = (slot + 1) & mask;
  index_[slot] = {hash, static_cast<std::uint32_t>(at + 1)};
}

}  // namespace tessra
