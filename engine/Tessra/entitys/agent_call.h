#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace tessra {

class Agent;

/// Stands on the stack for the time of a call into an agent. Each thread remembers the call that it entered last, so
/// that whoever sees the program end inside an agent can tell whose fault it was: a handler of a crash or of the
/// program's end, or a thread that waits for one that does not come back.
class AgentCall {
 public:
  /// `operation` as the agent's author knows it.
  AgentCall(const Agent& agent, std::string_view operation);
  AgentCall(std::string_view side, std::string_view agent, std::string_view operation);
  ~AgentCall();
  AgentCall(const AgentCall&) = delete;
  AgentCall& operator=(const AgentCall&) = delete;

  /// What one thread remembers; valid as long as the thread.
  class Memory {
   public:
    /// Whether the call still runs, and the call: "agent 'patrol-1' of side '红方' in `step`", cut when it is very
    /// long; empty when there was none yet. Both are safe in a signal handler of the same thread.
    bool running() const { return running_; }
    const char* text() const { return text_; }
    /// The text while the call runs, else an empty one; for other threads.
    std::string running_text() const;

   private:
    friend class AgentCall;
    mutable std::mutex mutex_;  // for other threads
    bool running_ = false;
    char text_[256] = "";
  };
  static const Memory& of_this_thread();
};

}  // namespace tessra
