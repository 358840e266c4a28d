#pragma once

#include <memory>
#include <utility>

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

/// Proxy of a service client that forwards every call. Derive from it to observe or change some of them.
class ForwardingServer : public GameServer {
 public:
  explicit ForwardingServer(std::shared_ptr<GameServer> inner) : inner_(std::move(inner)) { copy_attributes(); }

  Value connect_server() override { return inner_->connect_server(); }
  void check_clean_rooms() override { inner_->check_clean_rooms(); }
  Value reset(int flag) override {
    Value answer = inner_->reset(flag);
    copy_attributes();
    return answer;
  }
  Value get_scenarios() override { return inner_->get_scenarios(); }
  Value load_scenario(const Value& name) override { return inner_->load_scenario(name); }
  Value set_data_receive() override { return inner_->set_data_receive(); }
  void request_full_situation() override { inner_->request_full_situation(); }
  Value get_init_situation() override { return inner_->get_init_situation(); }
  void add_command(std::string text) override { inner_->add_command(std::move(text)); }
  bool need_do_package_command() override { return inner_->need_do_package_command(); }
  Value do_package_command() override { return inner_->do_package_command(); }
  void run_command(std::string_view text) override { inner_->run_command(text); }
  void run_simulate() override { inner_->run_simulate(); }
  Value get_step_situation() override { return inner_->get_step_situation(); }
  void simulate_end() override { inner_->simulate_end(); }
  void update_simulate_timestamp(std::int64_t milliseconds) override {
    inner_->update_simulate_timestamp(milliseconds);
  }
  void connect_client(std::shared_ptr<StopEvent> stop) override { inner_->connect_client(std::move(stop)); }
  void agent_error_message_output(std::string_view text) override { inner_->agent_error_message_output(text); }
  void update_step_interval(const Value& seconds) override { inner_->update_step_interval(seconds); }
  NetSdk& net_sdk() override { return inner_->net_sdk(); }
  ConnReq& conn_req() override { return inner_->conn_req(); }

  /// The wrapped client.
  virtual GameServer& inner() { return *inner_; }

 private:
  void copy_attributes() {
    room_id = inner_->room_id;
    is_ai_apply = inner_->is_ai_apply;
  }

  std::shared_ptr<GameServer> inner_;
};

/// The client of this type among a client and those it wraps; null if there is none.
template <class Client>
Client* find_client(GameServer& client) {
  if (auto* found = dynamic_cast<Client*>(&client)) return found;
  auto* forwarding = dynamic_cast<ForwardingServer*>(&client);
  return forwarding != nullptr ? find_client<Client>(forwarding->inner()) : nullptr;
}

}  // namespace tessra
