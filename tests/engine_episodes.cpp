// Episodes in standard mode: reset codes, steps, agents, results.

#include "Tessra/entitys/gameunit.h"
#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class Reset : public EngineTest {};

TEST_F(Reset, calls_the_service_in_order) {
  start();
  EXPECT_THAT(server->calls, ElementsAre("connect_server", "check_clean_rooms", "reset(0)", "get_scenarios",
                                         "load_scenario(strait)", "set_data_receive", "request_full_situation",
                                         "get_init_situation", "update_simulate_timestamp(60000)",
                                         "run_command(ChangeSpeed({SPEED='1'}))", "need_do_package_command"));
  server->calls.clear();
  EXPECT_EQ(engine().reset(2), 1);
  EXPECT_THAT(server->calls, ElementsAre("reset(0)", "get_scenarios", "load_scenario(strait)", "get_init_situation",
                                         "update_simulate_timestamp(60000)", "run_command(ChangeSpeed({SPEED='1'}))",
                                         "need_do_package_command"));
  EXPECT_EQ(engine().room_id, Value("room-1"));
}

TEST_F(Reset, answers_each_failure_by_its_code_and_remembers_it) {
  struct Case {
    const char* operation;
    Value answer;
    int code;
    int flag;
  };
  const Case cases[] = {
      {"connect_server", Value(), 0, 0},
      {"reset", -1, -1, 1},
      {"get_scenarios", Value(List()), -2, 0},
      {"load_scenario", 1, -2, 1},
      {"get_init_situation", Value(Dict()), -3, 2},
      {"get_init_situation", json("{'ScenarioInfo': {}}"), -4, 1},
  };
  for (const Case& given : cases) {
    auto fresh = std::make_shared<ScriptedServer>();
    fresh->initial = server->initial;
    fresh->sides = server->sides;
    server = fresh;
    server->rules[given.operation] = [&](int) { return given.answer; };
    Dict own = config.deep_copy();
    Deduction e(own, seams.seams());
    EXPECT_EQ(e.reset(1), given.code) << given.operation;
    EXPECT_EQ(e.error_room_flag, given.flag) << given.operation;
    EXPECT_EQ(e.current_round, 1);
    server->rules.clear();
    server->calls.clear();
    EXPECT_EQ(e.reset(1), 1) << "the next start is whole again after " << given.operation;
    EXPECT_THAT(server->calls, Contains("reset(" + std::to_string(given.flag) + ")"));
    EXPECT_EQ(e.error_room_flag, 0);
  }
}

TEST_F(Reset, a_stubborn_scenario_costs_five_attempts) {
  server->rules["load_scenario"] = [](int call) -> std::optional<Value> {
    if (call == 2) throw std::runtime_error("busy");
    return Value(call == 3);
  };
  EXPECT_TRUE(engine().load_scenario("strait"));
  EXPECT_THAT(seams.console->printed, ElementsAre("加载想定-strait-失败!", "加载想定-strait-出错:busy!"));
  EXPECT_THAT(seams.clock->waits, ElementsAre(1, 1));
  server->rules["load_scenario"] = [](int) { return Value(1); };
  EXPECT_FALSE(engine().load_scenario("strait")) << "1 is not exactly true";
  EXPECT_EQ(seams.clock->waits.size(), 7u);
  EXPECT_TRUE(engine().load_scenario(""));
}

TEST_F(Reset, starts_the_room_anew_periodically_and_reopens_the_channel_when_told) {
  section().at_dict("simulate").set("reset_episodes", 2);
  start();
  EXPECT_EQ(engine().reset(2), 1);
  EXPECT_THAT(server->calls, Contains("reset(2)"));
  server->rules["reset"] = [](int) { return Value(2); };
  server->calls.clear();
  EXPECT_EQ(engine().reset(3), 1);
  EXPECT_THAT(server->calls, Contains("request_full_situation"));
  engine().reset_episodes = 0;
  EXPECT_THROW(engine().reset(3), ConversionError);
  engine().reset_episodes = "often";
  EXPECT_THROW(engine().reset(3), KindError);
}

TEST_F(Reset, reports_a_finished_episode_from_the_third_start_on) {
  section().at_dict("simulate").set("process_id", 7);
  start();
  seams.clock->seconds += 10;
  engine().reset(2);
  seams.clock->seconds += 21;
  seams.console->printed.clear();
  engine().reset(3);
  EXPECT_EQ(seams.console->printed.at(0), "进程:7, 第2局结束, 当前局耗时:21s, 总耗时:31s, 平均每局耗时:15s.");
}

