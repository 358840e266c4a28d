#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Tessra/base/log.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

// How the engine calls agents, so that an error that reaches the host has a culprit.

namespace tessra {

/// From here on an error is one of this side's part of the model; of none for an empty name.
void work_on(EpisodeState& engine, std::string_view side);

/// Calls into an agent; its error reaches the host, which can ask whose it was.
void call_bare(EpisodeState& engine, const std::shared_ptr<Agent>& agent, const char* operation,
               const std::function<void()>& call);

/// Lets the agent take over what it wants of its player.
void show_player(EpisodeState& engine, const std::shared_ptr<Agent>& agent, RuleAgentBase& player);

/// Builds an agent; its constructor's error reaches the host in the same way.
std::shared_ptr<Agent> build_agent(EpisodeState& engine, const std::string& side, const std::string& name,
                                   const std::function<std::shared_ptr<Agent>()>& make);

/// Calls into an agent: bare while testing, else guarded, with the trace on standard error and the message in the run
/// log. False when the agent failed.
bool call_agent(Deduction& engine, const std::shared_ptr<Agent>& agent, const char* operation,
                const std::function<void()>& call, LogLevel level,
                const std::function<std::string(const std::string& error)>& message);

}  // namespace tessra
