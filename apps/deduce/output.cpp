#include "apps/deduce/output.h"

#include <fcntl.h>
#include <poll.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

#include "Tessra/base/error.h"

namespace tessra::app {

void prepare_streams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) != -1) continue;
    // `open` returns the lowest free descriptor, which is this one. Read-only, so that writing to it fails.
    static_cast<void>(::open("/dev/null", O_RDONLY));
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

void say_text(std::string_view text) {
  errno = 0;
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (std::fflush(stdout) == 0 && written && std::ferror(stdout) == 0) return;
  std::string reason = std::generic_category().message(errno);
  if (errno == EBADF) reason = "it is closed";
  if (errno == 0) reason = "an earlier write failed";  // by other code, so the reason is gone
  // Reported once: drop the unwritten text and the error, so that later output is tried again.
  ::__fpurge(stdout);
  std::clearerr(stdout);
  throw SurroundingsError("cannot write standard output: " + reason);
}

void tell_text(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

namespace {

bool is_ready(int descriptor) {
  constexpr int kMilliseconds = 100;
  pollfd waiting{descriptor, POLLOUT, 0};
  return ::poll(&waiting, 1, kMilliseconds) == 1 && (waiting.revents & POLLOUT) != 0;
}

}  // namespace

void write_if_ready(int descriptor, std::string_view text) {
  if (is_ready(descriptor) && ::write(descriptor, text.data(), text.size()) < 0) return;  // no place to report that
}

void end_process(int status) {
  // The lock may be held by a thread that is blocked in a write.
  if (::ftrylockfile(stdout) == 0 && is_ready(STDOUT_FILENO)) std::fflush(stdout);
  std::_Exit(status);
}

}  // namespace tessra::app
