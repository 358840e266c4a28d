#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "services/forwarding_server.h"

namespace tessra {

/// A scheduling client in this process, in front of a simulation service: it loads the scenario when an engine
/// connects and runs it by itself, holds the settings of each agent, and receives decision counts and error texts.
/// Sides without an agent are played by the service.
///
/// The service client's operations belong to the engine's thread. Everything under "From any thread" may be called at
/// any time; settings are kept as text, because a tree belongs to one thread.
class SchedulingClient : public ForwardingServer, private ConnReq {
 public:
  /// `service` plays the scenario named by `simulate.scenario` of the section; `server.agent_settings` (agent id →
  /// settings) is what the agents are told until somebody changes it.
  SchedulingClient(std::shared_ptr<GameServer> service, const Dict& section);

  // From any thread.

  /// Replaces an agent's settings; it receives them at its next decision. By custom `units` and `targets` are lists of
  /// ids or names and `decision_interval` is in seconds; what else they hold is between the user and the agent.
  void set_agent_settings(const std::string& agent_id, const Dict& settings);
  /// How often an agent has decided, as the engine reported it last; 0 before the first report.
  std::int64_t agent_times(const std::string& agent_id) const;
  /// What went wrong so far, in the order it was reported.
  std::vector<std::string> error_texts() const;
  /// Ends the run: sets the engine's stop signal and answers the next advance with a crash record.
  void stop();

  // Set before the run; called on the engine's thread.

  std::function<void(const std::string& text)> on_error_text;
  std::function<void(std::int64_t agent_times)> on_decision;

  // As a service client.

  /// Loads the scenario. Throws when the service has none of this name, or after `stop`.
  void connect_client(std::shared_ptr<StopEvent> stop) override;
  /// Advances the simulation, unless the stop signal is set, and returns what changed.
  Value get_step_situation() override;
  void agent_error_message_output(std::string_view text) override;
  ConnReq& conn_req() override { return *this; }

 private:
  Value req_client_agent_config(const Value& agent_id, const Value& agent_name) override;
  void req_agent_times(const Value& agent_id, const Value& agent_name, std::int64_t agent_times) override;

  std::string scenario_;
  mutable std::mutex mutex_;  // guards everything below
  std::map<std::string, std::string> settings_;
  std::map<std::string, std::int64_t> agent_times_;
  std::vector<std::string> error_texts_;
  std::shared_ptr<StopEvent> stop_;
  bool stopping_ = false;
};

}  // namespace tessra
