#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

namespace tessra {

/// Requests large pages for memory that will mostly be used: they need fewer TLB entries and far fewer page faults.
/// Only a hint; failure is ignored.
inline void ask_for_large_pages(void* memory, std::size_t bytes) {
  constexpr std::uintptr_t kPage = 4096;
  constexpr std::size_t kWorthwhile = std::size_t{1} << 21;
  if (bytes < kWorthwhile) return;
  auto* begin = static_cast<char*>(memory);
  const std::uintptr_t before = -reinterpret_cast<std::uintptr_t>(begin) & (kPage - 1);
  static_cast<void>(madvise(begin + before, (bytes - before) & ~(kPage - 1), MADV_HUGEPAGE));
}

}  // namespace tessra
