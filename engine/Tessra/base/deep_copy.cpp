#include <unordered_map>

#include "Tessra/base/tree_reps.h"

namespace tessra {

/// One deep copy. Only what more than one handle holds can be met twice, so only that is remembered.
class DeepCopy {
 public:
  Value copy(const Value& value) {
    if (const List* list = value.if_list()) return copy(*list);
    if (const Dict* dict = value.if_dict()) return copy(*dict);
    return value;
  }

  Dict copy(const Dict& dict) {
    const bool shared = dict.rep_->refs > 1;
    if (shared) {
      if (const auto done = dicts_.find(dict.rep_); done != dicts_.end()) return done->second;
    }
    Dict result;
    if (shared) dicts_.emplace(dict.rep_, result);
    result.reserve(dict.size());
    for (const auto& entry : dict.rep_->table.entries()) {
      if (entry.live) result.rep_->table.append(entry.key, entry.hash, copy(entry.value));
    }
    return result;
  }

 private:
  List copy(const List& list) {
    const bool shared = list.rep_->refs > 1;
    if (shared) {
      if (const auto done = lists_.find(list.rep_); done != lists_.end()) return done->second;
    }
    List result;
    if (shared) lists_.emplace(list.rep_, result);
    result.reserve(list.size());
    for (const Value& entry : list) result.push_back(copy(entry));
    return result;
  }

  std::unordered_map<const Dict::Rep*, Dict> dicts_;
  std::unordered_map<const List::Rep*, List> lists_;
};

Value Value::deep_copy() const { return DeepCopy().copy(*this); }
Dict Dict::deep_copy() const { return DeepCopy().copy(*this); }

}  // namespace tessra
