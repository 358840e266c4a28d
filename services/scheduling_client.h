#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "services/forwarding_server.h"

namespace tessra {

/// An in-process scheduling client that wraps a simulation service. It loads the scenario when an engine connects,
/// advances it, holds the settings of each agent, and receives decision counts and error texts. Sides without an agent
/// are played by the service.
///
/// The operations of the service client belong to the engine's thread. Those under "From any thread" may be called at
/// any time; settings are stored as text, because a value tree belongs to one thread.
class SchedulingClient : public ForwardingServer, private ConnReq {
 public:
  /// `service` plays the scenario named by `simulate.scenario` of the section; `server.agent_settings` (agent id →
  /// settings) holds the agents' initial settings.
  SchedulingClient(std::shared_ptr<GameServer> service, const Dict& section);

  // From any thread.

  /// Replaces an agent's settings; it receives them at its next decision. By convention `units` and `targets` are lists
  /// of ids or names and `decision_interval` is in seconds; anything else is between the user and the agent.
  void set_agent_settings(const std::string& agent_id, const Dict& settings);
  /// Number of an agent's decisions, as last reported by the engine; 0 before the first report.
  std::int64_t agent_times(const std::string& agent_id) const;
  /// The errors reported so far, in order; of more than 1,000 the newest.
  std::vector<std::string> error_texts() const;
  /// Ends the run: sets the engine's stop signal and returns a crash record for the next advance.
  void stop();

  // Set before the run; called on the engine's thread.

  std::function<void(const std::string& text)> on_error_text;
  std::function<void(std::int64_t agent_times)> on_decision;

  // Operations of the service client.

  /// Loads the scenario. Throws if the service does not have it, or after `stop`.
  void connect_client(std::shared_ptr<StopEvent> stop) override;
  /// Advances the simulation, unless the stop signal is set, and returns the changes.
  Value get_step_situation() override;
  void agent_error_message_output(std::string_view text) override;
  ConnReq& conn_req() override { return *this; }

 private:
  Value req_client_agent_config(const Value& agent_id, const Value& agent_name) override;
  void req_agent_times(const Value& agent_id, const Value& agent_name, std::int64_t agent_times) override;

  std::string scenario_;
  mutable std::mutex mutex_;  // guards the members below
  std::map<std::string, std::string> settings_;
  std::map<std::string, std::int64_t> agent_times_;
  std::vector<std::string> error_texts_;
  std::shared_ptr<StopEvent> stop_;
  bool stopping_ = false;
};

}  // namespace tessra
