#pragma once

// Allocator for the small blocks of value trees, and for the elements that hold them. Internal to the engine.
//
// A tree consists of very many small blocks, most of which live only as long as an update record, and it is traversed
// in the order it was built. Hardware prefetch works within a memory page; crossing to another page is expensive.
// Blocks of all sizes are therefore cut one after the other (bump allocation), so that the parts of a unit share a page
// or two.
//
// Memory is divided into spans. A thread cuts blocks from a hole of one of its spans until the hole is used up, then
// continues with the next hole of the span, or with another span that has become mostly free. A bitmap with one bit per
// 16 bytes records what is free: adjacent freed blocks merge into one hole, and the few blocks of an update that stay
// in the model do not pin the rest of its memory.
//
// A thread works on the spans of its store without a lock. A block freed on another thread returns to the store it came
// from. When a thread ends, the next new thread takes over its store; until then its spans are available to threads
// that run short. Nothing is returned to the system: memory stays at its peak, which remains flat over an episode of
// similar updates.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

// Under the address sanitizer every block comes from the heap, so that it is tracked; compilers announce it
// differently.
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

  // For measurements, while no other thread allocates or frees.

  /// Bytes of blocks in use, without those over `kLargest`, plus the holes that other threads are filling.
  static std::size_t used_bytes();
  /// Bytes requested from the system so far.
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
    void* cut(std::size_t bytes) { return std::exchange(at, at + bytes); }
    /// Takes back the block that was cut last, so that its memory is reused while still cached. False for other blocks.
    bool take_back(void* block, std::size_t bytes) {
      if (static_cast<std::byte*>(block) + bytes != at) return false;
      at = static_cast<std::byte*>(block);
      return true;
    }
  };

  struct Store;
  /// A piece of memory aligned to its size, with this header at its start: a block's span follows from its address.
  struct Span {
    static constexpr std::size_t kGrains = kSpan / kGrain;
    static constexpr std::size_t kWord = 64;
    /// Free bytes that make a span worth refilling. With half as many, holes are smaller and trees more scattered: the
    /// update cycle takes 5 % longer. With more, a long episode holds more memory without any gain.
    static constexpr std::size_t kRoomy = kSpan / 4 * 3;

    std::atomic<Hole*> owner;                  // the hole of the owning store
    Span* next_made = nullptr;                 // list of all spans
    Span* next_roomy = nullptr;                // list of those the owner will refill
    std::uint32_t free_bytes = 0;              // without the hole that is being filled
    bool in_turn = false;                      // being filled, or queued for refilling
    std::uint64_t free[kGrains / kWord] = {};  // bitmap of free grains

    explicit Span(Hole& its_owner);
    static Span& of(void* block) {
      const std::uintptr_t inside = reinterpret_cast<std::uintptr_t>(block) & (kSpan - 1);
      return *reinterpret_cast<Span*>(static_cast<std::byte*>(block) - inside);
    }
    std::byte* begin() { return reinterpret_cast<std::byte*>(this); }
    std::size_t grain_of(const void* block) {
      return static_cast<std::size_t>(static_cast<const std::byte*>(block) - begin()) / kGrain;
    }
    /// Frees a block. Returns true when the span should now be queued for refilling.
    bool give(const void* block, std::size_t bytes) {
      flip(grain_of(block), bytes / kGrain);
      free_bytes += static_cast<std::uint32_t>(bytes);
      return free_bytes >= kRoomy && !in_turn;
    }
    /// Takes the first hole of at least this many bytes, from this grain on; an empty one if there is none.
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
    /// The first grain from this one on whose state is `is_free`.
    std::size_t next(std::size_t grain, bool is_free) const;
  };
  struct Depot;
  struct Leaver;

  static void* take_slowly(std::size_t bytes);
  static void put_in_turn(Span& span) noexcept;
  static void give_slowly(void* memory, std::size_t bytes) noexcept;
  static Depot& depot();
  /// The thread's store, assigned on first use.
  static Store& join();
  static void leave();

  /// The hole of a thread that has not allocated yet, or has ended.
  static constinit Hole no_hole_;
  // A single pointer, so that it fits the static TLS space left for libraries loaded at run time.
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
