#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Tessra/base/json_read.h"
#include "Tessra/entitys/gameenvs/gameserver.h"
#include "services/remote/attachment.h"
#include "services/remote/remote_backends.h"
#include "services/remote/room_link.h"
#include "services/remote/transport.h"

namespace tessra::remote {

/// What a client of a remote service is told by its configuration.
struct RemoteSettings {
  Address address;
  ClientAccess access;
  std::int64_t seed = 1;
  std::uint64_t first_episode = 1;
  double step_interval = 0;  ///< seconds; 0: the service's own
  std::uint32_t lease = 0;   ///< seconds; 0: the service's own
  Deadlines deadlines;
  bool is_ai_apply = false;
  std::string side;                ///< the agent's, in AI-apply mode
  std::vector<std::string> camps;  ///< the sides of the result, in AI-apply mode
};

/// Reads them from the engine's section. Throws `Error` naming the key that is wrong.
RemoteSettings read_remote_settings(const Dict& section, const Address& address);

/// The service client of a simulation in another process. Maps the operations to calls in a room; docs/remote.md says
/// what happens when the link breaks. Errors are `RemoteError`.
class RemoteServer : public GameServer, public RemoteControl, private NetSdk, private ConnReq {
 public:
  explicit RemoteServer(RemoteSettings settings) : settings_(std::move(settings)) {
    is_ai_apply = settings_.is_ai_apply;
  }
  ~RemoteServer() override;

  /// None if the service cannot be reached; a refusal is thrown.
  Value connect_server() override;
  void check_clean_rooms() override;
  Value reset(int flag) override;
  Value get_scenarios() override;
  Value load_scenario(const Value& name) override;
  Value set_data_receive() override;
  void request_full_situation() override;
  Value get_init_situation() override;

  void add_command(std::string text) override { commands_.push_back(std::move(text)); }
  bool need_do_package_command() override { return !commands_.empty(); }
  Value do_package_command() override;
  void run_command(std::string_view text) override;

  void run_simulate() override;
  Value get_step_situation() override;
  void simulate_end() override;
  /// Rides along with the next advance.
  void update_simulate_timestamp(std::int64_t milliseconds) override { timestamp_ = milliseconds; }

  void connect_client(std::shared_ptr<StopEvent> stop) override;
  void agent_error_message_output(std::string_view text) override;
  void update_step_interval(const Value& seconds) override;
  NetSdk& net_sdk() override { return *this; }
  ConnReq& conn_req() override { return *this; }

  std::string last_failure() const override { return last_failure_; }
  std::int64_t decisions() const override { return decisions_; }
  void stop() override;
  void watch_link(std::function<void(const std::string&)> tell) override {
    tell_ = std::move(tell);
    if (link_ != nullptr) link_->on_link = tell_;
  }

 private:
  void delete_scen(int kind, std::string_view name) override;
  Value req_client_agent_config(const Value& agent_id, const Value& agent_name) override;
  void req_agent_times(const Value& agent_id, const Value& agent_name, std::int64_t agent_times) override;

  RoomLink& link();
  void open_room();
  int reset_room(int flag);
  Value read(const v1::Json& record);
  bool is_stopped();

  RemoteSettings settings_;
  std::unique_ptr<Transport> transport_;  // none before the first call: a host may fork
  std::unique_ptr<RoomLink> link_;
  std::unique_ptr<Attachment> attachment_;
  bool had_room_ = false;
  std::string last_failure_;
  std::function<void(const std::string&)> tell_;  // of the link
  std::uint64_t episodes_loaded_ = 0;
  std::vector<std::string> commands_;
  std::optional<v1::Json> situation_;  // asked for, and not yet taken
  std::optional<v1::Json> step_;
  std::optional<std::int64_t> timestamp_;
  std::optional<double> step_interval_;  // as the service has it, if it was told
  double usual_advance_ = 0;             // seconds
  std::int64_t decisions_ = 0;
  JsonReader reader_;
  std::mutex mutex_;                 // guards the members below
  std::shared_ptr<StopEvent> stop_;  // the engine's
  bool stopping_ = false;
};

}  // namespace tessra::remote