TEST_F(Reset, clears_the_episode_and_keeps_agents_and_first_positions) {
  start();
  const auto agent = red().agents_list->at(0);
  update(
      "{'Situation': {'SituationSides': {'r': {'SideReal': {'ActiveUnits': {'mapdel': {'Aircraft': {'v': ['a1']}}}},"
      "'SideKeyMsg': {'9': [1]}}}}}");
  EXPECT_EQ(engine().reset(2), 1);
  EXPECT_EQ(red().agents_list->at(0), agent);
  EXPECT_TRUE(engine().crt_delete_units.empty());
  EXPECT_TRUE(engine().elements.contains("a1"));
  EXPECT_TRUE(red().get_dict("KeyMsg").empty());
  EXPECT_THAT(agent_of(red()).calls, ElementsAre("info_extract", "initial", "reset", "info_extract", "initial"));
}

TEST_F(Reset, reports_no_episode_that_it_did_not_start) {
  engine().current_round = 2;
  EXPECT_THROW(engine().reset(3), std::exception) << "there is no time to report";
}

class Step : public EngineTest {
 protected:
  const Value tick = json("{'ScenarioInfo': {'Time': 90000}}");
};

TEST_F(Step, goes_on_until_the_service_reports_the_end) {
  with_log();
  server->updates = {tick, tick, json("{'IsEnd': true, 'ScenarioInfo': {'Time': 120000}}")};
  section().at_dict("simulate").set("step_interval", 2);
  start();
  agent_of(red()).on_situation = [this](const Situation&) { server->add_command("Order({})"); };
  EXPECT_EQ(std::get<int>(engine().step(Dict())), 1);
  EXPECT_EQ(std::get<int>(engine().step(Dict())), 1);
  EXPECT_EQ(log->lines.back(),
            "info: round:1, time:90s, step index:2, step:0.000s, simulate:0.000s, update:0.000s, "
            "patrol-1 step:0.000s, strike-1 step:0.000s, ");
  const BatResult result = std::get<BatResult>(engine().step(Dict()));
  EXPECT_EQ(result.red_name, "patrol-1");
  EXPECT_EQ(result.red_score, Value(10.0));
  EXPECT_EQ(result.blue_score, Value(-10.0));
  EXPECT_EQ(result.time_elapsed, 120.0);
  EXPECT_EQ(result.process_id, Value(1));
  EXPECT_EQ(server->sent_commands.size(), 3u);
  EXPECT_EQ(agent_of(blue()).calls.back(), "deduction_end");
  EXPECT_EQ(engine().step_index, 3);
}

TEST_F(Step, without_a_situation_answers_nothing) {
  start();
  seams.console->printed.clear();
  EXPECT_TRUE(std::holds_alternative<std::monostate>(engine().step(Dict())));
  EXPECT_THAT(seams.console->printed, ElementsAre("没有获取到态势数据"));
  EXPECT_EQ(engine().step_index, 1);
}

TEST_F(Step, an_agent_may_ask_for_the_end_in_training) {
  server->updates = {tick, tick};
  start();
  agent_of(red()).done = true;
  EXPECT_EQ(std::get<int>(engine().step(Dict())), 1);
  EXPECT_EQ(server->count("simulate_end"), 1);
  EXPECT_EQ(agent_of(blue()).calls.back(), "step") << "later agents are not asked";
  engine().is_training = false;
  engine().step(Dict());
  EXPECT_EQ(server->count("simulate_end"), 1);
}

