#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Tessra/entitys/gameenvs/forwarding_server.h"
#include "apps/deduce/findings.h"

namespace tessra::app {

/// A service that watches the orders of one side's agent: those the service refuses become findings. Every other side
/// must give none.
class CheckingService : public ForwardingServer {
 public:
  /// With `unnamed_contact` the side holds, from the second advance to the fourth, a contact of which nothing is known
  /// but its id.
  CheckingService(std::shared_ptr<GameServer> service, std::string side_id, std::string side_name, Findings& findings,
                  bool unnamed_contact);

  Value load_scenario(const Value& name) override;
  void add_command(std::string text) override;
  Value do_package_command() override;
  Value get_init_situation() override;
  Value get_step_situation() override;

  /// The orders of the last episode, in their order.
  const std::vector<std::string>& orders() const { return orders_; }

 private:
  void judge(const std::string& report);
  double time_elapsed() const { return (time_ - start_) / 1000; }

  std::string side_id_, side_name_;
  Findings& findings_;
  bool unnamed_contact_;
  std::vector<std::string> orders_;
  int advances_ = 0;
  double start_ = 0, time_ = 0;  // milliseconds
};

}  // namespace tessra::app
