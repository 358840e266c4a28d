#include "apps/deduce/checking_service.h"

#include <fmt/format.h>

#include <sstream>

namespace tessra::app {

namespace {

/// The dictionary under the key, added when absent.
Dict part(Dict parent, std::string_view key) {
  if (!parent.contains(key)) parent.set(key, Dict());
  return parent.at_dict(key);
}

/// One fault shows with many units and contacts: what is quoted is left out.
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

constexpr std::string_view kContact = "contact-unnamed";

}  // namespace

CheckingService::CheckingService(std::shared_ptr<GameServer> service, std::string side_id, std::string side_name,
                                 Findings& findings, bool unnamed_contact)
    : ForwardingServer(std::move(service)),
      side_id_(std::move(side_id)),
      side_name_(std::move(side_name)),
      findings_(findings),
      unnamed_contact_(unnamed_contact) {}

Value CheckingService::load_scenario(const Value& name) {
  orders_.clear();
  advances_ = 0;
  return ForwardingServer::load_scenario(name);
}

void CheckingService::add_command(std::string text) {
  if (text.find("SIDE='" + side_name_ + "'") == std::string::npos) {
    findings_.add("gives an order that does not name its own side: " + text, time_elapsed());
  }
  orders_.push_back(text);
  ForwardingServer::add_command(std::move(text));
}

Value CheckingService::do_package_command() {
  Value answer = ForwardingServer::do_package_command();
  if (!answer.as_dict().at("message").is_text("Error")) return answer;
  std::istringstream reports{std::string(answer.as_dict().at_text("resbin"))};
  for (std::string report; std::getline(reports, report);) judge(report);
  return answer;
}

// A report is "number: command: reason".
void CheckingService::judge(const std::string& report) {
  const std::size_t behind_number = report.find(": ") + 2;
  const std::size_t behind_command = report.find("}): ", behind_number);
  const std::string reason = behind_command != std::string::npos ? report.substr(behind_command + 4) : report;
  if (reason.find("is no living unit of side") != std::string::npos) {
    findings_.add("orders a unit that is not its own or no longer there: " + reason, time_elapsed());
  } else {
    findings_.add("gives orders the service refuses: " + without_names(reason), time_elapsed(),
                  report.substr(behind_number));
  }
}

Value CheckingService::get_init_situation() {
  Value situation = ForwardingServer::get_init_situation();
  if (const Dict* record = situation.if_dict()) {
    start_ = record->at_dict("ScenarioInfo").at_real("StartTime");
    time_ = record->at_dict("ScenarioInfo").at_real("Time");
  }
  return situation;
}

Value CheckingService::get_step_situation() {
  constexpr int kAppears = 2;
  constexpr int kVanishes = 4;
  Value situation = ForwardingServer::get_step_situation();
  const Dict* record = situation.if_dict();
  if (record == nullptr || record->contains("Crash")) return situation;
  if (const Dict* info = record->find_dict("ScenarioInfo"); info != nullptr && info->contains("Time")) {
    time_ = info->at_real("Time");
  }
  ++advances_;
  if (!unnamed_contact_ || (advances_ != kAppears && advances_ != kVanishes)) return situation;
  const Dict side = part(part(part(*record, "Situation"), "SituationSides"), side_id_);
  const Dict real = part(side, "SideReal");
  if (advances_ == kAppears) {
    part(real, "Contacts").set(kContact, Dict());
  } else {
    Dict gone = part(part(real, "mapdel"), "Contacts");
    List ids{kContact};
    if (const List* others = gone.find_list("v")) ids.extend(*others);
    gone.set("v", ids);
  }
  return situation;
}

}  // namespace tessra::app
