#include "simulation/difference.h"

#include "Tessra/base/value.h"

namespace tessra::sim {

namespace {

List gone_keys(const Dict& before, const Dict& now) {
  List gone;
  for (const auto& [key, value] : before) {
    if (!now.contains(key)) gone.push_back(key);
  }
  return gone;
}

/// Compares two dictionaries under the same key. Their deletions belong to the outer level, next to the key.
void add_nested(Dict& changes, Dict& deletions, const Value& key, const Dict& before, const Dict& now) {
  const Dict inner = difference(before, now);
  if (!inner.empty()) changes.set(key, inner);
  const List gone = gone_keys(before, now);
  if (!gone.empty()) deletions.set(key, Dict{{"v", gone}});
}

}  // namespace

Dict difference(const Dict& before, const Dict& now) {
  Dict changes;
  Dict deletions;
  for (const auto& [key, value] : now) {
    const Value* old = before.find(key);
    if (old != nullptr && old->is_dict() && value.is_dict()) {
      add_nested(changes, deletions, key, old->as_dict(), value.as_dict());
    } else if (old == nullptr || !(*old == value)) {
      changes.set(key, value.deep_copy());
    }
  }
  if (!deletions.empty()) changes.set("mapdel", deletions);
  return changes;
}

}  // namespace tessra::sim
