#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>

#include <mutex>

#include "Tessra/base/guard.h"
#include "Tessra/base/json_read.h"
#include "Tessra/entitys/agent_call.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "support/fake_seams.h"
#include "support/scripted_server.h"

namespace tessra::testing {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

/// Keeps log lines as "level: text".
class LogLines : public spdlog::sinks::base_sink<std::mutex> {
 public:
  std::vector<std::string> lines;

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    lines.push_back(std::string(spdlog::level::to_string_view(message.level).data()) + ": " +
                    std::string(message.payload.data(), message.payload.size()));
  }
  void flush_() override {}
};

/// A JSON literal for tests; single quotes stand for double ones.
inline Dict json(std::string text) {
  std::replace(text.begin(), text.end(), '\'', '"');
  return read_json(text).as_dict();
}

/// What a call throws, as "type: text"; empty if nothing.
template <class Call>
std::string thrown(const Call& call) {
  std::string text;
  guarded(call, [&text](const std::exception_ptr& error) { text = trace_text(error); });
  return text.substr(0, text.find('\n'));
}

/// Does what the test tells it; otherwise nothing.
class ScriptedAgent : public Agent {
 public:
  explicit ScriptedAgent(std::string side_name) : Agent(std::move(side_name)) {}

  void update_constant_attribute(RuleAgentBase&) override { note("update_constant_attribute"); }
  void update_object_attribute(RuleAgentBase&) override { note("update_object_attribute"); }
  void initial(const Situation& situation) override {
    call("initial");
    on_situation(situation);
  }
  void step(double, const Situation& situation) override {
    call("step");
    on_situation(situation);
  }
  void step_rl(double, const Situation&, const Dict& records) override {
    action_records.push_back(records);
    call("step_rl");
  }
  bool is_done() override {
    call("is_done");
    return done;
  }
  void load_model() override { call("load_model"); }
  void deduction_end() override { call("deduction_end"); }
  void reset() override { call("reset"); }
  void info_extract() override { call("info_extract"); }
  Value agent_decision_time() override {
    check("agent_decision_time");
    return decision_time;
  }

  /// The operation that throws, if any.
  std::string throws_in;
  bool done = false;
  Value decision_time = 0;
  std::function<void(const Situation&)> on_situation = [](const Situation&) {};
  /// What was called, but for the updates of attributes; the journal has all calls into all agents.
  std::vector<std::string> calls;
  static inline std::vector<std::string> journal;
  std::vector<Dict> action_records;

 private:
  /// The engine must know whom it calls, to tell who did not come back.
  void check(const std::string& operation) const {
    EXPECT_EQ(AgentCall::of_this_thread().running_text(),
              "agent '" + agent_type + "' of side '" + side + "' in `" + operation + "`");
  }
  void note(const std::string& operation) const {
    check(operation);
    journal.push_back(agent_type + " " + operation);
  }
  void call(const std::string& operation) {
    note(operation);
    calls.push_back(operation);
    if (operation == throws_in) throw std::runtime_error("boom in " + operation);
  }
};

