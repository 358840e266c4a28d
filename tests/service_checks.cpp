// The checks that every backend must pass: what they find in one that fails the engine.

#include "services/service_checks.h"

#include "services/embedded_server.h"
#include "services/forwarding_server.h"
#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Changes the answer of an operation before the engine gets it.
using Spoil = std::function<void(const std::string& operation, Value& answer)>;

/// A client whose answers are spoiled.
class Spoiled : public ForwardingServer {
 public:
  Spoiled(std::shared_ptr<GameServer> inner, Spoil spoil)
      : ForwardingServer(std::move(inner)), spoil_(std::move(spoil)) {}

  Value connect_server() override { return spoiled("connect", ForwardingServer::connect_server()); }
  Value reset(int flag) override { return spoiled("reset", ForwardingServer::reset(flag)); }
  Value get_scenarios() override { return spoiled("scenarios", ForwardingServer::get_scenarios()); }
  Value load_scenario(const Value& name) override { return spoiled("load", ForwardingServer::load_scenario(name)); }
  Value set_data_receive() override { return spoiled("sides", ForwardingServer::set_data_receive()); }
  Value get_init_situation() override { return spoiled("initial", ForwardingServer::get_init_situation()); }
  Value do_package_command() override { return spoiled("package", ForwardingServer::do_package_command()); }
  Value get_step_situation() override { return spoiled("step", ForwardingServer::get_step_situation()); }

 private:
  Value spoiled(const std::string& operation, Value answer) {
    spoil_(operation, answer);
    return answer;
  }

  Spoil spoil_;
};

ServiceReport check(const Spoil& spoil) {
  const auto make = [&] {
    return std::make_shared<Spoiled>(
        make_embedded_server(json("{'server': {'seed': 3}, 'simulate': {}}"), TESSRA_SOURCE_DIR "/scenarios"), spoil);
  };
  ServiceReport report;
  check_service(make, "skirmish", report);
  return report;
}

Spoil set(const std::string& operation, const Value& value) {
  return [=](const std::string& called, Value& answer) {
    if (called == operation) answer = value.deep_copy();
  };
}

/// The entry of a dictionary, or under "*" the first one.
Dict entry(Dict& table, const std::string& key) {
  if (key != "*") return table.at_dict(key);
  for (auto [first, value] : table) return value.as_dict();
  return {};
}

/// Writes a value at this path of an answer, or takes the entry away.
Spoil change(const std::string& operation, const std::vector<std::string>& path, const std::optional<Value>& value) {
  return [=](const std::string& called, Value& answer) {
    if (called != operation) return;
    Dict at = answer.as_dict();
    for (std::size_t i = 0; i + 1 < path.size(); ++i) at = entry(at, path[i]);
    if (value) at.set(path.back(), value->deep_copy());
    if (!value) at.erase(path.back());
  };
}

/// Hands out one record again and again.
Spoil keeps_record() {
  return [kept = Value()](const std::string& operation, Value& answer) mutable {
    if (operation != "step") return;
    if (kept.is_none()) kept = answer;
    answer = kept;
  };
}

const std::vector<std::string> kSide{"Situation", "SituationSides", "side-1"};

std::vector<std::string> of_side(std::vector<std::string> path) {
  path.insert(path.begin(), kSide.begin(), kSide.end());
  return path;
}