TEST_F(Step, a_refused_package_is_reported_and_reaches_the_sides_agents) {
  const Dict answers[] = {
      json("{'message': 'Error', 'resbin': '1: 坏'}"),
      json("{'message': 'Error', 'resbin': '', 'refused': [{'number': 1, 'side': '红方', 'command': 'x', 'reason': "
           "'no'},"
           " {'number': 2, 'command': 'y', 'reason': 'of no side'}, {'side': '绿方'}, {'side': 1}, 'z']}"),
      json("{'message': 'Error', 'resbin': '1: a\\n2: b'}"),
  };
  server->rules["do_package_command"] = [&](int call) { return Value(answers[call - 1]); };
  start();
  const auto& refused = red().get_situation().refused_orders();
  const auto send = [&] {
    server->commands = {"x"};
    engine().cmd_package();
    return engine().orders_refused;
  };
  EXPECT_EQ(send(), 1);
  EXPECT_EQ(seams.console->printed.back(), "打包发送指令错误:1: 坏");
  EXPECT_TRUE(refused.empty());
  EXPECT_EQ(send(), 6);
  ASSERT_EQ(refused.size(), 1U);
  EXPECT_EQ(refused[0].command, "x");
  EXPECT_EQ(refused[0].reason, "no");
  server->commands.clear();
  engine().cmd_package();
  EXPECT_TRUE(refused.empty()) << "nothing was refused of the last decision";
  EXPECT_EQ(send(), 8);
}

TEST_F(Step, errors_of_agents_reach_the_host_while_testing) {
  server->updates = {tick};
  start();
  agent_of(blue()).throws_in = "step";
  EXPECT_THROW(engine().step(Dict()), std::runtime_error);
  EXPECT_EQ(engine().failed_call.agent->agent_type, "strike-1");
  server->rules["reset"] = [](int) -> std::optional<Value> { throw std::runtime_error("lost"); };
  EXPECT_THROW(engine().reset(2), std::runtime_error);
  EXPECT_EQ(engine().failed_call.agent, nullptr) << "this time it was the service";
}

TEST_F(Step, errors_of_agents_become_results_otherwise) {
  with_log();
  section().at_dict("simulate").set("testing", false);
  server->updates = {tick, tick, json("{'IsEnd': true}")};
  start();
  struct Case {
    const char* operation;
    std::function<std::optional<BatResult>()> call;
    std::string message;
  };
  const auto result_of = [](const auto& answer) -> std::optional<BatResult> {
    const auto* result = std::get_if<BatResult>(&answer);
    return result != nullptr ? std::optional(*result) : std::nullopt;
  };
  const std::string decision = "推演方: 红方, 智能体名:patrol-1 错误信息:boom in ";
  const Case cases[] = {
      {"initial", [&] { return engine().player_init(); }, "info: 智能体初始化代码出错, " + decision + "initial"},
      {"step", [&] { return result_of(engine().agents_step(Dict())); },
       "info: 智能体初始化代码出错, " + decision + "step"},
      {"is_done", [&] { return result_of(engine().agents_check_end()); },
       "error: 推演方-红方, 智能体-patrol-1, is_done函数调用出错，boom in is_done"},
      {"deduction_end", [&] { return engine().agents_end(); },
       "info: 智能体deduction_end代码出错, " + decision + "deduction_end"},
  };
  for (const Case& given : cases) {
    agent_of(red()).throws_in = given.operation;
    agent_of(blue()).calls.clear();
    const auto result = given.call();
    ASSERT_TRUE(result.has_value()) << given.operation;
    EXPECT_EQ(result->error_side, "红方");
    EXPECT_EQ(result->red_score, Value(-90000.0));
    EXPECT_EQ(result->blue_score, Value(90000.0));
    EXPECT_EQ(log->lines.back(), given.message);
    EXPECT_THAT(seams.console->errors.back(), StartsWith("std::runtime_error: boom in"));
    EXPECT_TRUE(agent_of(blue()).calls.empty()) << "later agents are not called";
  }
  agent_of(red()).throws_in = "step";
  EXPECT_EQ(std::get<int>(engine().step(Dict())), 1) << "a step with a failed agent still advances";
  engine().step(Dict());
  EXPECT_TRUE(std::holds_alternative<BatResult>(engine().step(Dict())));
}

class Learner : public ScriptedAgent {
 public:
  static constexpr bool is_learn = true;
  explicit Learner(const AgentConf& given) : ScriptedAgent(given.side), conf(given) {}
  AgentConf conf;
};

class Both : public ScriptedAgent {
 public:
  explicit Both(const AgentConf& given) : ScriptedAgent("conf of " + given.side) {}
  explicit Both(std::string side_name) : ScriptedAgent(std::move(side_name)) {}
};

class Odd : public Agent {
 public:
  Odd(std::string side_name, int) : Agent(std::move(side_name)) {}
};

class Agents : public EngineTest {};

