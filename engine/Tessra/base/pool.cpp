// The slow paths of the pool: spans and their holes, the stores of threads, and the depot they share. pool.h describes
// the design.

#include "Tessra/base/pool.h"

#include <sys/mman.h>

#include <bit>
#include <mutex>
#include <new>

#include "Tessra/base/large_pages.h"

namespace tessra {

constinit Pool::Hole Pool::no_hole_;
thread_local constinit Pool::Hole* Pool::hole_ = &no_hole_;
thread_local constinit bool Pool::left_ = false;

namespace {

/// Fresh memory from the system, aligned to its size, a power of two: maps twice as much and unmaps the rest.
std::byte* map_aligned(std::size_t bytes) {
  void* mapped = mmap(nullptr, 2 * bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  auto* begin = static_cast<std::byte*>(mapped);
  const std::size_t before = -reinterpret_cast<std::uintptr_t>(begin) & (bytes - 1);
  if (before > 0) munmap(begin, before);
  munmap(begin + before + bytes, bytes - before);
  return begin + before;
}

}  // namespace

// ---- Spans ------------------------------------------------------------------------------------------------------

Pool::Span::Span(Hole& its_owner) : owner(&its_owner) {
  const std::size_t first = whole_grains(sizeof(Span)) / kGrain;
  flip(first, kGrains - first);
  free_bytes = static_cast<std::uint32_t>((kGrains - first) * kGrain);
}

std::size_t Pool::Span::next(std::size_t grain, bool is_free) const {
  for (; grain < kGrains; grain = (grain / kWord + 1) * kWord) {
    const std::uint64_t word = is_free ? free[grain / kWord] : ~free[grain / kWord];
    const std::uint64_t rest = word >> grain % kWord;
    if (rest != 0) return grain + static_cast<std::size_t>(std::countr_zero(rest));
  }
  return kGrains;
}

Pool::Hole Pool::Span::take_hole(std::size_t from, std::size_t bytes) {
  while (from < kGrains) {
    const std::size_t first = next(from, true);
    const std::size_t end = next(first, false);
    const std::size_t found = (end - first) * kGrain;
    if (found >= bytes) {
      flip(first, end - first);
      free_bytes -= static_cast<std::uint32_t>(found);
      return {begin() + first * kGrain, begin() + end * kGrain};
    }
    from = end;
  }
  return {};
}

// ---- Stores -----------------------------------------------------------------------------------------------------

/// The state of one thread: its spans, and as the base class the hole in one of them that it is filling.
struct Pool::Store : Hole {
  /// A block freed on a thread with another store; a link in the list of those, stored in the freed memory.
  struct Returned {
    Returned* next;
    std::size_t bytes;
  };

  Span* filled = nullptr;                     // the span of the hole
  Span* roomy = nullptr;                      // spans queued for refilling
  std::atomic<Returned*> returned = nullptr;  // lock-free stack, pushed to by other threads
  std::byte* fresh = nullptr;                 // unused rest of the newest chunk
  std::size_t fresh_bytes = 0;
  std::size_t chunks = 0;
  Store* next = nullptr;  // list of idle stores in the depot

  /// Switches to a hole with room for this many bytes; false if there is none.
  bool find_hole(std::size_t bytes) {
    if (filled != nullptr) {
      const std::size_t behind = filled->grain_of(end);
      if (at < end) filled->give(at, size());  // the unused rest of the old hole
      if (enter(*filled, behind, bytes)) return true;
      leave();
    }
    while (Span* span = take_roomy()) {
      if (enter(*span, 0, bytes)) return true;
      span->in_turn = false;  // too fragmented; queued again when more of it is freed
    }
    return false;
  }
  void put(Span& span) {
    span.in_turn = true;
    span.next_roomy = std::exchange(roomy, &span);
  }
  Span* take_roomy() { return roomy != nullptr ? std::exchange(roomy, roomy->next_roomy) : nullptr; }
  /// Frees the blocks that other threads returned. Goes through `give`, since a span may have moved to another store
  /// meanwhile. Only the thread that owns the store calls it.
  void collect() {
    for (Returned* block = returned.exchange(nullptr, std::memory_order_acquire); block != nullptr;) {
      Returned* following = block->next;
      give(block, block->bytes);
      block = following;
    }
  }
  void add_span();

 private:
  bool enter(Span& span, std::size_t from, std::size_t bytes) {
    const Hole found = span.take_hole(from, bytes);
    if (found.size() == 0) return false;
    static_cast<Hole&>(*this) = found;
    filled = &span;
    return true;
  }
  void leave() {
    static_cast<Hole&>(*this) = Hole();
    Span& left = *std::exchange(filled, nullptr);
    left.in_turn = false;
    if (left.free_bytes >= Span::kRoomy) put(left);
  }
};

/// What threads share: the stores of ended threads, and the list of all spans.
struct Pool::Depot {
  std::mutex mutex;
  Store* idle = nullptr;
  std::atomic<Span*> made = nullptr;

