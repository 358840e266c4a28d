#include "Tessra/entitys/agent_call.h"

#include <algorithm>

#include "Tessra/entitys/agent.h"

namespace tessra {

namespace {

thread_local constinit AgentCall::Memory memory;

}  // namespace

AgentCall::AgentCall(const Agent& agent, std::string_view operation)
    : AgentCall(agent.side, agent.agent_type, operation) {}

AgentCall::AgentCall(std::string_view side, std::string_view agent, std::string_view operation) {
  // A fixed buffer instead of a string: signal handlers read it, and the heap may be corrupt after a crash.
  const std::lock_guard lock(memory.mutex_);
  char* end = memory.text_;
  char* const limit = memory.text_ + sizeof(memory.text_) - 1;
  for (const std::string_view part : {std::string_view("agent '"), agent, std::string_view("' of side '"), side,
                                      std::string_view("' in `"), operation, std::string_view("`")}) {
    end = std::copy_n(part.begin(), std::min<std::ptrdiff_t>(std::ssize(part), limit - end), end);
  }
  *end = '\0';
  memory.running_ = true;
}

AgentCall::~AgentCall() {
  const std::lock_guard lock(memory.mutex_);
  memory.running_ = false;
}

const AgentCall::Memory& AgentCall::of_this_thread() { return memory; }

std::string AgentCall::Memory::running_text() const {
  const std::lock_guard lock(mutex_);
  return running_ ? text_ : "";
}

}  // namespace tessra
