#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

namespace tessra {

/// Asks for large pages under memory that is going to be touched in most parts: the processor keeps track of them more
/// easily, and their first touch costs a fraction. A wish: nothing depends on it.
inline void ask_for_large_pages(const void* begin, std::size_t bytes) {
  constexpr std::uintptr_t kPage = 4096;
  constexpr std::size_t kWorthwhile = std::size_t{1} << 21;
  if (bytes < kWorthwhile) return;
  const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(begin) + kPage - 1) & ~(kPage - 1);
  const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(begin) + bytes) & ~(kPage - 1);
  static_cast<void>(madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE));
}

}  // namespace tessra
