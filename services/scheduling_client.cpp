// The scheduling client. State that other threads use is guarded by a mutex, which is never held while a callback or
// the wrapped service runs: either may call back into this object.

#include "services/scheduling_client.h"

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"

namespace tessra {

SchedulingClient::SchedulingClient(std::shared_ptr<GameServer> service, const Dict& section)
    : ForwardingServer(std::move(service)) {
  is_ai_apply = true;
  const Dict* simulate = section.find_dict("simulate");
  if (simulate != nullptr && simulate->contains("scenario")) scenario_ = simulate->at("scenario").to_text();
  const Value settings = section.at_dict("server").get("agent_settings");
  if (settings.is_none()) return;
  for (auto [agent_id, entry] : settings.as_dict()) set_agent_settings(agent_id.to_text(), entry.as_dict());
}

void SchedulingClient::set_agent_settings(const std::string& agent_id, const Dict& settings) {
  std::string text = write_json(settings);
  const std::lock_guard lock(mutex_);
  settings_.insert_or_assign(agent_id, std::move(text));
}

std::int64_t SchedulingClient::agent_times(const std::string& agent_id) const {
  const std::lock_guard lock(mutex_);
  const auto found = agent_times_.find(agent_id);
  return found != agent_times_.end() ? found->second : 0;
}

std::vector<std::string> SchedulingClient::error_texts() const {
  const std::lock_guard lock(mutex_);
  return error_texts_;
}

void SchedulingClient::stop() {
  const std::lock_guard lock(mutex_);
  stopping_ = true;
  if (stop_ != nullptr) stop_->set();
}

void SchedulingClient::connect_client(std::shared_ptr<StopEvent> stop) {
  {
    const std::lock_guard lock(mutex_);
    stop_ = std::move(stop);
    if (stopping_) {  // `stop` came before the engine was ready
      stop_->set();
      throw Error("the client is stopping");
    }
  }
  if (!inner().load_scenario(scenario_).is_true()) throw Error("the client has no scenario '" + scenario_ + "'");
}

Value SchedulingClient::get_step_situation() {
  {
    const std::lock_guard lock(mutex_);
    // To the engine a crash record means that the simulation is gone: it abandons the round at once.
    if (stop_ != nullptr && stop_->is_set()) return Dict{{"Crash", true}};
  }
  inner().run_simulate();
  return inner().get_step_situation();
}

void SchedulingClient::agent_error_message_output(std::string_view text) {
  {
    const std::lock_guard lock(mutex_);
    // A client may run for weeks, and an agent fail at every step.
    constexpr std::size_t kKept = 1'000;
    if (error_texts_.size() == kKept) error_texts_.erase(error_texts_.begin());
    error_texts_.emplace_back(text);
  }
  if (on_error_text) on_error_text(std::string(text));
}

Value SchedulingClient::req_client_agent_config(const Value& agent_id, const Value& /*agent_name*/) {
  const std::lock_guard lock(mutex_);
  const auto found = settings_.find(agent_id.to_text());
  return found != settings_.end() ? read_json(found->second) : Value(Dict());
}

void SchedulingClient::req_agent_times(const Value& agent_id, const Value& /*agent_name*/, std::int64_t agent_times) {
  {
    const std::lock_guard lock(mutex_);
    agent_times_[agent_id.to_text()] = agent_times;
  }
  if (on_decision) on_decision(agent_times);
}

}  // namespace tessra
