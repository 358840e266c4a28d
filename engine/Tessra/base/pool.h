#pragma once

// Memory for the small pieces of value trees, and for the elements that hold them. For the engine's own sources.
//
// A tree is made of very many small blocks, most of which live as short as an update record, and it is walked as it was
// built. A processor reads ahead within a page of memory; what costs is to come to another one. So blocks of all sizes
// are cut one behind the other, and the pieces of one unit lie on the same page or two.
//
// Memory is divided into spans. A thread cuts blocks from a hole of one of its spans until the hole is full, and goes
// on with the next hole there, or with another span that has mostly become free. A bit per 16 bytes tells what is
// free, so that neighbours that are given back make one hole again, and what an update leaves behind in the model does
// not keep the rest of its memory.
//
// A thread works on the spans of its store without a lock. A block that ends on another thread goes back to the store
// it came from. A thread that ends leaves its store to the next one, and meanwhile its spans to whoever runs short.
// Nothing is returned to the system: memory stays at its highest mark, and an episode of like updates keeps that mark
// flat.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

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
    Hole& hole = *hole_;
    const std::size_t whole = whole_grains(bytes);
    if (whole <= hole.size()) return hole.cut(whole);
#endif
    return take_slowly(bytes);
  }

  static void give(void* memory, std::size_t bytes) noexcept {
    if (bytes > kLargest) return ::operator delete(memory);
#ifndef TESSRA_ADDRESS_SANITIZER
    if (hole_->take_back(memory, whole_grains(bytes))) return;
    Span& span = Span::of(memory);
    if (span.owner.load(std::memory_order_relaxed) == hole_) {
      if (span.give(memory, whole_grains(bytes))) put_in_turn(span);
      return;
    }
#endif
    give_slowly(memory, bytes);
  }

  // For measurements, while no other thread takes or gives.

  /// Bytes of blocks in use, larger ones excepted, and of the holes that other threads are filling.
  static std::size_t used_bytes();
  /// Bytes that were ever asked of the system for them.
  static std::size_t held_bytes();

 private:
  static constexpr std::size_t kGrain = 16;
  static constexpr std::size_t kSpan = std::size_t{1} << 15;

  static constexpr std::size_t whole_grains(std::size_t bytes) { return (bytes + kGrain - 1) & ~(kGrain - 1); }

  /// Where a thread cuts its next blocks.
  struct Hole {
    std::byte* at = nullptr;
    std::byte* end = nullptr;

    std::size_t size() const { return static_cast<std::size_t>(end - at); }
    void* cut(std::size_t bytes) {
      constexpr std::size_t kAhead = 256;
      __builtin_prefetch(at + kAhead, 1);
      return std::exchange(at, at + bytes);
    }
    /// What was cut last is cut again: memory that is still near. Whether this block was.
    bool take_back(void* block, std::size_t bytes) {
      if (static_cast<std::byte*>(block) + bytes != at) return false;
      at = static_cast<std::byte*>(block);
      return true;
    }
  };

  struct Store;
  /// A piece of memory at an address that is a multiple of its size. It begins with what is known about it.
  struct Span {
    static constexpr std::size_t kGrains = kSpan / kGrain;
    static constexpr std::size_t kWord = 64;
    /// Free bytes that make a span worth filling again. With half of it the holes are smaller and trees more strewn:
    /// the update cycle takes a twentieth longer. With more, a long episode holds more memory for no gain.
    static constexpr std::size_t kRoomy = kSpan / 4 * 3;

    std::atomic<Hole*> owner;                  // that of a store
    Span* next_made = nullptr;                 // of all
    Span* next_roomy = nullptr;                // of those that the owner is to fill again
    std::uint32_t free_bytes = 0;              // outside the hole that is being filled
    bool in_turn = false;                      // whether it is being filled, or is to be filled again
    std::uint64_t free[kGrains / kWord] = {};  // by grain

    explicit Span(Hole& its_owner);
    static Span& of(void* block) {
      const std::uintptr_t inside = reinterpret_cast<std::uintptr_t>(block) & (kSpan - 1);
      return *reinterpret_cast<Span*>(static_cast<std::byte*>(block) - inside);
    }
    std::byte* begin() { return reinterpret_cast<std::byte*>(this); }
    std::size_t grain_of(const void* block) {
      return static_cast<std::size_t>(static_cast<const std::byte*>(block) - begin()) / kGrain;
    }
    /// Frees a block. Whether the span is now to be put in turn.
    bool give(const void* block, std::size_t bytes) {
      flip(grain_of(block), bytes / kGrain);
      free_bytes += static_cast<std::uint32_t>(bytes);
      return free_bytes >= kRoomy && !in_turn;
    }
    /// Takes the first hole of so many bytes or more, from this grain on; an empty one when there is none.
    Hole take_hole(std::size_t from, std::size_t bytes);

   private:
    void flip(std::size_t grain, std::size_t count) {
      while (true) {
        const std::size_t in_word = std::min(count, kWord - grain % kWord);
        free[grain / kWord] ^= ~std::uint64_t{0} >> (kWord - in_word) << grain % kWord;
        if (in_word == count) return;
        grain += in_word;
        count -= in_word;
      }
    }
    /// The first grain from this one on that is free, or is not.
    std::size_t next(std::size_t grain, bool is_free) const;
  };
  struct Depot;
  struct Leaver;

  static void* take_slowly(std::size_t bytes);
  static void put_in_turn(Span& span) noexcept;
  static void give_slowly(void* memory, std::size_t bytes) noexcept;
  static Depot& depot();
  /// The thread's store, which it gets now if it had none.
  static Store& join();
  static void leave();

  /// Of a thread that has not taken anything yet, or has ended.
  static constinit Hole no_hole_;
  // One pointer, so that it fits the room that libraries loaded late find for such variables.
  [[gnu::tls_model("initial-exec")]] static thread_local constinit Hole* hole_;
  [[gnu::tls_model("initial-exec")]] static thread_local constinit bool left_;
};

/// For `std::allocate_shared`.
template <class T>
struct PoolAllocator {
  using value_type = T;

  PoolAllocator() = default;
  template <class Other>
  PoolAllocator(const PoolAllocator<Other>& /*other*/) {}
  T* allocate(std::size_t count) { return static_cast<T*>(Pool::take(count * sizeof(T))); }
  void deallocate(T* memory, std::size_t count) noexcept { Pool::give(memory, count * sizeof(T)); }
  friend bool operator==(const PoolAllocator& /*a*/, const PoolAllocator& /*b*/) { return true; }
};

}  // namespace tessra