TEST_F(Agents, are_built_by_the_form_of_their_class) {
  const Value learner(AgentClass::of<Learner>("learner"));
  config.at_dict("rule_config").at_dict("红方").set("odd", Dict{{"class", AgentClass::of<Odd>("odd")}});
  config.at_dict("rule_config").at_dict("蓝方").set("thinker", Dict{{"class", learner}});
  config.at_dict("rule_config").at_dict("蓝方").set("both", Dict{{"class", AgentClass::of<Both>("both")}});
  section().set(
      "RL_agents",
      Dict{{"红方", Dict{{"enemy", "蓝方"}, {"agents", Dict{{"tank", Dict{{"class", learner}, {"speed", 3}}}}}}}});
  start();
  const AgentList& list = *red().agents_list;
  ASSERT_EQ(list.size(), 2u) << "a class with another constructor is passed over";
  EXPECT_EQ(list.at(0)->client_info, Value(json("{'range': 5}")));
  const auto& tank = dynamic_cast<const Learner&>(*list.at(1));
  EXPECT_EQ(tank.conf.uid, 1001);
  EXPECT_EQ(tank.conf.enemy_side, "蓝方");
  EXPECT_EQ(tank.conf.agent_name, "RL-tank");
  EXPECT_FALSE(tank.is_rule_agent);
  EXPECT_EQ(dynamic_cast<const Learner&>(*blue().agents_list->at(1)).conf.uid, 1000);
  EXPECT_EQ(blue().agents_list->at(2)->side, "蓝方") << "a class that does not learn is built from its side";
  EXPECT_EQ(engine().agents.at("红方"), red().agents_list);
  EXPECT_EQ(Value(engine().agent_names), Value(json("{'红方': 'patrol-1', '蓝方': 'strike-1'}")));
  EXPECT_THROW(engine().config_agent(engine().rule_agent_config, engine().rl_agent_config), KeyError)
      << "`class` was taken out of the entries";
}

TEST_F(Agents, action_records_go_to_the_first_learner_of_their_type) {
  const Value learner(AgentClass::of<Learner>("learner"));
  section().set("RL_agents", Dict{{"红方", Dict{{"agents", Dict{{"tank", Dict{{"class", learner}}}}}}},
                                  {"蓝方", Dict{{"agents", Dict{{"tank", Dict{{"class", learner}}}}}}}});
  start();
  const Dict actions = json("{'u1': {'_agent_type_': 'tank', 'go': 1}, 'u2': {'_agent_type_': 'patrol-1'}, 'u3': {}}");
  engine().agents_step(actions);
  const auto& first = dynamic_cast<const Learner&>(*red().agents_list->at(1));
  const auto& second = dynamic_cast<const Learner&>(*blue().agents_list->at(1));
  EXPECT_EQ(Value(first.action_records.at(0)), Value(json("{'u1': {'go': 1}}")));
  EXPECT_TRUE(second.action_records.at(0).empty());
  EXPECT_TRUE(actions.at_dict("u2").contains("_agent_type_")) << "not delivered, not changed";
}

TEST_F(Agents, see_their_side_and_order_their_units) {
  Dict sides = server->initial.as_dict().at_dict("ScenarioInfo").at_dict("SideInfo");
  sides.at_dict("r").set("Postures", json("{'b': 3, 'g': 1}"));
  start();
  agent_of(red()).on_situation = [](const Situation& situation) {
    ASSERT_NE(situation.unit("a1"), nullptr);
    EXPECT_EQ(situation.unit_named("Alpha 1"), situation.unit("a1"));
    EXPECT_EQ(situation.unit("u9"), nullptr) << "not red's";
    EXPECT_TRUE(situation.contacts().contains("c1"));
    EXPECT_EQ(situation.duration(), Value(3600));
    EXPECT_EQ(situation.posture_toward(situation.contacts().at_dict("c1").at("Side")), 3) << "by the name it shows";
    EXPECT_EQ(situation.posture_toward("g"), 1);
    EXPECT_EQ(situation.posture_toward("nobody"), std::nullopt);
    situation.unit("a1")->attack("c1'}) Evil({'", "Missile", 2);
    const GeoPoint course[] = {{1.5, -2.25}};
    situation.unit("s1")->plot_course(course);
  };
  engine().agents_step(Dict());
  EXPECT_THAT(
      server->commands,
      ElementsAre("Attack({SIDE='红方', UNIT='a1', CONTACT='c1\\039}) Evil({\\039', WEAPON='Missile', QUANTITY=2})",
                  "PlotCourse({SIDE='红方', UNIT='s1', COURSE={{LON=1.5, LAT=-2.25}}})"));
}

