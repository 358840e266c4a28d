#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "services/forwarding_server.h"

namespace tessra {

/// Restricts a service client to what one side may know and do, for an agent that is not trusted. Records keep the
/// parts of that side and of the sides that share with it (its `Friend` list), nothing of others. An order that does
/// not name the side as its `SIDE`, or cannot be read, never reaches the service: it is among the refused ones.
class SideServer : public ForwardingServer, private ConnReq {
 public:
  struct Agent {
    std::string side;              ///< name of the side it plays
    std::string id;                ///< settings and reports are for this one alone
    double shortest_interval = 0;  ///< seconds between two decisions, whatever it asks for
  };
  SideServer(std::shared_ptr<GameServer> inner, Agent agent)
      : ForwardingServer(std::move(inner)), agent_(std::move(agent)) {}

  /// Throws `Error` if the scenario has no such side.
  void connect_client(std::shared_ptr<StopEvent> stop) override;
  Value set_data_receive() override;
  Value get_init_situation() override;
  Value get_step_situation() override;

  void add_command(std::string text) override;
  bool need_do_package_command() override { return package_size_ > 0; }
  Value do_package_command() override;
  void run_command(std::string_view text) override;
  void update_step_interval(const Value& seconds) override;
  ConnReq& conn_req() override { return *this; }

 private:
  Value req_client_agent_config(const Value& agent_id, const Value& agent_name) override;
  void req_agent_times(const Value& agent_id, const Value& agent_name, std::int64_t agent_times) override;
  void check_agent(const Value& agent_id) const;

  struct Refused {
    std::int64_t number;
    std::string command;
    std::string reason;
  };

  void find_visible_sides();
  std::string why_refused(std::string_view command) const;
  Value restricted(const Value& record) const;

  Agent agent_;
  std::set<std::string> visible_;  // ids
  std::int64_t package_size_ = 0;
  std::vector<std::int64_t> passed_on_;  // numbers in the agent's package, in the service's order
  std::vector<Refused> refused_;
};

}  // namespace tessra
