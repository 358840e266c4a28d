// What is passed on is listed here, not what is held back: a field that a service adds one day stays with it.

#include "services/side_server.h"

#include <fmt/format.h>

#include <algorithm>

#include "Tessra/base/utf8.h"
#include "services/package_answer.h"
#include "simulation/command_reader.h"

namespace tessra {

namespace {

/// The entries of a table of sides that may be seen.
Dict visible_entries(const Dict& table, const std::set<std::string>& visible) {
  Dict kept;
  for (auto [id, entry] : table) {
    if (visible.contains(id.to_text())) kept.set(id, entry);
  }
  return kept;
}

/// Of the sides that may be seen, what they think of each other.
Dict scenario_part(const Dict& scenario, const std::set<std::string>& visible) {
  Dict kept = scenario.shallow_copy();
  const Dict* sides = scenario.find_dict("SideInfo");
  if (sides == nullptr) return kept;
  Dict descriptors = visible_entries(*sides, visible);
  for (auto [id, entry] : descriptors) {
    Dict descriptor = entry.as_dict().shallow_copy();
    if (const Dict* postures = descriptor.find_dict("Postures")) {
      descriptor.set("Postures", visible_entries(*postures, visible));
    }
    entry = descriptor;
  }
  kept.set("SideInfo", descriptors);
  return kept;
}

}  // namespace

void SideServer::find_visible_sides() {
  const Value sides = ForwardingServer::set_data_receive();
  visible_.clear();
  for (auto [id, entry] : sides.as_dict()) {
    if (!entry.as_dict().at("Name").is_text(agent_.side)) continue;
    visible_.insert(id.to_text());
    for (const Value& other : entry.as_dict().at_list("Friend")) visible_.insert(other.to_text());
  }
  if (visible_.empty()) throw Error("the scenario has no side '" + agent_.side + "'");
}

void SideServer::connect_client(std::shared_ptr<StopEvent> stop) {
  ForwardingServer::connect_client(std::move(stop));
  find_visible_sides();
}

Value SideServer::set_data_receive() {
  Dict sides = visible_entries(ForwardingServer::set_data_receive().as_dict(), visible_);
  for (auto [id, entry] : sides) {
    List friends;
    for (const Value& other : entry.as_dict().at_list("Friend")) {
      if (visible_.contains(other.to_text())) friends.push_back(other);
    }
    entry = Dict{{"Name", entry.as_dict().at("Name")}, {"Friend", friends}};
  }
  return sides;
}

Value SideServer::get_init_situation() { return restricted(ForwardingServer::get_init_situation()); }
Value SideServer::get_step_situation() { return restricted(ForwardingServer::get_step_situation()); }

Value SideServer::restricted(const Value& record) const {
  const Dict* whole = record.if_dict();
  if (whole == nullptr || whole->empty()) return record;
  Dict kept;
  for (const char* mark : {"IsEnd", "Crash"}) {
    if (whole->contains(mark)) kept.set(mark, whole->at(mark));
  }
  if (const Dict* scenario = whole->find_dict("ScenarioInfo"))
    kept.set("ScenarioInfo", scenario_part(*scenario, visible_));
  if (const Dict* situation = whole->find_dict("Situation")) {
    Dict part;
    if (const Value* info = situation->find("SituationInfo")) part.set("SituationInfo", *info);
    if (const Dict* sides = situation->find_dict("SituationSides")) {
      part.set("SituationSides", visible_entries(*sides, visible_));
    }
    kept.set("Situation", part);
  }
  return kept;
}

// Orders.

/// Empty if the order is the side's own.
std::string SideServer::why_refused(std::string_view command) const {
  try {
    const Value named = sim::read_command(command).arguments.get("SIDE");
    if (named.is_none()) return "an order of this agent must name its side '" + agent_.side + "'";
    if (named.is_text(agent_.side)) return "";
    return fmt::format("an agent of side '{}' gives no orders to side '{}'", agent_.side, excerpt(named.to_text(), 40));
  } catch (const sim::CommandError& error) {
    return error.what();
  }
}

void SideServer::add_command(std::string text) {
  constexpr std::size_t kExcerpt = 200;
  const std::int64_t number = ++package_size_;
  std::string reason = why_refused(text);
  if (!reason.empty()) {
    refused_.push_back({number, excerpt(text, kExcerpt), std::move(reason)});
    return;
  }
  passed_on_.push_back(number);
  ForwardingServer::add_command(std::move(text));
}

/// The service counts the orders that reached it: its refusals get the numbers that the agent knows.
Value SideServer::do_package_command() {
  std::vector<Refused> refused = std::exchange(refused_, {});
  if (!passed_on_.empty()) {
    const Value answer = ForwardingServer::do_package_command();
    if (const Value* list = answer.as_dict().find("refused")) {
      for (const Value& item : list->as_list()) {
        const Dict& entry = item.as_dict();
        const auto place = static_cast<std::size_t>(entry.at_integer("number")) - 1;
        refused.push_back({passed_on_.at(place), entry.at("command").to_text(), entry.at("reason").to_text()});
      }
    }
  }
  passed_on_.clear();
  package_size_ = 0;
  std::ranges::sort(refused, {}, &Refused::number);
  List entries;
  for (const Refused& order : refused) {
    entries.push_back(
        Dict{{"number", order.number}, {"side", agent_.side}, {"command", order.command}, {"reason", order.reason}});
  }
  return package_answer(entries);
}

void SideServer::run_command(std::string_view text) {
  if (const std::string reason = why_refused(text); !reason.empty()) throw Error(reason);
  ForwardingServer::run_command(text);
}

void SideServer::update_step_interval(const Value& seconds) {
  ForwardingServer::update_step_interval(std::max(seconds.as_real(), agent_.shortest_interval));
}

// Settings and reports.

void SideServer::check_agent(const Value& agent_id) const {
  if (agent_id.to_text() != agent_.id) throw Error("this is not agent '" + excerpt(agent_id.to_text(), 40) + "'");
}

Value SideServer::req_client_agent_config(const Value& agent_id, const Value& agent_name) {
  check_agent(agent_id);
  return ForwardingServer::conn_req().req_client_agent_config(agent_id, agent_name);
}

void SideServer::req_agent_times(const Value& agent_id, const Value& agent_name, std::int64_t agent_times) {
  check_agent(agent_id);
  ForwardingServer::conn_req().req_agent_times(agent_id, agent_name, agent_times);
}

}  // namespace tessra
