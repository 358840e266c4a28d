#include "services/service_checks.h"

#include <fmt/format.h>

#include "Tessra/base/guard.h"
#include "services/situation_checks.h"

namespace tessra {

namespace {

/// Nothing that follows would mean anything.
struct GivenUp {};

/// No service has such a command or such a scenario.
constexpr const char* kNoCommand = "NoSuchCommand({})";
constexpr const char* kNoScenario = "no such scenario";

class ServiceCheck {
 public:
  ServiceCheck(GameServer& service, std::string scenario, ServiceReport& report)
      : service_(service), scenario_(std::move(scenario)), report_(report) {}

  void connect() {
    const Value answer = made("connect_server()", [&] { return service_.connect_server(); });
    need(!answer.is_none(), "connect_server()", "anything but none", "none");
    made("check_clean_rooms()", [&] { return service_.check_clean_rooms(), Value(); });
  }

  void play(int flag) {
    SituationChecks situations(report_);
    start(flag);
    situations.take_sides(made("set_data_receive()", [&] { return service_.set_data_receive(); }));
    made("request_full_situation()", [&] { return service_.request_full_situation(), Value(); });
    Value initial = made("get_init_situation()", [&] { return service_.get_init_situation(); });
    if (!situations.take_initial(initial)) throw GivenUp();
    // Records are handed over: what the engine does to one must not show in the next.
    initial.as_dict().clear();
    made("update_simulate_timestamp(1)", [&] { return service_.update_simulate_timestamp(1), Value(); });
    made("run_command(ChangeSpeed)", [&] { return service_.run_command("ChangeSpeed({SPEED='1'})"), Value(); });
    send_nonsense();
    for (int advances = 0; advances < 2; ++advances) {
      const Value record = advance(situations);
      need(record.truthy(), "get_step_situation()", "a record after each of the first advances", record.to_text());
      need(!is_end(record), "get_step_situation()", "no end after two advances", "`IsEnd`");
      if (record.is_dict()) Value(record).as_dict().clear();
    }
    end(situations);
  }

 private:
  /// The answer of a call, which must not throw.
  Value made(const std::string& call, const std::function<Value()>& run) {
    Value answer;
    const bool returned = guarded(
        [&] { answer = run(); },
        [&](const std::exception_ptr& error) { report_.find(call, "an answer", "an error: " + error_text(error)); });
    if (!returned) throw GivenUp();
    return answer;
  }

  void want(bool holds, const std::string& call, const std::string& wanted, const std::string& came) {
    if (!holds) report_.find(call, wanted, came);
  }
  void need(bool holds, const std::string& call, const std::string& wanted, const std::string& came) {
    want(holds, call, wanted, came);
    if (!holds) throw GivenUp();
  }

  void start(int flag) {
    const std::string reset = fmt::format("reset({})", flag);
    const Value answer = made(reset, [&] { return service_.reset(flag); });
    need(answer == Value(0) || answer == Value(2), reset, "0 or 2", answer.to_text());
    choose(made("get_scenarios()", [&] { return service_.get_scenarios(); }));
    want(!load(kNoScenario).is_true(), fmt::format("load_scenario({})", kNoScenario), "anything but true", "true");
    const Value loaded = load(scenario_);
    need(loaded.is_true(), fmt::format("load_scenario({})", scenario_), "true", loaded.to_text());
  }

  Value load(const std::string& name) {
    return made(fmt::format("load_scenario({})", name), [&] { return service_.load_scenario(name); });
  }

  /// Names come as a list or as the keys of a dictionary.
  void choose(const Value& scenarios) {
    std::vector<std::string> names;
    if (const List* list = scenarios.if_list()) {
      for (const Value& name : *list) names.push_back(name.to_text());
    } else if (const Dict* table = scenarios.if_dict()) {
      for (auto [name, entry] : *table) names.push_back(name.to_text());
    }
    need(!names.empty(), "get_scenarios()", "a list with the name of a scenario", scenarios.to_text());
    if (scenario_.empty()) scenario_ = names.front();
    want(std::ranges::find(names, scenario_) != names.end(), "get_scenarios()", "'" + scenario_ + "' among the names",
         scenarios.to_text());
  }

