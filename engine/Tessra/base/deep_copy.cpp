#include <unordered_map>

#include "Tessra/base/value.h"

namespace tessra {

/// One deep copy. Only a row with more than one handle can be reached twice, so only those are recorded.
class DeepCopy {
 public:
  explicit DeepCopy(Texts texts) : texts_(texts) {}

  Value copy(const Value& value) {
    switch (value.tag()) {
      case Value::Tag::string:
        return texts_ == Texts::shared ? value : Value(value.as_text(), value.known_hash());
      case Value::Tag::wide_integer:
        return texts_ == Texts::shared ? value : Value(value.integer());
      case Value::Tag::list:
        return copy(value.list_);
      case Value::Tag::dictionary:
        return copy(value.dict_);
      default:
        return value;
    }
  }

  Dict copy(const Dict& dict) { return copy_row(dict.row_, dicts_); }

 private:
  List copy(const List& list) { return copy_row(list.held(), lists_); }

  template <class Handle>
  Handle copy_row(const Row* from, std::unordered_map<const Row*, Handle>& copies) {
    if (from == nullptr) return {};
    Row* row = Row::make(from->count, from->keys != nullptr ? KeySet::none() : nullptr);
    Handle result(row);
    // Recorded before its values are copied: the tree may contain itself.
    if (from->refs > 1) {
      const auto [done, is_new] = copies.try_emplace(from, result);
      if (!is_new) return done->second;
    }
    check_depth(++depth_);
    if (from->keys != nullptr) row->keys = copy_keys(*from->keys);
    // Absent values stay absent, so that keys and values keep the same places.
    for (std::size_t at = 0; at < from->count; ++at) {
      const Value& value = from->values[at];
      row->add(value.counted() != nullptr ? copy(value) : Value(value));
    }
    row->absent = from->absent;
    --depth_;
    return result;
  }

  const KeySet* copy_keys(const KeySet& keys) {
    if (keys.is_shape()) return &keys;
    KeySet* own = KeySet::own(keys.begin(), keys.count(), keys.count());
    if (texts_ == Texts::shared) return own;
    for (std::size_t at = 0; at < keys.count(); ++at) own->keys()[at] = copy(keys.key(at));
    return own;
  }

  const Texts texts_;
  int depth_ = 0;
  std::unordered_map<const Row*, Dict> dicts_;
  std::unordered_map<const Row*, List> lists_;
};

Value Value::deep_copy(Texts texts) const { return DeepCopy(texts).copy(*this); }
Dict Dict::deep_copy(Texts texts) const { return DeepCopy(texts).copy(*this); }

}  // namespace tessra
