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

/// Prints one line on standard error: "error: TEXT". With `trace` it is followed by the type, the chain of causes and
/// the stack of the error.
void tell_error(const std::string& text, const std::exception_ptr& error, bool trace);

/// The text of an error that the engine passed to the host, with the time and the agent that failed, or the side whose
/// model was being updated. `episode` is the episode's number.
std::string failure_text(const Deduction& engine, std::int64_t episode, const std::exception_ptr& error);

/// Reports the agent whose call has not returned, if any. For the thread that ends the process, so it never blocks.
void tell_unreturned(const AgentCall::Memory& call);

/// Makes the logger report once, on standard error, that its file cannot be written. The result becomes true then.
std::shared_ptr<const std::atomic<bool>> watch_log(spdlog::logger& log, const Progress& progress);

/// Console of an engine whose agents may fail without ending the run: reports each kind of failure once, in one line,
/// or with `trace` every failure with its trace.
class FailureConsole : public Console {
 public:
  FailureConsole(const Progress& progress, bool trace) : progress_(progress), trace_(trace) {}

  void print(std::string_view text) override;
  /// `text` is the trace of the agent call that this thread made last.
  void print_error(std::string_view text) override;

 private:
  const Progress& progress_;
  bool trace_;
  std::set<std::string> told_;
};

}  // namespace tessra::app
