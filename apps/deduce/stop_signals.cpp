// Signals are received by a thread in `sigwaitinfo` instead of a handler: actions may then take locks and allocate.

#include "apps/deduce/stop_signals.h"

#include <csignal>
#include <ctime>

#include "apps/deduce/output.h"

namespace tessra::app {

namespace {

/// Wakes the waiting thread when the object is destroyed; nobody else sends it.
constexpr int kWakeUp = SIGUSR1;

/// The next signal of the set; 0 on timeout.
int next_signal(const sigset_t& signals, std::optional<double> seconds) {
  siginfo_t info{};
  if (!seconds) return ::sigwaitinfo(&signals, &info);
  const auto whole = static_cast<std::time_t>(*seconds);
  const timespec limit{whole, static_cast<long>((*seconds - static_cast<double>(whole)) * 1e9)};
  const int signal = ::sigtimedwait(&signals, &info, &limit);
  return signal > 0 ? signal : 0;
}

}  // namespace

StopSignals::StopSignals(double grace) : grace_(grace) {
  sigemptyset(&signals_);
  for (const int signal : {SIGINT, SIGTERM, kWakeUp}) sigaddset(&signals_, signal);
  ::pthread_sigmask(SIG_BLOCK, &signals_, &earlier_mask_);
  thread_ = std::thread([this] { wait_for_signals(); });
}

StopSignals::~StopSignals() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  ::pthread_kill(thread_.native_handle(), kWakeUp);
  thread_.join();
  ::pthread_sigmask(SIG_SETMASK, &earlier_mask_, nullptr);
}

void StopSignals::on_signal(std::function<void()> action) {
  const std::lock_guard lock(mutex_);
  action_ = std::move(action);
  if (signal_ != 0 && action_) action_();
}

void StopSignals::on_end(std::function<void()> action) {
  const std::lock_guard lock(mutex_);
  last_action_ = std::move(action);
}

int StopSignals::status() const {
  const std::lock_guard lock(mutex_);
  return signal_ != 0 ? 128 + signal_ : 0;
}

void StopSignals::wait_for_signals() {
  while (true) {
    const int signal = next_signal(signals_, received() ? std::optional(grace_) : std::nullopt);
    {
      const std::lock_guard lock(mutex_);
      if (ending_) return;
      if (signal == kWakeUp || signal < 0) continue;
      if (signal_ == 0) {
        signal_ = signal;
        if (action_) action_();
        continue;
      }
    }
    end();  // a second signal, or the end of the grace period
  }
}

void StopSignals::end() {
  std::function<void()> last;
  {
    const std::lock_guard lock(mutex_);
    last = last_action_;
  }
  if (last) last();
  end_process(status());
}

}  // namespace tessra::app
