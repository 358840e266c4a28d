#include "Tessra/base/list.h"

#include <algorithm>
#include <string>
#include <utility>

#include "Tessra/base/value.h"

namespace tessra {

List::Rep& List::rep() {
  if (rep_ == nullptr) rep_ = new Rep;
  return *rep_;
}

void List::end(Rep* rep) noexcept {
  end_values(std::move(rep->values));
  delete rep;
}

List::List() : rep_(new Rep) {}
List::List(std::initializer_list<Value> values) : List() { rep_->values = values; }
List::List(const List& other) noexcept : rep_(other.rep_) {
  if (rep_ != nullptr) ++rep_->refs;
}
List& List::operator=(List other) noexcept {
  std::swap(rep_, other.rep_);
  return *this;
}
List::~List() {
  if (rep_ != nullptr && --rep_->refs == 0) end(rep_);
}

std::size_t List::size() const { return rep_ != nullptr ? rep_->values.size() : 0; }

const Value& List::at(std::size_t index) const {
  if (index >= size()) {
    throw KeyError("list index " + std::to_string(index) + " out of range, size " + std::to_string(size()));
  }
  return rep_->values[index];
}
Value& List::at(std::size_t index) { return const_cast<Value&>(std::as_const(*this).at(index)); }

void List::push_back(Value value) { rep().values.push_back(std::move(value)); }
void List::insert_front(Value value) {
  Values& values = rep().values;
  values.insert(values.begin(), std::move(value));
}

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
  Values& values = rep().values;
  // Growth stays geometric when a list is extended little by little.
  if (count > values.capacity()) values.reserve(std::max(count, 2 * values.capacity()));
}

const Value* List::begin() const { return rep_ != nullptr ? rep_->values.data() : nullptr; }
const Value* List::end() const { return begin() + size(); }
Value* List::begin() { return const_cast<Value*>(std::as_const(*this).begin()); }
Value* List::end() { return begin() + size(); }

List List::shallow_copy() const {
  List copy;
  if (rep_ != nullptr) copy.rep_->values = rep_->values;
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