TEST_F(Agents, callbacks_end_with_the_engine) {
  start();
  const auto agent = red().agents_list->at(0);
  const WargameCommand command = agent->get_command_check("a1");
  EXPECT_EQ(command.time_elapsed, 60.0);
  EXPECT_EQ(command.plan_time, Value(300));
  EXPECT_EQ(command.position.at("Lon"), Value(1.0));
  EXPECT_TRUE(agent->get_command_check("unheard").position.empty());
  {
    Deduction short_lived(Dict(json("{'game_server': {'simulate': {}, 'server': {'url': 'scripted:'}}}")),
                          seams.seams());
    short_lived.agents_side_config.set("x", List());
    short_lived.config_agent(Dict{{"x", Dict{{"y", Dict{{"class", AgentClass::of<ScriptedAgent>("s")}}}}}}, Dict());
    short_lived.players.at("x")->agents_list->at(0)->deduce_remove_mission("x", "m");
    red().agents_list->push_back(short_lived.players.at("x")->agents_list->at(0));
  }
  EXPECT_THROW(red().agents_list->back()->deduce_remove_mission("x", "m"), Error);
}

TEST_F(Agents, unit_ids_reach_the_agents_of_the_map) {
  auto agent = std::make_shared<ScriptedAgent>("红方");
  agent->agent_unit_name = "Ship 1";
  config.set("agent_map", Dict{{"0", std::shared_ptr<Agent>(agent)}});
  start();
  EXPECT_EQ(agent->agent_unit_id, Value("s1"));
}

TEST_F(Agents, results_map_sides_onto_camps) {
  start();
  struct Case {
    const char* names;
    const char* error_side;
    const char* red;
    const char* blue;
    double red_score;
  };
  const Case cases[] = {
      {"{'红方': 'A', '蓝方': 'B'}", "", "A", "B", 10},
      {"{'蓝方': 'B', '红方': 'A'}", "蓝方", "A", "B", 90000},
      {"{'X': 'x', 'Y': 'y'}", "Y", "x", "y", 90000},
      {"{'X': 'x', 'Y': 'y', 'Z': 'z'}", "X", "x", "y", -90000},
      {"{'X': 'x', 'Y': 'y', 'Z': 'z'}", "Z", "x", "y", 90000},
      {"{'X': 'x', '蓝方': 'B', 'Z': 'z'}", "nobody", "z", "B", 0},
  };
  for (const Case& given : cases) {
    engine().agent_names = json(given.names);
    const BatResult result = engine().get_game_result(given.error_side);
    EXPECT_EQ(result.red_name, given.red) << given.names;
    EXPECT_EQ(result.blue_name, given.blue) << given.names;
    EXPECT_EQ(result.red_score, Value(given.red_score)) << given.names << given.error_side;
    EXPECT_EQ(result.error_side, given.error_side);
  }
  red().attributes().erase("TotalScore");
  EXPECT_THROW(engine().get_game_result(), KeyError);
}

TEST_F(Agents, times_are_read_in_both_spellings) {
  EXPECT_EQ(Deduction::datetime_transfer("2024/05/01 08:00:00"), Deduction::datetime_transfer("2024-05-01 08:00:00"));
  EXPECT_EQ(Deduction::datetime_transfer("2024-5-1 8:00:00"), Deduction::datetime_transfer("2024-05-01 08:00:00"));
  for (const char* bad : {"2024-05-01", "2024-05-01 08:00:00.5", "2024-02-31 08:00:00", "x", "2024-05-0108:00:00",
                          "2024-05-01 08:00:60", "24-05-01 08:00:00", "2024- 5- 1 08:00:00"}) {
    EXPECT_THROW(Deduction::datetime_transfer(bad), ConversionError) << bad;
  }
  EXPECT_THROW(engine().set_simulate_compression("fast"), KindError);
  engine().set_simulate_compression(2.7);
  EXPECT_EQ(server->calls.back(), "run_command(ChangeSpeed({SPEED='2'}))");
}

}  // namespace
}  // namespace tessra::testing
