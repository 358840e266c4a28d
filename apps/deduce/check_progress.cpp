#include "apps/deduce/check_progress.h"

#include <sys/mman.h>

#include <new>

#include "Tessra/base/error.h"

namespace tessra::app {

/// Plain data only: it is read by another process, where pointers into the heap mean nothing.
struct CheckProgress::Shared {
  static constexpr std::size_t kLongest = 200;
  char situation[kLongest + 1] = {};
  std::atomic<const char*> running = nullptr;  // string literals are at the same address in a forked process
  std::atomic<const char*> last = nullptr;
  std::atomic<std::uint64_t> calls = 0;
  std::atomic<double> time_elapsed = 0;
  std::atomic<bool> finished = false;
};

CheckProgress::CheckProgress() {
  void* memory = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw Error("cannot allocate shared memory for the check");
  shared_ = new (memory) Shared();
}
CheckProgress::~CheckProgress() { ::munmap(shared_, sizeof(Shared)); }

void CheckProgress::enter(const std::string& situation) {
  shared_->situation[situation.copy(shared_->situation, Shared::kLongest)] = '\0';
}
std::string CheckProgress::situation() const { return shared_->situation; }

CheckProgress::Call::Call(CheckProgress& progress, const char* operation, double time_elapsed) : progress_(progress) {
  progress.shared_->time_elapsed = time_elapsed;
  progress.shared_->running = progress.shared_->last = operation;
  ++progress.shared_->calls;
}
CheckProgress::Call::~Call() {
  progress_.shared_->running = nullptr;
  ++progress_.shared_->calls;
}

const char* CheckProgress::running() const { return shared_->running; }
const char* CheckProgress::last() const { return shared_->last; }
std::uint64_t CheckProgress::calls() const { return shared_->calls; }
double CheckProgress::time_elapsed() const { return shared_->time_elapsed; }

void CheckProgress::finish() { shared_->finished = true; }
bool CheckProgress::finished() const { return shared_->finished; }

}  // namespace tessra::app
