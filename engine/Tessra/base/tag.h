#pragma once

// How the eight bytes of a value encode its kind. Part of value.h; include that instead.

#include <cstdint>

namespace tessra::detail {

/// The upper 16 bits of a value. The lower 48 are the payload: an address (user-space addresses have no more bits), a
/// small integer, or the bytes of a short text.
///
/// A real takes all 64 bits, but most NaN patterns are never needed (NaN boxing). With NaN reduced to one pattern and
/// the head `real` added to the bits of every real, the heads below it are free for the other kinds.
///
/// The order makes two checks a single comparison: tags before `absent` hold a reference, tags after it are plain.
/// `name`, `text` and `string` are one kind: an interned name, a short text stored in the value itself, and a text on
/// the heap; so are `integer` and `wide_integer`, which does not fit the payload. `absent` marks erased entries of a
/// dictionary and is never visible outside.
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
/// The object at the address in the payload.
template <class Held>
Held* held_by(std::uint64_t bits) {
  return reinterpret_cast<Held*>(bits & kPayload);  // NOLINT(performance-no-int-to-ptr): it was stored as an address
}

}  // namespace tessra::detail
