// Reports an agent that ends the program. Crashes are caught by signal handlers, exits by `atexit` handlers, the end of
// the main thread by `main`; `AgentCall` knows which agent was running.

#include "apps/deduce/last_words.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>

#include "Tessra/entitys/agent_call.h"
#include "apps/deduce/exit_status.h"

namespace tessra::app {

namespace {

struct Crash {
  int signal;
  const char* name;
};

constexpr Crash kCrashes[] = {{SIGSEGV, "a segmentation fault (SIGSEGV)"},
                              {SIGBUS, "a bus error (SIGBUS)"},
                              {SIGFPE, "an arithmetic error (SIGFPE)"},
                              {SIGILL, "an illegal instruction (SIGILL)"},
                              {SIGABRT, "abort (SIGABRT)"}};

const AgentCall::Memory* main_call = nullptr;
pid_t process = 0;
bool expected = false;
bool on_terminal = false;

// Everything up to the end of `on_crash` may run in a signal handler: only async-signal-safe calls, no allocation.

void put(const char* text) {
  if (::write(STDERR_FILENO, text, std::strlen(text)) < 0) return;  // no place to report that
}

void put_line(const char* who, const char* how) {
  if (::getpid() != process) return;  // a forked process is watched by its parent
  if (on_terminal) put("\r\x1b[K");   // the progress line
  put("error: ");
  put(who);
  put(" ended the program: ");
  put(how);
  put("\n");
}

/// The agent call that is running in this thread, otherwise in the main thread.
const char* running_code() {
  const AgentCall::Memory& own = AgentCall::of_this_thread();
  if (own.running()) return own.text();
  return main_call->running() ? main_call->text() : "code outside any agent";
}

void on_crash(int signal) {
  const char* name = "a signal";
  for (const Crash& crash : kCrashes) {
    if (crash.signal == signal) name = crash.name;
  }
  put_line(running_code(), name);
  std::signal(signal, SIG_DFL);
  ::raise(signal);  // takes effect when the handler returns
}

void on_exit(const char* how) {
  if (expected || ::getpid() != process) return;  // a forked process may end as it likes
  put_line(running_code(), how);
  std::fflush(nullptr);
  std::_Exit(kFailed);
}

}  // namespace

void watch_for_sudden_end() {
  main_call = &AgentCall::of_this_thread();
  process = ::getpid();
  on_terminal = ::isatty(STDERR_FILENO) != 0;
  // A separate stack, so that a stack overflow can be reported.
  static char stack[64 * 1024];
  const stack_t own_stack{stack, 0, sizeof(stack)};
  ::sigaltstack(&own_stack, nullptr);
  struct sigaction action {};
  action.sa_handler = on_crash;
  action.sa_flags = SA_ONSTACK;
  for (const Crash& crash : kCrashes) ::sigaction(crash.signal, &action, nullptr);
  std::atexit([] { on_exit("std::exit"); });
  std::at_quick_exit([] { on_exit("std::quick_exit"); });
}

void end_is_expected() { expected = true; }

void end_with_main_thread() {
  // The stack is already unwound, so no call is running: it was the last one.
  const char* last = main_call->text();
  put_line(*last != '\0' ? last : "code outside any agent", "pthread_exit");
  std::fflush(nullptr);
  std::_Exit(::getpid() == process ? kFailed : kPlayed);  // a forked process keeps the status of `pthread_exit`
}

}  // namespace tessra::app
