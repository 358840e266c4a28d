#include "services/service_checks.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "services/order_checks.h"
#include "services/situation_checks.h"

namespace tessra {

namespace {

/// Names come as a list or as the keys of a dictionary.
std::vector<std::string> names_of(const Value& scenarios) {
  std::vector<std::string> names;
  if (const List* list = scenarios.if_list()) {
    for (const Value& name : *list) names.push_back(name.to_text());
  } else if (const Dict* table = scenarios.if_dict()) {
    for (auto [name, entry] : *table) names.push_back(name.to_text());
  }
  return names;
}

bool is_end(const Value& record) { return record.is_dict() && record.as_dict().non_empty("IsEnd"); }

/// Records are handed over: what the engine does to one must not show in the next.
void use_up(Value record) {
  if (record.is_dict()) record.as_dict().clear();
}

/// One episode.
class EpisodeCheck {
 public:
  EpisodeCheck(GameServer& service, std::string scenario, ServiceReport& report)
      : service_(service), scenario_(std::move(scenario)), report_(report), situations_(report) {}

  void play(int flag) {
    start(flag);
    begin();
    check_orders(service_, report_);
    constexpr const char* kCall = "get_step_situation()";
    for (int advances = 0; advances < 2; ++advances) {
      const Value record = advance();
      report_.need(record.truthy(), kCall, "a record after each of the first advances", record.to_text());
      report_.need(!is_end(record), kCall, "no end after two advances", "`IsEnd`");
      use_up(record);
    }
    end();
  }

 private:
  void start(int flag) {
    const std::string reset = fmt::format("reset({})", flag);
    const Value answer = report_.answer(reset, [&] { return service_.reset(flag); });
    report_.need(answer == Value(0) || answer == Value(2), reset, "0 or 2", answer.to_text());
    choose(report_.answer("get_scenarios()", [&] { return service_.get_scenarios(); }));
    load("no such scenario", false);
    load(scenario_, true);
  }

  void choose(const Value& scenarios) {
    const std::vector<std::string> names = names_of(scenarios);
    if (scenario_.empty()) {
      report_.need(!names.empty(), "get_scenarios()", "a list with the name of a scenario", scenarios.to_text());
      scenario_ = names.front();
    }
    const bool named = names.empty() || std::ranges::find(names, scenario_) != names.end();
    report_.want(named, "get_scenarios()", "'" + scenario_ + "' among the names", scenarios.to_text());
  }

  void load(const std::string& name, bool exists) {
    const std::string call = fmt::format("load_scenario({})", name);
    const Value loaded = report_.answer(call, [&] { return service_.load_scenario(name); });
    if (exists) report_.need(loaded.is_true(), call, "true", loaded.to_text());
    if (!exists) report_.want(!loaded.is_true(), call, "anything but true", "true");
  }

  void begin() {
    situations_.take_sides(report_.answer("set_data_receive()", [&] { return service_.set_data_receive(); }));
    report_.answer("request_full_situation()", [&] { service_.request_full_situation(); });
    const Value initial = report_.answer("get_init_situation()", [&] { return service_.get_init_situation(); });
    if (!situations_.take_initial(initial)) throw GivenUp();
    use_up(initial);
    report_.answer("update_simulate_timestamp(1)", [&] { service_.update_simulate_timestamp(1); });
    report_.answer("run_command(ChangeSpeed)", [&] { service_.run_command("ChangeSpeed({SPEED='1'})"); });
  }

  Value advance() {
    report_.answer("run_simulate()", [&] { service_.run_simulate(); });
    Value record = report_.answer("get_step_situation()", [&] { return service_.get_step_situation(); });
    if (record.truthy()) situations_.take_update(record);
    return record;
  }

  void end() {
    constexpr int kMostAdvances = 3;
    report_.answer("simulate_end()", [&] { service_.simulate_end(); });
    for (int advances = 0; advances < kMostAdvances; ++advances) {
      if (is_end(advance())) return;
    }
    report_.find("simulate_end()", fmt::format("`IsEnd` within {} advances", kMostAdvances), "none");
  }

  GameServer& service_;
  std::string scenario_;
  ServiceReport& report_;
  SituationChecks situations_;
};

}  // namespace

void check_service(const std::function<std::shared_ptr<GameServer>()>& make, const std::string& scenario,
                   ServiceReport& report) {
  constexpr const char* kStarts[] = {"an episode", "an episode after one that could not be started",
                                     "an episode in a room started anew"};
  std::shared_ptr<GameServer> service;
  const bool connected = report.run("the service client", [&] {
    service = report.answer("making the client", make);
    const Value answer = report.answer("connect_server()", [&] { return service->connect_server(); });
    report.need(!answer.is_none(), "connect_server()", "anything but none", "none");
    report.answer("check_clean_rooms()", [&] { service->check_clean_rooms(); });
  });
  if (!connected) return;
  for (int flag = 0; flag < 3; ++flag) {
    report.run(kStarts[flag], [&] { EpisodeCheck(*service, scenario, report).play(flag); });
  }
}

}  // namespace tessra
