#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Tessra/base/log.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

// Calls to agents. They record which agent and operation is running, so that hosts can tell where an error came from.

namespace tessra {

/// Attributes errors from here on to this side's part of the model; an empty name to none.
void work_on(EpisodeState& engine, std::string_view side);

/// Calls an agent without a guard: its errors reach the host.
void call_bare(EpisodeState& engine, const std::shared_ptr<Agent>& agent, const char* operation,
               const std::function<void()>& call);

/// Calls the agent's `update_constant_attribute`, without a guard.
void show_player(EpisodeState& engine, const std::shared_ptr<Agent>& agent, RuleAgentBase& player);

/// Calls an agent's constructor, without a guard.
std::shared_ptr<Agent> build_agent(EpisodeState& engine, const std::string& side, const std::string& name,
                                   const std::function<std::shared_ptr<Agent>()>& make);

/// Calls an agent. While testing its errors reach the host; otherwise they are logged, with the trace on standard
/// error, and false is returned.
bool call_agent(Deduction& engine, const std::shared_ptr<Agent>& agent, const char* operation,
                const std::function<void()>& call, LogLevel level,
                const std::function<std::string(const std::string& error)>& message);

}  // namespace tessra
