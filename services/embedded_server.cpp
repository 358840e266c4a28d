#include "services/embedded_server.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <vector>

#include "services/data_directory.h"
#include "services/package_answer.h"
#include "services/scheduling_client.h"
#include "simulation/simulation.h"

namespace tessra {

namespace {

/// A valid decision interval. Throws `Error` for anything else: rounding it would silently play a different interval.
int advance_seconds(const Value& seconds) {
  constexpr std::int64_t kWeek = 604'800;
  const std::int64_t whole = seconds.to_integer();
  const bool cut = seconds.is_real() && seconds.as_real() != static_cast<double>(whole);
  if (whole < 1 || whole > kWeek || cut) {
    throw Error(fmt::format("a decision interval is 1 to {} whole seconds, not {}", kWeek, seconds.to_text()));
  }
  return static_cast<int>(whole);
}

Dict refusal(const sim::CommandFault& fault) {
  Dict entry{{"number", fault.number}, {"command", fault.text}, {"reason", fault.reason}};
  if (!fault.side.empty()) entry.set("side", fault.side);
  return entry;
}

/// Adapts the simulation to the interface of a service client. One object plays all episodes of an engine; every loaded
/// scenario starts the next one.
class EmbeddedServer : public GameServer, private NetSdk, private ConnReq {
 public:
  EmbeddedServer(std::filesystem::path folder, std::uint64_t seed, std::uint64_t first_episode, int advance_seconds)
      : folder_(std::move(folder)), seed_(seed), episode_(first_episode - 1), advance_seconds_(advance_seconds) {}

  // Connecting cannot fail, since the service is in this process.
  Value connect_server() override { return true; }
  void check_clean_rooms() override {}

  Value reset(int flag) override {
    // Returning the flag makes the engine request the sides and the full situation again.
    constexpr int kNewRoom = 2;
    simulation_.reset();
    commands_.clear();
    room_id = "embedded";
    return flag == kNewRoom ? kNewRoom : 0;
  }

  Value get_scenarios() override {
    List names;
    for (const std::string& name : sim::scenario_names(folder_)) names.push_back(name);
    return names;
  }

  Value load_scenario(const Value& name) override {
    // Only what is listed: the name may come from another machine, and must not lead out of the folder.
    const std::string stem = name.to_text();
    if (std::ranges::count(sim::scenario_names(folder_), stem) == 0) return false;
    // Parsed once and shared by all episodes: scenarios are immutable.
    if (name != scenario_name_) {
      scenario_ = sim::Simulation::load(folder_ / (stem + ".json"));
      scenario_name_ = name;
    }
    ++episode_;
    simulation_.emplace(scenario_, sim::episode_seed(seed_, episode_), advance_seconds_);
    return true;
  }

  Value set_data_receive() override { return loaded().sides_info(); }
  void request_full_situation() override {}
  Value get_init_situation() override { return simulation_ ? Value(simulation_->initial_situation()) : Value(); }

  void add_command(std::string text) override { commands_.push_back(std::move(text)); }
  bool need_do_package_command() override { return !commands_.empty(); }

  Value do_package_command() override {
    const std::vector<std::string> package = std::exchange(commands_, {});
    List refused;
    for (const sim::CommandFault& fault : loaded().execute(package)) refused.push_back(refusal(fault));
    return package_answer(refused);
  }

  void run_command(std::string_view text) override {
    for (const sim::CommandFault& fault : loaded().execute({std::string(text)})) {
      throw Error("command refused: " + fault.text + ": " + fault.reason);
    }
  }

  void run_simulate() override {
    if (simulation_) simulation_->advance();
  }
  Value get_step_situation() override { return simulation_ ? Value(simulation_->step_situation()) : Value(); }
  void simulate_end() override { loaded().end(); }
  void update_simulate_timestamp(std::int64_t /*milliseconds*/) override {}

  // Operations of a scheduling client: `SchedulingClient` implements them in front of this one.
  void connect_client(std::shared_ptr<StopEvent> /*stop*/) override {
    throw Error("the embedded service has a scheduling client in AI-apply mode only");
  }
  void agent_error_message_output(std::string_view /*text*/) override {}
  void update_step_interval(const Value& seconds) override { loaded().set_advance_seconds(advance_seconds(seconds)); }
  NetSdk& net_sdk() override { return *this; }
  ConnReq& conn_req() override { return *this; }

  const sim::Simulation* simulation() const { return simulation_ ? &*simulation_ : nullptr; }

 private:
  // Nothing to delete: an agent must not be able to remove scenario files.
  void delete_scen(int /*kind*/, std::string_view /*name*/) override {}
  Value req_client_agent_config(const Value& /*agent_id*/, const Value& /*agent_name*/) override { return Dict(); }
  void req_agent_times(const Value& /*id*/, const Value& /*name*/, std::int64_t /*agent_times*/) override {}

  sim::Simulation& loaded() {
    if (!simulation_) throw Error("no scenario is loaded");
    return *simulation_;
  }

  std::filesystem::path folder_;
  std::uint64_t seed_;
  std::uint64_t episode_;
  int advance_seconds_;
  Value scenario_name_;
  std::shared_ptr<const sim::Scenario> scenario_;
  std::optional<sim::Simulation> simulation_;
  std::vector<std::string> commands_;
};

}  // namespace

void check_scenario(const std::filesystem::path& file) { sim::Simulation::load(file); }

const sim::Simulation* simulation_of(GameServer& client) {
  const auto* embedded = find_client<EmbeddedServer>(client);
  return embedded != nullptr ? embedded->simulation() : nullptr;
}

std::shared_ptr<GameServer> make_embedded_server(const Dict& section, std::string_view address) {
  const Dict& server = section.at_dict("server");
  const auto number = [&](const char* key) {
    const Value* value = server.find(key);
    return value != nullptr ? static_cast<std::uint64_t>(value->to_integer()) : 1;
  };
  const Dict* simulate = section.find_dict("simulate");
  const Value* interval = simulate != nullptr ? simulate->find("decision_interval") : nullptr;
  std::shared_ptr<GameServer> service = std::make_shared<EmbeddedServer>(
      address.empty() ? data_directory() / "scenarios" : std::filesystem::path(address), number("seed"),
      number("first_episode"), interval != nullptr ? advance_seconds(*interval) : 30);
  if (section.non_empty("is_ai_apply")) service = std::make_shared<SchedulingClient>(std::move(service), section);
  return service;
}

}  // namespace tessra
