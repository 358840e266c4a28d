// The checking proxy of the service client. Calls ask `is_agents` first: engine and agent share one client, and
// what tells their calls apart is whether an operation of the agent is running.

#include "apps/deduce/checking_service.h"

#include <fmt/format.h>

#include <optional>

#include "simulation/command_reader.h"

namespace tessra::app {

namespace {

/// The dictionary under the key, added if absent.
Dict part(Dict parent, std::string_view key) {
  if (!parent.contains(key)) parent.set(key, Dict());
  return parent.at_dict(key);
}

/// The reason without quoted names: one fault occurs with many units and contacts and should be one finding.
std::string without_names(const std::string& reason) {
  std::string result;
  bool quoted = false;
  for (const char c : reason) {
    if (c == '\'') {
      result += quoted ? "'" : "'…";
      quoted = !quoted;
    } else if (!quoted) {
      result += c;
    }
  }
  return result;
}

/// The side an order is for, empty if it names none; nothing for a text that is not a valid order, since the service
/// refuses it anyway.
std::optional<std::string> side_of(const std::string& text) {
  try {
    const Value side = sim::read_command(text).arguments.get("SIDE");
    return side.is_none() ? "" : side.to_text();
  } catch (const sim::CommandError&) {
    return std::nullopt;
  }
}

constexpr std::string_view kContact = "contact-unnamed";

}  // namespace

CheckingService::CheckingService(std::shared_ptr<GameServer> service, Watched watched)
    : ForwardingServer(std::move(service)), watched_(std::move(watched)) {}

bool CheckingService::is_agents(const char* call, const char* what) {
  // The engine never calls the service from within an agent's operation.
  const char* operation = watched_.progress->running();
  if (operation == nullptr) return false;
  watched_.findings->add(fmt::format("`{}` calls `{}` of the service client: {}", operation, call, what),
                         time_elapsed());
  return true;
}

Value CheckingService::load_scenario(const Value& name) {
  if (is_agents("load_scenario")) return false;
  orders_.clear();
  advances_ = 0;
  return ForwardingServer::load_scenario(name);
}

void CheckingService::add_command(std::string text) {
  const std::optional<std::string> side = side_of(text);
  if (side && side->empty()) {
    watched_.findings->add("gives orders that do not name its own side", time_elapsed(), text);
  } else if (side && *side != watched_.side_name) {
    watched_.findings->add("gives orders for side '" + *side + "', which is not its own", time_elapsed(), text);
  }
  orders_.push_back(text);
  ForwardingServer::add_command(std::move(text));
}

Value CheckingService::do_package_command() {
  if (is_agents("do_package_command")) return Dict{{"message", "OK"}, {"resbin", ""}};
  Value answer = ForwardingServer::do_package_command();
  for (const Value& refusal : answer.as_dict().at_list("refused")) judge(refusal.as_dict());
  return answer;
}

void CheckingService::judge(const Dict& refusal) {
  const std::string command(refusal.at_text("command"));
  const std::string reason(refusal.at_text("reason"));
  if (reason.find("is no living unit of side") != std::string::npos) {
    watched_.findings->add("orders a unit that is not its own or no longer there: " + reason, time_elapsed());
  } else {
    watched_.findings->add("gives orders the service refuses: " + without_names(reason), time_elapsed(),
                           command + ": " + reason);
  }
}

Value CheckingService::get_init_situation() {
  if (is_agents("get_init_situation", "it reads the truth of all sides")) return last_record_.deep_copy();
  Value situation = ForwardingServer::get_init_situation();
  if (const Dict* record = situation.if_dict()) {
    start_ = record->at_dict("ScenarioInfo").at_real("StartTime");
    time_ = record->at_dict("ScenarioInfo").at_real("Time");
  }
  last_record_ = situation.deep_copy();
  return situation;
}

Value CheckingService::get_step_situation() {
  if (is_agents("get_step_situation", "it takes the engine's update and reads the truth of all sides")) {
    return last_record_.deep_copy();
  }
  Value situation = ForwardingServer::get_step_situation();
  const Dict* record = situation.if_dict();
  if (record == nullptr || record->contains("Crash")) return situation;
  if (const Dict* info = record->find_dict("ScenarioInfo"); info != nullptr && info->contains("Time")) {
    time_ = info->at_real("Time");
  }
  ++advances_;
  if (watched_.unnamed_contact) show_unnamed_contact(*record);
  last_record_ = situation.deep_copy();
  return situation;
}

void CheckingService::show_unnamed_contact(const Dict& record) const {
  constexpr int kAppears = 2;
  constexpr int kVanishes = 4;
  if (advances_ != kAppears && advances_ != kVanishes) return;
  const Dict side = part(part(part(record, "Situation"), "SituationSides"), watched_.side_id);
  const Dict real = part(side, "SideReal");
  if (advances_ == kAppears) {
    part(real, "Contacts").set(kContact, Dict());
    return;
  }
  Dict gone = part(part(real, "mapdel"), "Contacts");
  List ids{kContact};
  if (const List* others = gone.find_list("v")) ids.extend(*others);
  gone.set("v", ids);
}

void CheckingService::simulate_end() {
  if (!is_agents("simulate_end", "it ends the episode; `is_done` is how an agent asks for the end")) {
    ForwardingServer::simulate_end();
  }
}

void CheckingService::run_command(std::string_view text) {
  if (!is_agents("run_command", "it runs a command past the package")) ForwardingServer::run_command(text);
}

void CheckingService::run_simulate() {
  if (!is_agents("run_simulate")) ForwardingServer::run_simulate();
}

Value CheckingService::connect_server() {
  return is_agents("connect_server") ? Value(true) : ForwardingServer::connect_server();
}

void CheckingService::check_clean_rooms() {
  if (!is_agents("check_clean_rooms")) ForwardingServer::check_clean_rooms();
}

Value CheckingService::reset(int flag) { return is_agents("reset") ? Value(0) : ForwardingServer::reset(flag); }

Value CheckingService::set_data_receive() {
  is_agents("set_data_receive");  // harmless: it only returns the sides
  return ForwardingServer::set_data_receive();
}

void CheckingService::request_full_situation() {
  if (!is_agents("request_full_situation")) ForwardingServer::request_full_situation();
}

void CheckingService::update_simulate_timestamp(std::int64_t milliseconds) {
  if (!is_agents("update_simulate_timestamp")) ForwardingServer::update_simulate_timestamp(milliseconds);
}

void CheckingService::connect_client(std::shared_ptr<StopEvent> stop) {
  if (!is_agents("connect_client")) ForwardingServer::connect_client(std::move(stop));
}

void CheckingService::agent_error_message_output(std::string_view text) {
  if (!is_agents("agent_error_message_output")) ForwardingServer::agent_error_message_output(text);
}

void CheckingService::update_step_interval(const Value& seconds) {
  if (!is_agents("update_step_interval")) ForwardingServer::update_step_interval(seconds);
}

NetSdk& CheckingService::net_sdk() {
  is_agents("net_sdk", "it can delete scenarios");
  return ForwardingServer::net_sdk();
}

GameServer& CheckingService::inner() {
  is_agents("inner", "it reaches for the service behind its client");
  return ForwardingServer::inner();
}

}  // namespace tessra::app
