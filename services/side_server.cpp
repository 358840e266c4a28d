// What is passed on is listed here, not what is held back: a field that a service adds one day stays with it.

#include "services/side_server.h"

#include <fmt/format.h>

#include <algorithm>

#include "Tessra/base/utf8.h"
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

/// The dictionary with its table of sides cut down.
Dict with_visible(const Dict& parent, const char* table, const std::set<std::string>& visible) {
  Dict copy = parent.shallow_copy();
  if (const Dict* sides = parent.find_dict(table)) copy.set(table, visible_entries(*sides, visible));
  return copy;
}

}  // namespace

void SideServer::find_visible_sides() {
  const Value sides = ForwardingServer::set_data_receive();
  visible_.clear();
  for (auto [id, entry] : sides.as_dict()) {
    if (!entry.as_dict().at("Name").is_text(side_)) continue;
    visible_.insert(id.to_text());
    for (const Value& other : entry.as_dict().at_list("Friend")) visible_.insert(other.to_text());
  }
  if (visible_.empty()) throw Error("the scenario has no side '" + side_ + "'");
}

void SideServer::connect_client(std::shared_ptr<StopEvent> stop) {
  ForwardingServer::connect_client(std::move(stop));
  find_visible_sides();
}

Value SideServer::set_data_receive() {
  return visible_entries(ForwardingServer::set_data_receive().as_dict(), visible_);
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
  if (const Dict* scenario = whole->find_dict("ScenarioInfo")) {
    kept.set("ScenarioInfo", with_visible(*scenario, "SideInfo", visible_));
  }
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
    if (named.is_none()) return "an order of this agent must name its side '" + side_ + "'";
    if (named.is_text(side_)) return "";
    return fmt::format("an agent of side '{}' gives no orders to side '{}'", side_, excerpt(named.to_text(), 40));
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
  std::string report;
  List entries;
  for (const Refused& order : refused) {
    report += fmt::format("{}{}: {}: {}", report.empty() ? "" : "\n", order.number, order.command, order.reason);
    entries.push_back(
        Dict{{"number", order.number}, {"side", side_}, {"command", order.command}, {"reason", order.reason}});
  }
  return Dict{{"message", report.empty() ? "OK" : "Error"}, {"resbin", report}, {"refused", entries}};
}

void SideServer::run_command(std::string_view text) {
  if (const std::string reason = why_refused(text); !reason.empty()) throw Error(reason);
  ForwardingServer::run_command(text);
}

}  // namespace tessra
