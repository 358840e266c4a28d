#include "Tessra/base/list.h"

#include <algorithm>
#include <string>
#include <utility>

#include "Tessra/base/value.h"

namespace tessra {

Row& List::make_row() const {
  hold(Row::make(0, nullptr));
  return *held();
}

List::List(std::initializer_list<Value> values) : List(Row::make(values.size(), nullptr)) {
  for (const Value& value : values) held()->add(Value(value));
}
List& List::operator=(List other) noexcept {
  std::swap(bits_, other.bits_);
  return *this;
}

std::size_t List::size() const { return held() != nullptr ? held()->count : 0; }

const Value& List::at(std::size_t index) const {
  if (index >= size()) {
    throw KeyError("list index " + std::to_string(index) + " out of range, size " + std::to_string(size()));
  }
  return held()->values[index];
}
Value& List::at(std::size_t index) { return const_cast<Value&>(std::as_const(*this).at(index)); }

void List::push_back(Value value) {
  Row* values = &row();
  Row::reserve_one(values);
  hold(values);
  values->add(std::move(value));
}

void List::insert_front(Value value) {
  push_back(std::move(value));
  std::rotate(begin(), end() - 1, end());
}

void List::extend(const List& other) {
  // `other` may be an element of this list and move when it grows.
  const List source = other;                // NOLINT(performance-unnecessary-copy-initialization)
  const std::size_t count = source.size();  // taken first, so that a list can extend itself
  for (std::size_t i = 0; i < count; ++i) push_back(Value(source.held()->values[i]));
}

void List::truncate(std::size_t count) {
  if (count < size()) held()->cut(count);
}

void List::reserve(std::size_t count) {
  Row* values = &row();
  if (count > values->count) Row::reserve(values, count - values->count);
  hold(values);
}

const Value* List::begin() const { return held() != nullptr ? held()->values : nullptr; }
const Value* List::end() const { return begin() + size(); }
Value* List::begin() { return const_cast<Value*>(std::as_const(*this).begin()); }
Value* List::end() { return begin() + size(); }

List List::shallow_copy() const {
  List copy;
  copy.reserve(size());
  for (const Value& value : *this) copy.held()->add(Value(value));
  return copy;
}

bool operator==(const List& a, const List& b) { return List::equal(a, b, 1); }

bool List::equal(const List& a, const List& b, int depth) {
  if (a.is(b)) return true;
  check_depth(depth);
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](const Value& x, const Value& y) { return Value::equal(x, y, depth); });
}

}  // namespace tessra
