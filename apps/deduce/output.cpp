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
    // Takes the lowest free number, which is this one; what may only be read fails when it is written to.
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
  if (errno == 0) reason = "some of it was lost";  // written by others, some time ago
  // This failure is told once; what follows is tried anew.
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
  if (is_ready(descriptor) && ::write(descriptor, text.data(), text.size()) < 0) return;  // nobody is left to be told
}

void end_process(int status) {
  if (::ftrylockfile(stdout) == 0 && is_ready(STDOUT_FILENO)) std::fflush(stdout);
  std::_Exit(status);
}

}  // namespace tessra::app
