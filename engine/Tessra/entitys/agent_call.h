#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace tessra {

class Agent;

/// Scope guard around a call into an agent. Each thread records the call it entered last, so that a crash handler, an
/// exit handler, or a thread waiting for a hanging agent can name the agent.
class AgentCall {
 public:
  /// `operation` is the name of the agent's method, such as "step".
  AgentCall(const Agent& agent, std::string_view operation);
  AgentCall(std::string_view side, std::string_view agent, std::string_view operation);
  ~AgentCall();
  AgentCall(const AgentCall&) = delete;
  AgentCall& operator=(const AgentCall&) = delete;

  /// The last call of one thread; valid as long as the thread.
  class Memory {
   public:
    /// Whether the call is still running, and its description: "agent 'patrol-1' of side '红方' in `step`", truncated
    /// if very long, empty if there was no call yet. Both are safe in a signal handler on the same thread.
    bool running() const { return running_; }
    const char* text() const { return text_; }
    /// The description while the call is running, otherwise empty; for other threads.
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
