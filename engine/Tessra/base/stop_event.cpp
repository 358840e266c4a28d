#include "Tessra/base/stop_event.h"

namespace tessra {

void StopEvent::set() {
  {
    const std::lock_guard lock(mutex_);
    set_ = true;
  }
  changed_.notify_all();
}

bool StopEvent::is_set() const {
  const std::lock_guard lock(mutex_);
  return set_;
}

bool StopEvent::wait_for(std::chrono::duration<double> limit) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, limit, [this] { return set_; });
}

}  // namespace tessra