TEST(ServiceChecks, say_what_an_engine_could_not_play_with) {
  const struct {
    Spoil spoil;
    std::string says;
  } cases[] = {
      {set("connect", Value()), "`connect_server()`: wanted anything but none"},
      {set("reset", -1), "`reset(0)`: wanted 0 or 2, came -1"},
      {set("scenarios", List{"tiny"}), "`get_scenarios()`: wanted 'skirmish' among the names"},
      {set("load", true), "`load_scenario(no such scenario)`: wanted anything but true"},
      {set("load", 1), "`load_scenario(skirmish)`: wanted true, came 1"},
      {set("sides", Dict()), "`set_data_receive()`: wanted a dictionary with at least one side"},
      {change("sides", {"side-1", "Friend"}, List{"nobody"}), "ids of sides in `Friend`, came nobody"},
      {change("sides", {"side-2"}, std::nullopt), "no sides but those that `set_data_receive` names, came 'side-2'"},
      {set("initial", Dict()), "`get_init_situation()`: wanted `ScenarioInfo`, and a side"},
      {change("initial", {"ScenarioInfo", "ScenarioID"}, std::nullopt), "`ScenarioInfo` / `ScenarioID`, came nothing"},
      {change("initial", {"ScenarioInfo", "Duration"}, 60.0), "`Duration`, an integer, came real 60.0"},
      {change("initial", of_side({"Side", "ActiveUnitsInfo", "*", "UnitType"}), 5), "`UnitType`, one of the integers"},
      {change("initial", of_side({"SidePosition", "Ship"}), Dict()), "the position record of a new unit"},
      {change("initial", of_side({"Side", "ActiveUnitsInfo"}), Dict()), "basic information about a unit before"},
      {change("initial", of_side({"SideReal", "Contacts", "*", "Type"}), 4.0),
       "`Type`, an integer, of every new contact"},
      {change("initial", of_side({"SidePosition", "Contacts"}), Dict()), "`Lon` of every new contact"},
      {change("initial", of_side({"SideReal", "Contacts"}), Dict()), "a contact under `SideReal` / `Contacts`"},
      {change("initial", of_side({"SidePosition", "Ship", "*", "Lat"}), 20), "`Lat`, a real, came integer 20"},
      {change("initial", of_side({"Side"}), "red"), "parts of the right kinds, came 'Side': expected dictionary"},
      {set("step", Value()), "`get_step_situation()`: wanted a record after each of the first advances, came None"},
      {keeps_record(), "`get_step_situation()`: wanted a record after each of the first advances, came {}"},
      {change("step", {"ScenarioInfo", "Time"}, 1.5), "`get_step_situation()`: wanted `ScenarioInfo` / `Time`"},
      {change("step", {"IsEnd"}, false), "`simulate_end()`: wanted `IsEnd` within 3 advances"},
      {change("step", {"IsEnd"}, true), "`get_step_situation()`: wanted no end after two advances"},
      {set("package", "OK"), "wanted a dictionary with `message`"},
      {change("package", {"resbin"}, ""), "a line for each refused order in `resbin`"},
      {change("package", {"refused"}, List{Dict{{"number", 7}, {"reason", "no"}}}), "`number`, 1 or 2, in `refused`"},
      {[](const std::string& operation, Value&) {
         if (operation == "step") throw Error("out of order");
       },
       "`get_step_situation()`: wanted an answer, came an error: out of order"},
  };
  for (const auto& given : cases) {
    std::string found;
    const ServiceReport report = check(given.spoil);
    for (const ServiceFinding& finding : report.findings()) found += finding.text() + "\n";
    EXPECT_THAT(found, HasSubstr(given.says));
  }
}

TEST(ServiceChecks, report_a_repeated_finding_once_and_when_it_is_made) {
  std::string lines;
  ServiceReport report([&](std::string_view line) { lines += std::string(line) + "\n"; });
  report.run("one thing", [&] { report.find("a()", "1", "2"); });
  report.run("another", [&] { report.find("a()", "1", "3"); });
  EXPECT_EQ(lines, "checking one thing\n  found: `a()`: wanted 1, came 2\nchecking another\n");
  ASSERT_EQ(report.findings().size(), 1U);
  EXPECT_EQ(report.findings().front().times, 2);
  EXPECT_EQ(report.findings().front().group, "one thing");
}

TEST(ServiceChecks, only_note_that_orders_are_not_answered) {
  const ServiceReport report = check(set("package", Dict{{"message", "OK"}, {"resbin", ""}}));
  EXPECT_THAT(report.findings(), IsEmpty());
  EXPECT_THAT(report.notes(), Contains(HasSubstr("without a word")));
}

}  // namespace
}  // namespace tessra::testing
