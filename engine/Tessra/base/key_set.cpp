// Key sets: the process-wide table of shapes, and the own keys of single dictionaries.

#include <algorithm>
#include <array>
#include <bit>
#include <mutex>

#include "Tessra/base/value.h"

namespace tessra {

namespace {

/// Whether this hash was seen recently; records it otherwise. Only sequences that recur become shapes. The table is
/// small and lossy on purpose: a forgotten sequence just has to recur once more.
bool met_before(std::uint64_t hash) {
  constexpr std::size_t kRemembered = 2048;
  static thread_local std::array<std::uint32_t, kRemembered> met{};
  std::uint32_t& place = met[hash >> 32 & (kRemembered - 1)];
  const auto mark = static_cast<std::uint32_t>(hash);
  if (place == mark) return true;
  place = mark;
  return false;
}

/// Folds the hash for slot selection: its upper bits are the well-mixed ones.
std::size_t spread(std::uint64_t hash) { return static_cast<std::size_t>(hash ^ hash >> 32); }

}  // namespace

constinit const KeySet KeySet::kNone(0, true, true);

/// All shapes of the process, in an open-addressing table of fixed size. Readers take no lock: slots only ever change
/// from null to a complete shape, published with release order. Writers hold the mutex.
struct KeySet::Shapes {
  static constexpr std::size_t kSlots = 4 * kMaxShapes;

  /// Extends the hash of a sequence of names, which starts at 0, by one name.
  static std::uint64_t hash_on(std::uint64_t hash, const Value& name) {
    return (hash ^ reinterpret_cast<std::uintptr_t>(name.name())) * 0x9E3779B97F4A7C15 + 1;
  }
  static std::uint64_t hash_of(const Value* names, std::size_t count) {
    std::uint64_t hash = 0;
    for (std::size_t at = 0; at < count; ++at) hash = hash_on(hash, names[at]);
    return hash;
  }

  /// `more`: an additional last name, or null.
  static const KeySet* find(const Value* names, std::size_t count, std::uint64_t hash, const Value* more = nullptr) {
    for (std::size_t slot = spread(hash) % kSlots;; slot = (slot + 1) % kSlots) {
      const KeySet* shape = table[slot].load(std::memory_order_acquire);
      if (shape == nullptr) return nullptr;
      if (shape->hash_ == hash && has_names(*shape, names, count, more)) return shape;
    }
  }

  static const KeySet* make(const Value* names, std::size_t count, std::uint64_t hash, const Value* more,
                            bool is_grown) {
    const std::lock_guard lock(mutex);
    if (const KeySet* known = find(names, count, hash, more)) return known;  // another thread was faster
    if (made == kMaxShapes) return nullptr;
    ++made;
    KeySet* shape = KeySet::make(count + 1, true, is_grown);
    shape->add(names, count);
    if (more != nullptr) shape->add(Value(*more));
    shape->hash_ = hash;
    shape->make_index(shape->count_);  // now: once published it is shared between threads and must not change
    shape->make_prints();
    std::size_t slot = spread(hash) % kSlots;
    while (table[slot].load(std::memory_order_relaxed) != nullptr) slot = (slot + 1) % kSlots;
    table[slot].store(shape, std::memory_order_release);
    return shape;
  }

  static bool has_names(const KeySet& shape, const Value* names, std::size_t count, const Value* more) {
    if (shape.count() != count + (more != nullptr ? 1 : 0)) return false;
    if (more != nullptr && shape.key(count).name() != more->name()) return false;
    return std::equal(names, names + count, shape.begin(),
                      [](const Value& a, const Value& b) { return a.name() == b.name(); });
  }

