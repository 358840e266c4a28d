#include "apps/deduce/watched_check.h"

#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <thread>

#include "Tessra/base/seams.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/output.h"
#include "apps/deduce/results.h"

namespace tessra::app {

namespace {

[[noreturn]] void check(CheckProgress& progress, const std::function<int()>& work) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // do not outlive the watching process, which may be killed
  int status = kFailed;
  try {
    status = work();
  } catch (const InputError& error) {
    tell("error: {}\n", error.what());
    status = kWrongInput;
  } catch (const std::exception& error) {
    tell("error: {}\n", error.what());
  }
  progress.finish();
  std::exit(status);
}

class Watch {
 public:
  Watch(const CheckProgress& progress, double limit, pid_t process)
      : progress_(progress), longest_(2 * limit + 0.5), process_(process) {}

  int wait() {
    constexpr auto kBetweenLooks = std::chrono::milliseconds(5);
    while (true) {
      int state = 0;
      const pid_t ended = ::waitpid(process_, &state, WNOHANG);
      if (ended == process_) return judge(state);
      if (ended < 0 && errno != EINTR) throw Error(fmt::format("cannot watch the check: {}", std::strerror(errno)));
      if (hangs()) return give_up();
      std::this_thread::sleep_for(kBetweenLooks);
    }
  }

 private:
  /// Whether one call has been running for too long, judged by the call counter and this process's clock.
  bool hangs() {
    const double now = clock_->now();
    if (const std::uint64_t calls = progress_.calls(); calls != calls_) {
      calls_ = calls;
      seen_ = now;
    }
    return progress_.running() != nullptr && now - seen_ > longest_;
  }

  int give_up() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    return tell(fmt::format("does not return: given up after {:.1f} s", longest_));
  }

  int judge(int state) {
    if (WIFSIGNALED(state)) return tell(fmt::format("crashes: {}", ::strsignal(WTERMSIG(state))));
    const int status = WEXITSTATUS(state);
    return progress_.finished() ? status : tell(fmt::format("ends the program, with status {}", status));
  }

  int tell(const std::string& what) {
    const char* last = progress_.last();
    const std::string call = fmt::format("`{}`", last != nullptr ? last : "loading");
    say("- {} {}\n  in {}, at {}; the check ends here\n",
        progress_.running() != nullptr ? call : "the agent, after " + call + ",", what, progress_.situation(),
        clock_text(progress_.time_elapsed()));
    return kFailed;
  }

  const CheckProgress& progress_;
  double longest_;  // seconds
  pid_t process_;
  std::shared_ptr<WallClock> clock_ = real_clock();
  std::uint64_t calls_ = 0;
  double seen_ = 0;
};

}  // namespace

int run_watched(CheckProgress& progress, double limit, const std::function<int()>& work) {
  std::fflush(nullptr);  // otherwise both processes would write the buffered text
  const pid_t process = ::fork();
  if (process < 0) throw Error(fmt::format("cannot start the check: {}", std::strerror(errno)));
  if (process == 0) check(progress, work);
  return Watch(progress, limit, process).wait();
}

}  // namespace tessra::app
