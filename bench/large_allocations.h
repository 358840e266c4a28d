#pragma once

#include <cstddef>

namespace tessra::bench {

/// Large blocks that the process has asked malloc for.
struct LargeAllocations {
  std::size_t count = 0;
  std::size_t bytes = 0;
};

/// Counts those of at least so many bytes from now on, in all threads. A build with sanitizers, which have a malloc of
/// their own, counts none.
void count_large_allocations(std::size_t from_bytes);
/// Those since then.
LargeAllocations large_allocations();

}  // namespace tessra::bench
