#include "Tessra/base/list.h"

#include <algorithm>
#include <string>
#include <utility>

#include "Tessra/base/tree_reps.h"

namespace tessra {

List::List() : rep_(new Rep) {}
List::List(std::initializer_list<Value> values) : rep_(new Rep{1, values}) {}
List::List(const List& other) noexcept : rep_(other.rep_) {
  if (rep_ != nullptr) ++rep_->refs;
}
List& List::operator=(List other) noexcept {
  std::swap(rep_, other.rep_);
  return *this;
}
List::~List() {
  if (rep_ != nullptr && --rep_->refs == 0) delete rep_;
}

std::size_t List::size() const { return rep_->values.size(); }

const Value& List::at(std::size_t index) const {
  if (index >= size()) {
    throw KeyError("list index " + std::to_string(index) + " out of range, size " + std::to_string(size()));
  }
  return rep_->values[index];
}
Value& List::at(std::size_t index) { return const_cast<Value&>(std::as_const(*this).at(index)); }

void List::push_back(Value value) { rep_->values.push_back(std::move(value)); }
void List::insert_front(Value value) { rep_->values.insert(rep_->values.begin(), std::move(value)); }

void List::extend(const List& other) {
  const List source = other;                // `other` may stand inside this list and move when it grows
  const std::size_t count = source.size();  // counted before, so that a list can extend itself
  reserve(size() + count);
  for (std::size_t i = 0; i < count; ++i) push_back(source.rep_->values[i]);
}

void List::truncate(std::size_t count) {
  if (count < size()) rep_->values.resize(count);
}

void List::reserve(std::size_t count) {
  // Growth stays geometric when a list is extended little by little.
  if (count > rep_->values.capacity()) rep_->values.reserve(std::max(count, 2 * rep_->values.capacity()));
}

const Value* List::begin() const { return rep_->values.data(); }
const Value* List::end() const { return rep_->values.data() + rep_->values.size(); }
Value* List::begin() { return rep_->values.data(); }
Value* List::end() { return rep_->values.data() + rep_->values.size(); }

List List::shallow_copy() const {
  List copy;
  copy.rep_->values = rep_->values;
  return copy;
}

bool operator==(const List& a, const List& b) { return a.is(b) || a.rep_->values == b.rep_->values; }

}  // namespace tessra
