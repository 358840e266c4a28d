// The checking proxy of an agent. Every operation goes through `call`, which forwards it, turns exceptions into
// findings, measures its time and watches the side's score.

#include "apps/deduce/checked_agent.h"

#include <fmt/format.h>

#include "Tessra/base/guard.h"
#include "Tessra/base/seams.h"
#include "Tessra/entitys/agent_base.h"
#include "Tessra/entitys/situation.h"

namespace tessra::app {

CheckedAgent::CheckedAgent(std::string side_name, AgentWatch watch)
    : Agent(std::move(side_name)), watch_(std::move(watch)), agent_(make()) {}

std::shared_ptr<Agent> CheckedAgent::make() const {
  const CheckProgress::Call call(*watch_.progress, "constructor", time_elapsed_);
  const AgentClass& agent_class = *watch_.agent_class;
  // The same description that the engine gives to learning agents of its rule configuration.
  if (agent_class.is_learn()) return agent_class.make(AgentConf{1000, "torch", "", side, "RL-checked", "no"});
  return agent_class.make(side);
}

void CheckedAgent::call(const char* operation, const std::function<void(Agent&)>& work) {
  // The engine sets these members between calls, so they are forwarded before each one.
  agent_->deduce_remove_mission = deduce_remove_mission;
  agent_->deduce_add_unit = deduce_add_unit;
  agent_->get_command_check = get_command_check;
  agent_->log = log;
  agent_->_game_server = _game_server;
  agent_->client_info = client_info;
  agent_->agent_type = agent_type;
  agent_->is_rule_agent = !watch_.agent_class->is_learn();
  agent_->agent_file_path = agent_file_path;
  agent_->agent_unit_id = agent_unit_id;

  const auto clock = real_clock();
  const double start = clock->now();
  const Value score = own_score();
  guarded(
      [&] {
        const CheckProgress::Call running(*watch_.progress, operation, time_elapsed_);
        work(*agent_);
      },
      [&](const std::exception_ptr& error) {
        const std::string trace = trace_text(error);
        watch_.findings->add(fmt::format("`{}` throws {}", operation, trace.substr(0, trace.find('\n'))),
                             time_elapsed_);
      });
  if (clock->now() - start > watch_.limit) {
    watch_.findings->add(fmt::format("`{}` takes longer than {} s", operation, watch_.limit), time_elapsed_);
  }
  // The score is restored, so that the episode ends as it would have without the agent's change.
  if (own_score() == score) return;
  watch_.findings->add(fmt::format("`{}` writes its own side's score (TotalScore)", operation), time_elapsed_);
  player_->set_attribute("TotalScore", score);
}

Value CheckedAgent::own_score() const { return player_ != nullptr ? player_->attributes().get("TotalScore") : Value(); }

void CheckedAgent::load_model() {
  call("load_model", [](Agent& agent) { agent.load_model(); });
}

void CheckedAgent::update_constant_attribute(RuleAgentBase& player) {
  player_ = &player;
  call("update_constant_attribute", [&](Agent& agent) { agent.update_constant_attribute(player); });
}

void CheckedAgent::update_object_attribute(RuleAgentBase& player) {
  player_ = &player;
  call("update_object_attribute", [&](Agent& agent) { agent.update_object_attribute(player); });
}

void CheckedAgent::info_extract() {
  call("info_extract", [](Agent& agent) { agent.info_extract(); });
}

void CheckedAgent::initial(const Situation& situation) {
  time_elapsed_ = situation.time_elapsed();
  call("initial", [&](Agent& agent) { agent.initial(situation); });
}

void CheckedAgent::step(double time_elapsed, const Situation& situation) {
  time_elapsed_ = time_elapsed;
  if (watch_.agent_class->is_learn()) {
    call("step_rl", [&](Agent& agent) { agent.step_rl(time_elapsed, situation, Dict()); });
  } else {
    call("step", [&](Agent& agent) { agent.step(time_elapsed, situation); });
  }
}

bool CheckedAgent::is_done() {
  bool done = false;
  call("is_done", [&](Agent& agent) { done = agent.is_done(); });
  return done;
}

void CheckedAgent::deduction_end() {
  call("deduction_end", [](Agent& agent) { agent.deduction_end(); });
}

void CheckedAgent::reset() {
  if (watch_.fresh_each_episode) {
    agent_ = make();
  } else {
    call("reset", [](Agent& agent) { agent.reset(); });
  }
}

Value CheckedAgent::agent_decision_time() {
  Value seconds = 0;
  call("agent_decision_time", [&](Agent& agent) { seconds = agent.agent_decision_time(); });
  if (seconds.is_number()) return seconds;
  watch_.findings->add("`agent_decision_time` returns " + seconds.to_text() + ", which is not a number", time_elapsed_);
  return 0;
}

}  // namespace tessra::app
