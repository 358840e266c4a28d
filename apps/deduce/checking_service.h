#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/deduce/check_progress.h"
#include "apps/deduce/findings.h"
#include "services/forwarding_server.h"

namespace tessra::app {

/// Service proxy that checks one side's agent. Orders that are refused or not for its own side become findings, and so
/// does any other call of the agent on its service client. Such a call has no effect, so that the episode goes on and
/// can reveal more. The other sides must give no orders.
class CheckingService : public ForwardingServer {
 public:
  struct Watched {
    std::string side_id, side_name;
    Findings* findings = nullptr;
    const CheckProgress* progress = nullptr;
    /// Gives the side a contact with nothing but an id, from the second to the fourth advance.
    bool unnamed_contact = false;
  };
  CheckingService(std::shared_ptr<GameServer> service, Watched watched);

  Value connect_server() override;
  void check_clean_rooms() override;
  Value reset(int flag) override;
  Value load_scenario(const Value& name) override;
  Value set_data_receive() override;
  void request_full_situation() override;
  Value get_init_situation() override;
  void add_command(std::string text) override;
  Value do_package_command() override;
  void run_command(std::string_view text) override;
  void run_simulate() override;
  Value get_step_situation() override;
  void simulate_end() override;
  void update_simulate_timestamp(std::int64_t milliseconds) override;
  void connect_client(std::shared_ptr<StopEvent> stop) override;
  void agent_error_message_output(std::string_view text) override;
  void update_step_interval(const Value& seconds) override;
  NetSdk& net_sdk() override;
  GameServer& inner() override;

  /// The orders of the last episode.
  const std::vector<std::string>& orders() const { return orders_; }

 private:
  /// Whether the call comes from the agent instead of the engine; then it is added as a finding.
  bool is_agents(const char* call, const char* what = "that is the engine's to call");
  void judge(const Dict& refusal);
  void show_unnamed_contact(const Dict& record) const;
  double time_elapsed() const { return (time_ - start_) / 1000; }

  Watched watched_;
  std::vector<std::string> orders_;
  Value last_record_;  // a copy: the engine changes what it is given
  int advances_ = 0;
  double start_ = 0, time_ = 0;  // milliseconds
};

}  // namespace tessra::app
