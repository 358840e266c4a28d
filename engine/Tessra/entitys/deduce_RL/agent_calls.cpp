#include "Tessra/entitys/deduce_RL/agent_calls.h"

#include "Tessra/base/guard.h"
#include "Tessra/entitys/agent_call.h"
#include "Tessra/entitys/deduce_RL/messages.h"

namespace tessra {

void work_on(EpisodeState& engine, std::string_view side) { engine.failed_call = {nullptr, "", std::string(side), ""}; }

void call_bare(EpisodeState& engine, const std::shared_ptr<Agent>& agent, const char* operation,
               const std::function<void()>& call) {
  engine.failed_call = {agent, operation, agent->side, agent->agent_type};
  const AgentCall running(*agent, operation);
  call();
  engine.failed_call = {};
}

void show_player(EpisodeState& engine, const std::shared_ptr<Agent>& agent, RuleAgentBase& player) {
  call_bare(engine, agent, "update_constant_attribute", [&] { agent->update_constant_attribute(player); });
}

std::shared_ptr<Agent> build_agent(EpisodeState& engine, const std::string& side, const std::string& name,
                                   const std::function<std::shared_ptr<Agent>()>& make) {
  engine.failed_call = {nullptr, "constructor", side, name};
  const AgentCall running(side, name, engine.failed_call.operation);
  auto agent = make();
  engine.failed_call = {};
  return agent;
}

bool call_agent(Deduction& engine, const std::shared_ptr<Agent>& agent, const char* operation,
                const std::function<void()>& call, LogLevel level,
                const std::function<std::string(const std::string& error)>& message) {
  if (engine.is_testing.truthy()) {
    call_bare(engine, agent, operation, call);
    return true;
  }
  const auto named_call = [&] {
    const AgentCall running(*agent, operation);
    call();
  };
  return guarded(named_call, [&](const std::exception_ptr& error) {
    ++engine.calls_failed;
    engine.seams().console->print_error(trace_text(error));
    log_only(engine, level, [&] { return message(error_text(error)); });
  });
}

}  // namespace tessra