  /// An order that cannot be carried out is reported in the answer.
  void send_nonsense() {
    constexpr const char* kCall = "do_package_command(), with two orders that mean nothing";
    want(!queued(), "need_do_package_command()", "false while nothing is queued", "true");
    for (int order = 0; order < 2; ++order) {
      made("add_command()", [&] { return service_.add_command(kNoCommand), Value(); });
    }
    want(queued(), "need_do_package_command()", "true while orders are queued", "false");
    const Value answer = made(kCall, [&] { return service_.do_package_command(); });
    need(answer.is_dict() && answer.as_dict().get("message").is_string(), kCall, "a dictionary with `message`, a text",
         answer.to_text());
    want(!queued(), "need_do_package_command()", "false after the package was sent", "true");
    judge(kCall, answer.as_dict());
  }

  bool queued() {
    return made("need_do_package_command()", [&] { return Value(service_.need_do_package_command()); }).is_true();
  }

  void judge(const std::string& call, const Dict& answer) {
    if (!answer.get("message").is_text("Error")) {
      report_.note(
          fmt::format("the order {} is taken without a word: are orders refused that mean nothing?", kNoCommand));
      return;
    }
    const Value lines = answer.get("resbin");
    want(lines.is_string() && lines.truthy(), call, "a line for each refused order in `resbin`", lines.to_text());
    const Value refused = answer.get("refused");
    want(refused.is_none() || refused.is_list(), call, "`refused`, a list", refused.to_text());
    if (!refused.is_list()) return;
    for (const Value& entry : refused.as_list()) {
      const Dict refusal = entry.is_dict() ? entry.as_dict() : Dict();
      const Value number = refusal.get("number");
      want(number == Value(1) || number == Value(2), call, "`number`, 1 or 2, in `refused`", entry.to_text());
      want(refusal.get("reason").is_string(), call, "`reason`, a text, in `refused`", entry.to_text());
    }
  }

  Value advance(SituationChecks& situations) {
    made("run_simulate()", [&] { return service_.run_simulate(), Value(); });
    const Value record = made("get_step_situation()", [&] { return service_.get_step_situation(); });
    if (record.truthy()) situations.take_update(record);
    return record;
  }

  static bool is_end(const Value& record) { return record.is_dict() && record.as_dict().non_empty("IsEnd"); }

  void end(SituationChecks& situations) {
    constexpr int kMostAdvances = 3;
    made("simulate_end()", [&] { return service_.simulate_end(), Value(); });
    for (int advances = 0; advances < kMostAdvances; ++advances) {
      if (is_end(advance(situations))) return;
    }
    report_.find("simulate_end()", fmt::format("`IsEnd` within {} advances", kMostAdvances), "none");
  }

  GameServer& service_;
  std::string scenario_;
  ServiceReport& report_;
};

}  // namespace

void check_service(const std::function<std::shared_ptr<GameServer>()>& make, const std::string& scenario,
                   ServiceReport& report) {
  constexpr const char* kStarts[] = {"an episode", "an episode after one that could not be started",
                                     "an episode in a room started anew"};
  std::shared_ptr<GameServer> service;
  report.enter("the service client");
  const bool exists = guarded([&] { service = make(); },
                              [&](const std::exception_ptr& error) {
                                report.find("making the client", "a client", "an error: " + error_text(error));
                              });
  if (!exists) return;
  ServiceCheck check(*service, scenario, report);
  try {
    check.connect();
  } catch (const GivenUp&) {
    return;
  }
  for (int flag = 0; flag < 3; ++flag) {
    report.enter(kStarts[flag]);
    try {
      check.play(flag);
    } catch (const GivenUp&) {
      continue;  // with the next start
    }
  }
}

}  // namespace tessra
