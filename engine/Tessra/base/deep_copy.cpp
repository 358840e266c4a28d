#include <unordered_map>

#include "Tessra/base/value.h"

namespace tessra {

/// One deep copy. Only what more than one handle holds can be met twice, so only that is remembered. Texts are copied
/// too: the copy may go to another thread.
class DeepCopy {
 public:
  Value copy(const Value& value) {
    switch (value.tag_) {
      case Value::Tag::string:
        return value.as_text();
      case Value::Tag::list:
        return copy(value.list_);
      case Value::Tag::dictionary:
        return copy(value.dict_);
      default:
        return value;
    }
  }

  Dict copy(const Dict& dict) {
    Dict result;
    if (dict.rep_ == nullptr) return result;
    const bool shared = dict.rep_->refs > 1;
    if (shared) {
      const auto [done, is_new] = dicts_.try_emplace(dict.rep_, result);
      if (!is_new) return done->second;
    }
    check_depth(++depth_);
    copy_keys(*dict.rep_, *result.rep_);
    copy_values(dict.rep_->values, result.rep_->values);
    --depth_;
    return result;
  }

 private:
  List copy(const List& list) {
    List result;
    if (list.rep_ == nullptr) return result;
    const bool shared = list.rep_->refs > 1;
    if (shared) {
      const auto [done, is_new] = lists_.try_emplace(list.rep_, result);
      if (!is_new) return done->second;
    }
    check_depth(++depth_);
    copy_values(list.rep_->values, result.rep_->values);
    --depth_;
    return result;
  }

  void copy_keys(const Dict::Rep& from, Dict::Rep& to) {
    to.first = from.first;
    to.absent = from.absent;
    if (from.keys->is_shape()) {
      to.keys = from.keys;
      return;
    }
    KeySet* own = KeySet::own(from.keys->count());
    to.keys = own;
    for (std::size_t at = 0; at < from.keys->count(); ++at) {
      const Value& key = from.keys->key(at);
      own->append(copy(key), key.is_none() ? 0 : KeyRef(key).hash());  // none stands for an erased key
    }
  }

  /// What is absent stays absent, so that keys and values go on standing side by side.
  void copy_values(const Values& from, Values& to) {
    to.reserve(from.size());
    for (const Value& value : from) to.push_back(copy(value));
  }

  int depth_ = 0;
  std::unordered_map<const Dict::Rep*, Dict> dicts_;
  std::unordered_map<const List::Rep*, List> lists_;
};

Value Value::deep_copy() const { return DeepCopy().copy(*this); }
Dict Dict::deep_copy() const { return DeepCopy().copy(*this); }

}  // namespace tessra
