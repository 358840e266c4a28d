#include "apps/deduce/failure.h"

#include <fmt/format.h>
#include <unistd.h>

#include "apps/deduce/output.h"
#include "apps/deduce/results.h"

namespace tessra::app {

void tell_error(const std::string& text, const std::exception_ptr& error, bool trace) {
  tell("error: {}\n", text);
  if (trace) tell("{}\n", trace_text(error));
}

std::string failure_text(const Deduction& engine, std::int64_t episode, const std::exception_ptr& error) {
  const FailedCall& failed = engine.failed_call;
  const std::string when = fmt::format("at {} of episode {}", clock_text(engine.time_elapsed), episode);
  if (*failed.operation != '\0') {
    return fmt::format("agent '{}' of side '{}' failed in `{}` {}: {}", failed.agent_name, failed.side,
                       failed.operation, when, error_text(error));
  }
  if (!failed.side.empty())
    return fmt::format("in the model of side '{}' {}: {}", failed.side, when, error_text(error));
  return error_text(error);
}

void tell_unreturned(const AgentCall::Memory& call) {
  const std::string text = call.running_text();
  if (!text.empty()) write_if_ready(STDERR_FILENO, "error: " + text + " did not return\n");
}

std::shared_ptr<const std::atomic<bool>> watch_log(spdlog::logger& log, const Progress& progress) {
  auto failed = std::make_shared<std::atomic<bool>>(false);
  log.set_error_handler([failed, &progress](const std::string& text) {
    if (failed->exchange(true)) return;
    progress.clear();
    tell("error: {}\n", text);
  });
  return failed;
}

void FailureConsole::print(std::string_view text) {
  progress_.clear();
  tell("{}\n", text);
}

void FailureConsole::print_error(std::string_view text) {
  // The first line of a trace has the error's type and text.
  const std::string line =
      fmt::format("{} failed: {}", AgentCall::of_this_thread().text(), text.substr(0, text.find('\n')));
  if (!trace_ && !told_.insert(line).second) return;
  progress_.clear();
  tell("warning: {}\n", line);
  if (trace_) tell("{}\n", text);
}

}  // namespace tessra::app
