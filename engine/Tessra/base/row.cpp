#include <cstring>
#include <utility>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra {

namespace {

/// Rows that were nested too deep to end at once. Made when the first one comes.
using Later = std::vector<Row*>;
[[gnu::tls_model("initial-exec")]] thread_local constinit Later* later = nullptr;
[[gnu::tls_model("initial-exec")]] thread_local constinit int depth = 0;

std::size_t block_bytes(std::size_t behind) { return sizeof(Row) + behind * sizeof(Value); }
/// Values in a block of their own have its room noted in front of them.
std::size_t outside_bytes(std::size_t room) { return sizeof(std::uint64_t) + room * sizeof(Value); }

/// Values are moved by their bytes.
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
  move_values(values + count, other.values, other.count);
  for (std::size_t at = 0; at < other.count; ++at) {
    const Value& value = other.values[at];
    if (value.is_counted() && value.counted_ != nullptr) ++value.counted_->refs;
  }
  count += other.count;
  absent += other.absent;
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

void Row::end_now() noexcept {
  for (std::size_t at = 0; at < count; ++at) {
    fetch_ahead(at);
    values[at].~Value();
  }
  if (keys != nullptr) KeySet::drop(keys);
  free_outside();
  free_block();
}

void Row::end(Row* row) noexcept {
  constexpr int kDirect = 100;
  if (depth == kDirect) {
    // Out of memory here ends the program, as everywhere.  NOLINTNEXTLINE(bugprone-unhandled-exception-at-new)
    if (later == nullptr) later = new Later;
    later->push_back(row);
    return;
  }
  ++depth;
  row->end_now();
  --depth;
  if (depth > 0 || later == nullptr) return;
  ++depth;
  while (!later->empty()) {
    Row* next = later->back();
    later->pop_back();
    next->end_now();
  }
  --depth;
  delete std::exchange(later, nullptr);
}

}  // namespace tessra
