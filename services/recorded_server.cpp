#include "services/recorded_server.h"

#include <fmt/format.h>

#include "Tessra/base/folder.h"
#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "services/forwarding_server.h"

namespace tessra {

namespace {

/// Reads a file of a recording; all of them hold an object.
Value read_record(const std::filesystem::path& file) {
  Value record = read_json_file(file);
  if (!record.is_dict()) {
    throw Error(fmt::format("{}: a record must be an object, is a {}", file.string(), kind_name(record.kind())));
  }
  return record;
}

/// Plays back records from files. Time advances with each record read, so `run_simulate` has nothing to do.
class RecordedServer : public GameServer, private NetSdk, private ConnReq {
 public:
  explicit RecordedServer(std::filesystem::path folder) : folder_(std::move(folder)) {}

  Value connect_server() override { return true; }
  void check_clean_rooms() override {}
  Value reset(int /*flag*/) override {
    updates_played_ = 0;
    return 0;
  }
  Value get_scenarios() override { return List(); }
  Value load_scenario(const Value& /*name*/) override { return true; }
  Value set_data_receive() override { return read_record(folder_ / "sides.json"); }
  void request_full_situation() override {}
  Value get_init_situation() override { return read_record(folder_ / "initial.json"); }

  void add_command(std::string /*text*/) override {}
  bool need_do_package_command() override { return false; }
  Value do_package_command() override { return Dict{{"message", "OK"}, {"resbin", ""}}; }
  void run_command(std::string_view /*text*/) override {}

  void run_simulate() override {}
  Value get_step_situation() override {
    const std::filesystem::path file = recorded_update(folder_, updates_played_ + 1);
    if (!std::filesystem::is_regular_file(file)) throw Error("the recording breaks off: no " + file.string());
    ++updates_played_;
    return read_record(file);
  }
  void simulate_end() override {}
  void update_simulate_timestamp(std::int64_t /*milliseconds*/) override {}

  void connect_client(std::shared_ptr<StopEvent> /*stop*/) override {
    throw Error("recorded situations have no scheduling client");
  }
  void agent_error_message_output(std::string_view /*text*/) override {}
  void update_step_interval(const Value& /*seconds*/) override {}
  NetSdk& net_sdk() override { return *this; }
  ConnReq& conn_req() override { return *this; }

 private:
  void delete_scen(int /*kind*/, std::string_view /*name*/) override {}
  Value req_client_agent_config(const Value& /*agent_id*/, const Value& /*agent_name*/) override { return Dict(); }
  void req_agent_times(const Value& /*id*/, const Value& /*name*/, std::int64_t /*agent_times*/) override {}

  std::filesystem::path folder_;
  int updates_played_ = 0;
};

/// Saves what passes through. The sides are requested only once, so they are kept and written to every episode.
class Recorder : public ForwardingServer {
 public:
  Recorder(std::shared_ptr<GameServer> client, std::filesystem::path folder)
      : ForwardingServer(std::move(client)), folder_(std::move(folder)) {}

  Value set_data_receive() override { return sides_ = ForwardingServer::set_data_receive().deep_copy(); }

  Value get_init_situation() override {
    Value situation = ForwardingServer::get_init_situation();
    if (!situation.truthy()) return situation;  // a failed start is not an episode
    ++episode_;
    updates_ = 0;
    make_folder(episode_folder());
    write_json_file(episode_folder() / "sides.json", sides_);
    write_json_file(episode_folder() / "initial.json", situation);
    return situation;
  }

  Value get_step_situation() override {
    Value situation = ForwardingServer::get_step_situation();
    if (situation.truthy()) write_json_file(recorded_update(episode_folder(), ++updates_), situation);
    return situation;
  }

 private:
  std::filesystem::path episode_folder() const { return folder_ / fmt::format("episode-{:06}", episode_); }

  std::filesystem::path folder_;
  Value sides_ = Dict();
  int episode_ = 0;
  int updates_ = 0;
};

}  // namespace

std::filesystem::path recorded_update(const std::filesystem::path& folder, int number) {
  return folder / fmt::format("update-{:06}.json", number);
}

std::shared_ptr<GameServer> make_recorded_server(const Dict& /*section*/, std::string_view address) {
  return std::make_shared<RecordedServer>(std::filesystem::path(address));
}

std::shared_ptr<GameServer> record_situations(std::shared_ptr<GameServer> client, const Dict& section) {
  const std::string folder(section.at_dict("server").at_text("record"));
  return std::make_shared<Recorder>(std::move(client), folder);
}

}  // namespace tessra
