#pragma once

// How a value of eight bytes shows its kind. Part of value.h, which is what others include.

#include <cstdint>

namespace tessra::detail {

/// What stands in the upper 16 bits of a value; the payload is in the lower 48: an address, a small integer, or the
/// bytes of a short text. Addresses of processes have no more bits.
///
/// A real takes all 64 bits. But most of the patterns that stand for no number are never needed (NaN boxing): with one
/// of them left, and all reals counted up by the head `real`, the heads below that are free for the other kinds.
///
/// The order lets one comparison tell what holds a reference, which comes before `absent`, and what is plain, which
/// comes after it. `name`, `text` and `string` are one kind: a known field name, a short text that stands in the value
/// itself, and one with bytes of its own; so are `integer` and `wide_integer`, which does not fit the payload. `absent`
/// marks the erased entries of a dictionary; nobody else ever sees it.
enum class Tag : std::uint16_t {
  dictionary,  // 0, so that a handle is the address itself
  list,
  string,
  wide_integer,
  host,
  absent,
  none,
  boolean,
  integer,
  name,
  text,
  real
};

constexpr int kTagShift = 48;
constexpr std::uint64_t kPayload = (std::uint64_t{1} << kTagShift) - 1;
constexpr std::uint64_t head_of(Tag tag) { return static_cast<std::uint64_t>(tag) << kTagShift; }
inline std::uint64_t bits_of(Tag tag, const void* address) {
  return head_of(tag) | reinterpret_cast<std::uintptr_t>(address);
}
/// What is at the address in the payload.
template <class Held>
Held* held_by(std::uint64_t bits) {
  return reinterpret_cast<Held*>(bits & kPayload);  // NOLINT(performance-no-int-to-ptr): it was put there as an address
}

}  // namespace tessra::detail
