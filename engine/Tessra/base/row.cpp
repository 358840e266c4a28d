// Rows: growing, copying, and destroying trees without recursion.

#include <cstring>
#include <utility>

#include "Tessra/base/value.h"

namespace tessra {

namespace {

std::size_t block_bytes(std::size_t behind) { return sizeof(Row) + behind * sizeof(Value); }
/// A separate block of values starts with its room.
std::size_t outside_bytes(std::size_t room) { return sizeof(std::uint64_t) + room * sizeof(Value); }

/// Values are trivially relocatable: moving the bytes moves the value.
void move_values(Value* to, const Value* from, std::size_t count) {
  if (count > 0) std::memcpy(static_cast<void*>(to), static_cast<const void*>(from), count * sizeof(Value));
}

Value* make_outside(std::size_t room) {
  auto* block = static_cast<std::uint64_t*>(Pool::take(outside_bytes(room)));
  *block = room;
  return reinterpret_cast<Value*>(block + 1);
}

}  // namespace

Row* Row::make(std::size_t room, const KeySet* keys) {
  const std::size_t behind = room <= kMostBehind ? room : 0;
  Row* row = new (Pool::take(block_bytes(behind))) Row(behind, keys);
  if (behind < room) row->values = make_outside(room);
  return row;
}

void Row::enlarge(Row*& row, std::size_t room) {
  if (room > UINT32_MAX) throw LimitError("more than 2^32 entries");
  // With a single handle nobody else knows the address, so the row may move; otherwise only its values do.
  if (row->refs == 1 && room <= kMostBehind) {
    Row* larger = make(room, row->keys);
    larger->count = row->count;
    larger->absent = row->absent;
    move_values(larger->values, row->values, row->count);
    row->free_outside();
    std::exchange(row, larger)->free_block();
    return;
  }
  Value* values = make_outside(room);
  move_values(values, row->values, row->count);
  row->free_outside();
  row->values = values;
}

void Row::free_outside() noexcept {
  if (is_outside()) Pool::give(reinterpret_cast<std::uint64_t*>(values) - 1, outside_bytes(outside_room()));
}

void Row::free_block() noexcept { Pool::give(this, block_bytes(behind)); }

void Row::add_all(const Row& other) {
  for (std::size_t at = 0; at < other.count; ++at) {
    const Value& value = other.values[at];
    if (Value::Counted* held = value.counted()) ++held->refs;
  }
  move_values(values + count, other.values, other.count);
  count += other.count;
  absent += other.absent;
}

void Row::take_all(Row& other) {
  move_values(values + count, other.values, other.count);
  count += std::exchange(other.count, 0);
  absent += std::exchange(other.absent, 0);
}

void Row::cut(std::size_t at) noexcept {
  while (count > at) values[--count].~Value();
}

Row* Row::take_out() {
  Row* taken = make(count, nullptr);
  move_values(taken->values, values, count);
  taken->count = std::exchange(count, 0);
  absent = 0;
  return taken;
}

/// Destroys a row and everything it holds the last reference to, iteratively: open rows form a linked list instead of a
/// call stack.
///
/// The destructor of a host object may destroy another tree, and that one further host objects. Each such tree is
/// destroyed right away by a nested `Ending`, up to a limit that protects the stack; beyond it the row is left to the
/// innermost one.
class Row::Ending {
 public:
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;

  static void end(Row* row) {
    constexpr int kMostInside = 100;
    if (innermost_ != nullptr && innermost_->depth_ == kMostInside) {
      innermost_->open(row);
    } else {
      Ending(row).run();
    }
  }

 private:
  explicit Ending(Row* row)
      : outside_(std::exchange(innermost_, this)), depth_(outside_ != nullptr ? outside_->depth_ + 1 : 1) {
    open(row);
  }
  ~Ending() { innermost_ = outside_; }

  void run() {
    while (open_ != nullptr) {
      if (open_->come_to < open_->count) {
        let_go(open_->values[open_->come_to++]);
      } else {
        Row* ended = std::exchange(open_, open_->outer);
        ended->free_outside();
        ended->free_block();
      }
    }
  }
  void open(Row* row) {
    if (row->keys != nullptr) KeySet::drop(row->keys);
    row->outer = std::exchange(open_, row);
    row->come_to = 0;
  }
  void let_go(const Value& value) {
    Value::Counted* held = value.counted();
    if (held == nullptr || --held->refs > 0) return;
    if (value.tag() == Value::Tag::list || value.tag() == Value::Tag::dictionary) {
      open(reinterpret_cast<Row*>(held));
    } else {
      Value::end_leaf(value.tag(), held);
    }
  }

  [[gnu::tls_model("initial-exec")]] static thread_local constinit Ending* innermost_;

  Ending* const outside_;
  const int depth_;
  Row* open_ = nullptr;  // innermost open row
};

thread_local constinit Row::Ending* Row::Ending::innermost_ = nullptr;

void Row::end(Row* row) noexcept {
  if (row->count > 0) {
    Ending::end(row);
    return;
  }
  // Common: the values were moved to another row.
  if (row->keys != nullptr) KeySet::drop(row->keys);
  row->free_outside();
  row->free_block();
}

}  // namespace tessra
