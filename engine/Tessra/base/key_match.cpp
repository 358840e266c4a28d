#include <array>

#include "Tessra/base/value.h"

namespace tessra {

thread_local constinit KeyMatch* KeyMatch::remembered_ = nullptr;

KeyMatch* KeyMatch::remember() {
  static thread_local std::array<KeyMatch, kRemembered> table;
  return remembered_ = table.data();
}

const KeyMatch& KeyMatch::of_shapes(const KeySet* held, const KeySet* fresh) {
  // Direct-mapped: shapes are never freed, so a stale entry is merely overwritten and never dangles.
  const auto bits = [](const KeySet* keys) { return reinterpret_cast<std::uintptr_t>(keys); };
  const std::uint64_t hash = (bits(held) * 0x9E3779B97F4A7C15 ^ bits(fresh)) * 0xD1B54A32D192ED03;
  KeyMatch& match = (remembered_ != nullptr ? remembered_ : remember())[(hash >> 40) % kRemembered];
  if (!match.is_of(held, fresh)) match.find_places(held, fresh);
  return match;
}

void KeyMatch::find_places(const KeySet* held, const KeySet* fresh) {
  held_ = held;
  fresh_ = fresh;
  is_joined_ = false;
  places_.clear();
  common_.clear();
  for (std::size_t at = 0; at < fresh->count(); ++at) {
    places_.push_back(held->find(fresh->key(at)));
    if (places_.back() != KeySet::kNowhere) common_.push_back({places_.back(), static_cast<std::uint32_t>(at)});
  }
}

const KeySet* KeyMatch::joined() const {
  if (is_joined_) return joined_;  // even if null: the limits that prevented it still hold
  std::vector<Value> names(held_->begin(), held_->begin() + held_->count());
  for (std::size_t at = 0; at < fresh_->count(); ++at) {
    if (places_[at] == KeySet::kNowhere) names.push_back(fresh_->key(at));
  }
  joined_ = KeySet::shape_of(names.data(), names.size());
  is_joined_ = true;
  return joined_;
}

}  // namespace tessra