  Store* take_idle() {
    const std::lock_guard lock(mutex);
    return idle != nullptr ? std::exchange(idle, idle->next) : new Store;
  }
  void leave(Store& store) {
    const std::lock_guard lock(mutex);
    store.next = std::exchange(idle, &store);
  }
  /// Moves a span that can be refilled from an idle store to this one, if there is any.
  void help(Store& short_one) {
    const std::lock_guard lock(mutex);
    for (Store* store = idle; store != nullptr; store = store->next) {
      Span* span = store->take_roomy();
      if (span == nullptr) continue;
      span->owner.store(&short_one, std::memory_order_release);
      return short_one.put(*span);
    }
  }
  template <class Visit>
  void for_each_span(Visit&& visit) {
    for (Span* span = made.load(std::memory_order_acquire); span != nullptr; span = span->next_made) visit(*span);
  }
};

void Pool::Store::add_span() {
  if (fresh_bytes == 0) {
    // Small chunks first, so that a small tree takes little memory; a large model gets chunks of the size of a large
    // page, which saves TLB misses.
    constexpr std::size_t kChunk = std::size_t{1} << 17;
    constexpr std::size_t kLargeChunk = std::size_t{1} << 21;
    constexpr std::size_t kSmallChunks = 16;
    const std::size_t bytes = chunks >= kSmallChunks ? kLargeChunk : kChunk;
    fresh = map_aligned(bytes);
    fresh_bytes = bytes;
    ++chunks;
    ask_for_large_pages(fresh, bytes);
  }
  fresh_bytes -= kSpan;
  auto* span = new (std::exchange(fresh, fresh + kSpan)) Span(*this);
  span->next_made = depot().made.load(std::memory_order_relaxed);
  while (!depot().made.compare_exchange_weak(span->next_made, span, std::memory_order_release)) {
  }
  put(*span);
}

// ---- Threads ----------------------------------------------------------------------------------------------------

/// Returns the store to the depot when its thread ends. Blocks freed later on this thread, by other thread-local
/// destructors, are returned as from another thread.
struct Pool::Leaver {
  ~Leaver() {
    left_ = true;
    leave();
  }
};

Pool::Depot& Pool::depot() {
  static Depot& depot = *new Depot;  // never destroyed: trees in statics may outlive it
  return depot;
}

Pool::Store& Pool::join() {
  if (hole_ == &no_hole_) hole_ = depot().take_idle();
  if (!left_) {
    static thread_local const Leaver leaver;
    static_cast<void>(leaver);
  }
  return static_cast<Store&>(*hole_);
}

void Pool::leave() { depot().leave(static_cast<Store&>(*std::exchange(hole_, &no_hole_))); }

void Pool::put_in_turn(Span& span) noexcept { static_cast<Store*>(hole_)->put(span); }

#ifdef TESSRA_ADDRESS_SANITIZER

void* Pool::take_slowly(std::size_t bytes) { return ::operator new(bytes); }
void Pool::give_slowly(void* memory, std::size_t /*bytes*/) noexcept { ::operator delete(memory); }

#else

void* Pool::take_slowly(std::size_t bytes) {
  const std::size_t whole = whole_grains(bytes);
  Store& store = join();
  // From cheap to expensive: own holes, blocks returned by others, spans of ended threads, new memory.
  if (!store.find_hole(whole)) {
    store.collect();
    if (store.roomy == nullptr) depot().help(store);
    while (!store.find_hole(whole)) store.add_span();
  }
  void* block = store.cut(whole);
  if (left_) leave();  // the thread is ending and no destructor will run again: borrow a store per block
  return block;
}

void Pool::give_slowly(void* memory, std::size_t bytes) noexcept {
  auto& store = static_cast<Store&>(*Span::of(memory).owner.load(std::memory_order_acquire));
  auto* block = new (memory) Store::Returned{store.returned.load(std::memory_order_relaxed), bytes};
  while (!store.returned.compare_exchange_weak(block->next, block, std::memory_order_release)) {
  }
}

#endif

std::size_t Pool::used_bytes() {
  std::size_t used = 0;
  depot().for_each_span([&used](const Span& span) { used += kSpan - whole_grains(sizeof(Span)) - span.free_bytes; });
  return used - hole_->size();
}

std::size_t Pool::held_bytes() {
  std::size_t held = 0;
  depot().for_each_span([&held](const Span& /*span*/) { held += kSpan; });
  return held;
}

}  // namespace tessra
