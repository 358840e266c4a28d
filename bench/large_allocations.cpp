#include "bench/large_allocations.h"

#include <atomic>
#include <limits>

namespace tessra::bench {

namespace {

std::atomic<std::size_t> large_from = std::numeric_limits<std::size_t>::max();
std::atomic<std::size_t> large_count = 0;
std::atomic<std::size_t> large_bytes = 0;

#if !TESSRA_SANITIZED
void note_allocation(std::size_t size) {
  if (size < large_from.load(std::memory_order_relaxed)) return;
  large_count.fetch_add(1, std::memory_order_relaxed);
  large_bytes.fetch_add(size, std::memory_order_relaxed);
}
#endif

}  // namespace

void count_large_allocations(std::size_t from_bytes) {
  large_count = 0;
  large_bytes = 0;
  large_from = from_bytes;
}

LargeAllocations large_allocations() { return {large_count, large_bytes}; }

#if !TESSRA_SANITIZED

// A program's own malloc comes before the C library's, for all libraries that it uses.
extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(std::size_t size) {
  note_allocation(size);
  return __libc_malloc(size);
}

void* realloc(void* ptr, std::size_t size) {
  note_allocation(size);
  return __libc_realloc(ptr, size);
}

}  // extern "C"

#endif

}  // namespace tessra::bench