  static inline std::array<std::atomic<const KeySet*>, kSlots> table;
  static inline std::mutex mutex;
  static inline std::size_t made = 0;
};

const KeySet* KeySet::shape_of(const Value* names, std::size_t count) {
  if (count == 0) return none();
  if (count > kMaxShapeKeys) return nullptr;
  const std::uint64_t hash = Shapes::hash_of(names, count);
  if (const KeySet* known = Shapes::find(names, count, hash)) return known;
  return Shapes::make(names, count, hash, nullptr, false);
}

const KeySet* KeySet::frequent_shape_of(const Value* names, std::size_t count) {
  if (count == 0) return none();
  if (count > kMaxShapeKeys) return nullptr;
  const std::uint64_t hash = Shapes::hash_of(names, count);
  if (const KeySet* known = Shapes::find(names, count, hash)) return known;
  return met_before(hash) ? Shapes::make(names, count, hash, nullptr, false) : nullptr;
}

const KeySet* KeySet::after(const Value& name) const {
  // There are few transitions between shapes, each taken many times: every thread caches them.
  struct Step {
    const KeySet* from = nullptr;
    const Name::Rep* name = nullptr;
    const KeySet* to = nullptr;
  };
  constexpr std::size_t kSteps = 1024;
  static thread_local std::array<Step, kSteps> steps{};
  if (count_ >= kMaxShapeKeys) return nullptr;
  const std::uint64_t hash = Shapes::hash_on(hash_, name);
  Step& step = steps[spread(hash) % kSteps];
  if (step.from == this && step.name == name.name()) return step.to;

  const KeySet* next = Shapes::find(begin(), count_, hash, &name);
  const bool is_first = next == nullptr && is_grown_ && !led_on_.exchange(true, std::memory_order_relaxed);
  if (next == nullptr && (is_first || met_before(hash))) next = Shapes::make(begin(), count_, hash, &name, is_grown_);
  if (next != nullptr) step = {this, name.name(), next};
  return next;
}

void KeySet::make_prints() const {
  // `find_from` loads `kPrints` bytes at once, also at the last key: zeros follow.
  std::fill_n(prints(), count_ + kPrints, std::uint8_t{0});
  for (std::size_t at = 0; at < count_; ++at) prints()[at] = print_of(key(at).name()->front);
}

bool KeySet::goes_on_like(const Name::Rep& name, std::string_view text) {
  for (std::size_t at = detail::Front::kBytes; at < text.size(); at += 8) {
    // The last load overlaps the one before instead of reading past the end.
    const std::size_t word = std::min(at, text.size() - 8);
    if (detail::load(name.bytes + word, 8) != detail::load(text.data() + word, 8)) return false;
  }
  return true;
}

// ---- Own keys of a dictionary -------------------------------------------------------------------------------------

KeySet* KeySet::make(std::size_t room, bool is_shape, bool is_grown) {
  if (room > UINT32_MAX) throw LimitError("more than 2^32 entries");
  return new (Pool::take(bytes_of(room, is_shape))) KeySet(room, is_shape, is_grown);
}

KeySet* KeySet::own(const Value* keys, std::size_t count, std::size_t room) {
  KeySet* begun = make(room, false, false);
  begun->add(keys, count);
  return begun;
}

void KeySet::end() const noexcept {
  for (std::uint32_t at = 0; at < count_; ++at) key(at).~Value();
  free_index();
  free();
}

void KeySet::free() const noexcept { Pool::give(const_cast<KeySet*>(this), bytes_of(room_, is_shape_)); }

std::size_t KeySet::bytes_of(std::size_t room, bool is_shape) {
  return sizeof(KeySet) + room * sizeof(Value) + (is_shape ? room + kPrints : 0);
}

void KeySet::enlarge(KeySet*& keys, std::size_t room) {
  KeySet* larger = make(room, false, false);
  larger->first_ = keys->first_;
  larger->index_ = keys->index_;
  for (; larger->count_ < keys->count_;) larger->add(std::move(keys->keys()[larger->count_]));
  std::exchange(keys, larger)->free();
}

void KeySet::append(KeySet*& keys, Value key) {
  if (keys->count_ == keys->room_) enlarge(keys, keys->room_ + std::size_t{keys->room_} / 2 + 4);
  keys->add(std::move(key));
  if (keys->index_ == nullptr || keys->key(keys->count_ - 1).is_none()) return;
  if (2 * keys->count_ > keys->index_->mask + 1) {
    keys->make_index(std::size_t{2} * keys->count_);
  } else {
    keys->link(keys->count_ - 1);
  }
}

void KeySet::erase(std::uint32_t at) {
  keys()[at] = Value();
  while (first_ < count_ && key(first_).is_none()) ++first_;
}

void KeySet::make_index(std::size_t room) const {
  free_index();
  const std::size_t slots = std::bit_ceil(2 * std::max<std::size_t>(room, 1));
  index_ = static_cast<Index*>(Pool::take(sizeof(Index) + (slots - 1) * sizeof(Slot)));
  index_->mask = static_cast<std::uint32_t>(slots - 1);
  std::fill_n(index_->slots, slots, Slot{0, 0});
  for (std::size_t at = 0; at < count_; ++at) {
    if (!key(at).is_none()) link(at);
  }
}

void KeySet::free_index() const noexcept {
  if (index_ != nullptr) Pool::give(index_, sizeof(Index) + index_->mask * sizeof(Slot));
  index_ = nullptr;
}

void KeySet::link(std::size_t at) const {
  const std::uint32_t hash = KeyRef(key(at)).hash();
  std::uint32_t slot = hash & index_->mask;
  while (index_->slots[slot].number != 0) slot = (slot + 1) & index_->mask;
  index_->slots[slot] = {hash, static_cast<std::uint32_t>(at + 1)};
}

}  // namespace tessra
