#pragma once

// Memory for the small pieces of value trees. For the sources of the value tree only.
//
// A tree is made of very many small blocks of few sizes, most of which live as short as an update record. Each thread
// keeps the addresses of free blocks of each size in two batches: taking and giving a block needs neither a lock nor a
// look at the block, which may be far from any cache; those to be taken soon are fetched ahead. A batch that is full
// goes to a depot that all threads share, and an empty thread looks there before it cuts new blocks from a chunk. So a
// tree may end on another thread than it began on, and a thread that ends leaves its batches to the others. Chunks are
// never returned: memory stays at its highest mark, and an episode of like updates keeps that mark flat.

#include <cstddef>
#include <cstdint>
#include <new>

// The address sanitizer is to see every block by itself; compilers tell of it in different ways.
#if defined(__SANITIZE_ADDRESS__)
#define TESSRA_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESSRA_ADDRESS_SANITIZER
#endif
#endif

namespace tessra {

class Pool {
 public:
  /// Larger blocks come from the heap.
  static constexpr std::size_t kLargest = 2048;

  static void* take(std::size_t bytes) {
    if (bytes > kLargest) return ::operator new(bytes);
#ifndef TESSRA_ADDRESS_SANITIZER
    if (thread_ != nullptr) {
      Batch* batch = thread_->shelves[size_class(bytes)].batch;
      if (batch != nullptr && batch->count > 0) return batch->take();
    }
#endif
    return take_slowly(bytes);
  }

  static void give(void* memory, std::size_t bytes) noexcept {
    if (bytes > kLargest) return ::operator delete(memory);
#ifndef TESSRA_ADDRESS_SANITIZER
    if (thread_ != nullptr) {
      Batch* batch = thread_->shelves[size_class(bytes)].batch;
      if (batch != nullptr && batch->count < kBatch) return batch->give(memory);
    }
#endif
    give_slowly(memory, bytes);
  }

  /// Bytes of blocks in use, larger ones excepted, while no other thread has free blocks; for measurements.
  static std::size_t used_bytes();

 private:
  static constexpr std::size_t kStep = 16;
  static constexpr std::size_t kClasses = kLargest / kStep + 1;
  static constexpr std::uint32_t kBatch = 126;
  static constexpr std::size_t kChunk = std::size_t{1} << 17;
  static constexpr std::size_t kLargeChunk = std::size_t{1} << 21;
  static constexpr std::size_t kSmallChunks = 16;

  /// Free blocks of one size.
  struct Batch {
    Batch* next = nullptr;  // in the depot
    std::uint32_t count = 0;
    void* blocks[kBatch];

    void* take() {
      constexpr std::uint32_t kAhead = 4;
      if (count > kAhead) __builtin_prefetch(blocks[count - 1 - kAhead], 1);
      return blocks[--count];
    }
    void give(void* block) { blocks[count++] = block; }
  };
  /// A batch in use, and one that is full; either may be missing.
  struct Shelf {
    Batch* batch = nullptr;
    Batch* full = nullptr;
  };
  struct Thread {
    Shelf shelves[kClasses];
    std::byte* fresh = nullptr;  // the rest of the newest chunk
    std::size_t fresh_bytes = 0;
    std::size_t chunks = 0;
  };
  struct Depot;
  struct Leaver;

  static constexpr std::size_t size_class(std::size_t bytes) { return (bytes + kStep - 1) / kStep; }
  static void* take_slowly(std::size_t bytes);
  static void give_slowly(void* memory, std::size_t bytes) noexcept;
  static void* cut(Thread& thread, std::size_t size);
  static void* cut_run(Thread& thread, Shelf& shelf, std::size_t size);
  static std::byte* map(std::size_t bytes);
  static Depot& depot();
  static Thread* join();

  // One pointer, so that it fits the room that libraries loaded late find for such variables.
  [[gnu::tls_model("initial-exec")]] static thread_local constinit Thread* thread_;
  [[gnu::tls_model("initial-exec")]] static thread_local constinit bool left_;
};

}  // namespace tessra
