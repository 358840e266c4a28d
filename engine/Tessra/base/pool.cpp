#include "Tessra/base/pool.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <new>
#include <utility>

#include "Tessra/base/large_pages.h"

namespace tessra {

thread_local constinit Pool::Thread* Pool::thread_ = nullptr;
thread_local constinit bool Pool::left_ = false;

/// What threads leave to each other.
struct Pool::Depot {
  std::mutex mutex;
  std::array<Batch*, kClasses> batches{};
  Batch* empty = nullptr;
  std::size_t chunk_bytes = 0;  // of all threads

  void put(std::size_t at, Batch* batch) {
    if (batch == nullptr) return;
    const std::lock_guard lock(mutex);
    push(batch->count > 0 ? batches[at] : empty, batch);
  }
  /// One block, of or for a thread that has left.
  void put_block(std::size_t at, void* block) {
    const std::lock_guard lock(mutex);
    if (batches[at] == nullptr || batches[at]->count == kBatch) {
      Batch* fresh = pop(empty);
      push(batches[at], fresh != nullptr ? fresh : new Batch);
    }
    batches[at]->give(block);
  }
  void* take_block(std::size_t at) {
    const std::lock_guard lock(mutex);
    Batch* batch = batches[at];
    if (batch == nullptr) return ::operator new(at* kStep);
    void* block = batch->take();
    if (batch->count == 0) push(empty, pop(batches[at]));
    return block;
  }
  /// A batch with blocks, or null.
  Batch* get(std::size_t at) {
    const std::lock_guard lock(mutex);
    return pop(batches[at]);
  }
  Batch* get_empty() {
    {
      const std::lock_guard lock(mutex);
      if (Batch* batch = pop(empty)) return batch;
    }
    return new Batch;
  }

 private:
  static void push(Batch*& list, Batch* batch) { batch->next = std::exchange(list, batch); }
  static Batch* pop(Batch*& list) { return list != nullptr ? std::exchange(list, list->next) : nullptr; }
};

/// Leaves a thread's blocks to the others when the thread ends. What is given back later goes to the depot at once.
struct Pool::Leaver {
  ~Leaver() {
    const Thread* leaving = std::exchange(thread_, nullptr);
    left_ = true;
    for (std::size_t at = 0; at < kClasses; ++at) {
      depot().put(at, leaving->shelves[at].batch);
      depot().put(at, leaving->shelves[at].full);
    }
    delete leaving;
  }
};

Pool::Depot& Pool::depot() {
  static Depot& depot = *new Depot;  // never ends: trees may end after it otherwise would
  return depot;
}

Pool::Thread* Pool::join() {
  if (thread_ == nullptr && !left_) {
    thread_ = new Thread;
    static thread_local const Leaver leaver;
    static_cast<void>(leaver);
  }
  return thread_;
}

/// Fresh memory from the system, aligned to its size.
std::byte* Pool::map(std::size_t bytes) {
  void* mapped = mmap(nullptr, 2 * bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  auto* begin = static_cast<std::byte*>(mapped);
  const std::size_t before = -reinterpret_cast<std::uintptr_t>(begin) & (bytes - 1);
  if (before > 0) munmap(begin, before);
  munmap(begin + before + bytes, bytes - before);
  return begin + before;
}

void* Pool::cut(Thread& thread, std::size_t size) {
  if (thread.fresh_bytes < size) {
    // A small tree stays small. A large model lies on large pages, of which the processor can keep track.
    const std::size_t bytes = thread.chunks >= kSmallChunks ? kLargeChunk : kChunk;
    thread.fresh = map(bytes);
    thread.fresh_bytes = bytes;
    ++thread.chunks;
    ask_for_large_pages(thread.fresh, bytes);
    const std::lock_guard lock(depot().mutex);
    depot().chunk_bytes += bytes;
  }
  thread.fresh_bytes -= size;
  return std::exchange(thread.fresh, thread.fresh + size);
}

/// One block, and on the shelf those behind it: blocks of a size are mostly used in the order in which they lie, and
/// then memory is walked in order.
void* Pool::cut_run(Thread& thread, Shelf& shelf, std::size_t size) {
  constexpr std::size_t kRun = std::size_t{1} << 14;
  if (shelf.batch == nullptr) shelf.batch = depot().get_empty();
  const std::size_t most = std::min<std::size_t>(kBatch, kRun / size);
  const std::size_t count = std::clamp<std::size_t>(thread.fresh_bytes / size, 1, most);
  auto* run = static_cast<std::byte*>(cut(thread, count * size));
  for (std::size_t block = count; --block > 0;) shelf.batch->give(run + block * size);
  return run;
}

std::size_t Pool::used_bytes() {
  std::size_t idle = 0;
  const auto add = [&idle](std::size_t at, const Batch* batch) {
    if (batch != nullptr) idle += at * kStep * batch->count;
  };
  if (thread_ != nullptr) {
    idle += thread_->fresh_bytes;
    for (std::size_t at = 0; at < kClasses; ++at) {
      add(at, thread_->shelves[at].batch);
      add(at, thread_->shelves[at].full);
    }
  }
  const std::lock_guard lock(depot().mutex);
  for (std::size_t at = 0; at < kClasses; ++at) {
    for (const Batch* batch = depot().batches[at]; batch != nullptr; batch = batch->next) add(at, batch);
  }
  return depot().chunk_bytes - idle;
}

#ifdef TESSRA_ADDRESS_SANITIZER

void* Pool::take_slowly(std::size_t bytes) { return ::operator new(bytes); }
void Pool::give_slowly(void* memory, std::size_t /*bytes*/) noexcept { ::operator delete(memory); }

#else

void* Pool::take_slowly(std::size_t bytes) {
  const std::size_t at = size_class(bytes);
  Thread* thread = join();
  if (thread == nullptr) return depot().take_block(at);
  Shelf& shelf = thread->shelves[at];
  Batch* next = std::exchange(shelf.full, nullptr);
  if (next == nullptr) next = depot().get(at);
  if (next == nullptr) return cut_run(*thread, shelf, at * kStep);
  depot().put(at, std::exchange(shelf.batch, next));
  return next->take();
}

void Pool::give_slowly(void* memory, std::size_t bytes) noexcept {
  const std::size_t at = size_class(bytes);
  Thread* thread = join();
  if (thread == nullptr) return depot().put_block(at, memory);
  Batch* batch = depot().get_empty();
  batch->give(memory);
  Shelf& shelf = thread->shelves[at];
  depot().put(at, std::exchange(shelf.full, shelf.batch));
  shelf.batch = batch;
}

#endif

}  // namespace tessra