/// An engine on a scripted service: sides 红方 (id "r") and 蓝方 (id "b") with an agent each, and the side "g", a
/// friend of red that no agent plays.
class EngineTest : public ::testing::Test {
 protected:
  EngineTest() {
    GameServer::register_backend("scripted", [this](const Dict&, std::string_view) { return server; });
    config = json(
        R"({"game_server": {"simulate": {"scenario": "strait", "testing": true}, "server": {"url": "scripted:"}}})");
    const Value agent_class(AgentClass::of<ScriptedAgent>("scripted"));
    config.set("rule_config", Dict{{"红方", Dict{{"patrol-1", Dict{{"class", agent_class}, {"range", 5}}}}},
                                   {"蓝方", Dict{{"strike-1", Dict{{"class", agent_class}}}}}});
    server->sides = json(R"({"r": {"Name": "红方", "Friend": ["unknown", "g"]}, "b": {"Name": "蓝方", "Friend": []},
                             "g": {"Name": "绿方", "Friend": ["r"]}})");
    server->initial = json(R"({
      "ScenarioInfo": {"ScenarioID": "scen", "Time": 60000, "StartTime": 0, "Duration": 3600,
                       "SideInfo": {"r": {"Name": "红方"}, "b": {"Name": "蓝方"}, "g": {"Name": "绿方"}}},
      "Situation": {"SituationSides": {
        "unknown": {},
        "r": {"Side": {"ActiveUnitsInfo": {"a1": {"Name": "Alpha 1", "UnitType": 1, "Doctrine": {"WRA": {"w1": {"x": 1}, "w2": {}}}},
                                           "s1": {"Name": "Ship 1", "UnitType": 2}},
                       "Missions": {"Unheard": {"m0": {"Name": "x"}}, "Patrol": {"m1": {"Name": "Cap", "Mission": {"Flight": {"f1": 1, "f2": 2}}}}},
                       "ReferencePoints": {"p1": 1, "p2": 2}},
              "SideReal": {"ActiveUnits": {"Aircraft": {"a1": {"Fuel": 1.0, "ActiveUnit": {
                             "Mounts": {"mt": {"WeaponRecs": {"rec": {"Load": {"l1": 1, "l2": 2}}, "rec2": {}}}},
                             "Sensors": {"se1": {}, "se2": {}}}}},
                           "Ship": {"s1": {"Fuel": 2.0}}},
                           "Contacts": {"c1": {"Name": "Bogey", "Type": 1, "Side": "b", "ActualUnitID": "u9", "IDStatus": 1, "Age": 5}}},
              "SidePosition": {"Aircraft": {"a1": {"Lon": 1.0, "Lat": 2.0}}, "Ship": {"s1": {"Lon": 3.0, "Lat": 4.0}},
                               "Contacts": {"c1": {"Lon": 5.0, "Lat": 6.0}}},
              "SideVitalChange": {"TotalScore": 10.0}},
        "b": {"Side": {"ActiveUnitsInfo": {"u9": {"Name": "Bandit", "UnitType": 1}}},
              "SideReal": {"ActiveUnits": {"Aircraft": {"u9": {"Fuel": 1.0}}}},
              "SidePosition": {"Aircraft": {"u9": {"Lon": 5.0, "Lat": 6.0}}},
              "SideVitalChange": {"TotalScore": -10.0}},
        "g": {"Side": {"ActiveUnitsInfo": {"g1": {"Name": "Green", "UnitType": 4}}},
              "SideReal": {"ActiveUnits": {"Facility": {"g1": {"Fuel": 0.0}}},
                           "Contacts": {"gc1": {"Name": "Far", "Type": 1, "ActualUnitID": "u8"},
                                        "gc2": {"Name": "Same", "Type": 1, "ActualUnitID": "u9", "IDStatus": 1, "Age": 4},
                                        "gc3": {"Name": "Yours", "Type": 1, "ActualUnitID": "a1"}}},
              "SidePosition": {"Facility": {"g1": {"Lon": 7.0, "Lat": 8.0}},
                               "Contacts": {"gc1": {"Lon": 0.5}, "gc2": {"Lon": 0.5}, "gc3": {"Lon": 0.5}}}}}}})");
  }

  /// The section `game_server`.
  Dict section() { return config.at_dict("game_server"); }
  void with_log() { section().set("logger", std::make_shared<spdlog::logger>("test", log)); }

  Deduction& engine() {
    if (engine_ == nullptr) engine_ = std::make_unique<Deduction>(config, seams.seams());
    return *engine_;
  }
  /// Starts the first episode and expects it to be ready.
  void start() { ASSERT_EQ(engine().reset(1), 1) << ::testing::PrintToString(seams.console->printed); }
  /// Applies one update situation to the started engine.
  void update(const std::string& text) { engine().process_step_situation(json(text)); }
  /// The same for an update of red's record alone.
  void update_red(const std::string& side_record) {
    update("{'Situation': {'SituationSides': {'r': " + side_record + "}}}");
  }

  RuleAgentBase& red() { return *engine().players.at("红方"); }
  RuleAgentBase& blue() { return *engine().players.at("蓝方"); }
  ScriptedAgent& agent_of(RuleAgentBase& player) { return dynamic_cast<ScriptedAgent&>(*player.agents_list->at(0)); }
  Element& element(std::string_view guid) { return *engine().elements.at(guid); }
  Dict contacts() { return red().get_dict("Contacts"); }

  std::shared_ptr<ScriptedServer> server = std::make_shared<ScriptedServer>();
  FakeSeams seams;
  std::shared_ptr<LogLines> log = std::make_shared<LogLines>();
  Dict config;

 private:
  std::unique_ptr<Deduction> engine_;
};

/// The same after the start of an episode, with an empty run log.
class StartedTest : public EngineTest {
 protected:
  void SetUp() override {
    with_log();
    start();
    log->lines.clear();
  }
};

}  // namespace tessra::testing
