#pragma once

#include <spdlog/logger.h>

#include <atomic>
#include <exception>
#include <memory>
#include <set>
#include <string>

#include "Tessra/base/seams.h"
#include "Tessra/entitys/agent_call.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "apps/deduce/progress.h"

namespace tessra::app {

/// One line on standard error: "error: TEXT". With `trace` what is for developers follows: the type, the chain of
/// causes and the stack where the error was made.
void tell_error(const std::string& text, const std::exception_ptr& error, bool trace);

/// The text of an error that reached the host from an engine, with the agent that failed, or else the side whose part
/// of the model was worked on, and when. `episode` is its number.
std::string failure_text(const Deduction& engine, std::int64_t episode, const std::exception_ptr& error);

/// Says which agent the main thread waits for, if it does. For the thread that ends the process: waits for nobody.
void tell_unreturned(const AgentCall::Memory& call);

/// Lets the logger tell on standard error, once, that its file cannot be written. Returns whether that has happened.
std::shared_ptr<const std::atomic<bool>> watch_log(spdlog::logger& log, const Progress& progress);

/// The console of an engine whose agents may fail without ending the run: tells each kind of failure once, in a line,
/// or all of them with their traces.
class FailureConsole : public Console {
 public:
  FailureConsole(const Progress& progress, bool trace) : progress_(progress), trace_(trace) {}

  void print(std::string_view text) override;
  /// The trace of the call into an agent that was the thread's last.
  void print_error(std::string_view text) override;

 private:
  const Progress& progress_;
  bool trace_;
  std::set<std::string> told_;
};

}  // namespace tessra::app
