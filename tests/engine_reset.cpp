// Starts of episodes: codes, the calls of the service, what is kept and what goes.

#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

class Reset : public EngineTest {};

TEST_F(Reset, calls_the_service_in_order) {
  const auto called = [this](int round) {
    server->calls.clear();
    EXPECT_EQ(engine().reset(round), 1);
    std::string joined;
    for (const std::string& call : server->calls) joined += " " + call;
    return joined;
  };
  const std::string begin = " reset(0) get_scenarios load_scenario(strait)";
  const std::string end =
      " get_init_situation update_simulate_timestamp(60000) run_command(ChangeSpeed({SPEED='1'}))"
      " need_do_package_command";
  EXPECT_EQ(called(1), " connect_server check_clean_rooms" + begin + " set_data_receive request_full_situation" + end);
  EXPECT_EQ(called(2), begin + end);
  for (Value* flag : {&engine().is_main_client, &engine().need_compression}) {
    *flag = false;
    EXPECT_THAT(called(2), Not(HasSubstr("ChangeSpeed")));
    *flag = true;
  }
  engine().delete_scenario();
  EXPECT_EQ(server->calls.back(), "delete_scen(1, strait)");
  EXPECT_EQ(engine().room_id, Value("room-1"));
}

TEST_F(Reset, answers_each_failure_by_its_code_and_remembers_it) {
  with_log();
  const struct {
    const char* operation;
    Value answer;
    int code;
    int flag;
    const char* last_line;
  } cases[] = {
      {"connect_server", Value(), 0, 0, ""},
      {"reset", -1, -1, 1, "info: 推演服务连接失败，再次连接!"},
      {"get_scenarios", Value(List()), -2, 0, "info: 想定'strait'加载失败,请检查想定文件是否存在!"},
      {"load_scenario", 1, -2, 1, "info: 加载想定失败!"},
      {"get_init_situation", Value(Dict()), -3, 2, "info: 第1局,想定'strait'加载成功,加载想定耗时:0.0s"},
      {"get_init_situation", json("{'ScenarioInfo': {}}"), -4, 1, "error: 推演第1局处理初始化态势失败，收到态势为空！"},
  };
  for (const auto& given : cases) {
    auto fresh = std::make_shared<ScriptedServer>();
    fresh->initial = server->initial;
    fresh->sides = server->sides;
    server = fresh;
    server->rules[given.operation] = [&](int) { return given.answer; };
    Deduction e(config.deep_copy(), seams.seams());
    log->lines = {""};
    EXPECT_EQ(e.reset(1), given.code) << given.operation;
    EXPECT_EQ(log->lines.back(), given.last_line);
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
  server->scenarios = json("{'x': 1, 'strait': 2}");
  EXPECT_TRUE(engine().scenario_exists("strait"));
  EXPECT_FALSE(engine().scenario_exists("y"));
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
  EXPECT_THAT(server->calls, Contains("reset(0)"));
  engine().reset_episodes = 0;
  EXPECT_EQ(thrown([&] { engine().reset(3); }), "tessra::ConversionError: simulate.reset_episodes is zero");
  engine().reset_episodes = "often";
  EXPECT_EQ(thrown([&] { engine().reset(3); }), "tessra::KindError: simulate.reset_episodes must be a number");
}

TEST_F(Reset, reports_a_finished_episode_from_the_third_start_on) {
  with_log();
  start();
  log->lines.clear();
  engine().reset(2);
  EXPECT_THAT(log->lines.at(0), StartsWith("info: 第2局,想定'strait'加载成功"));
  for (const std::string process : {"", "7"}) {
    engine().process_id = process.empty() ? Value() : Value(7);
    engine().scenario_name = "strait";
    engine().current_round = 2;
    engine().train_start_time = seams.clock->seconds - 31;
    engine().last_round_start_time = seams.clock->seconds - 21;
    log->lines.clear();
    engine().reset(3);
    const auto with = [&](const std::string& before, const char* after) {
      return process.empty() ? "" : before + process + after;
    };
    EXPECT_EQ(log->lines.at(0),
              "info: " + with("进程:", ", ") + "第2局结束, 当前局耗时:21s, 总耗时:31s, 平均每局耗时:15s.");
    EXPECT_EQ(log->lines.at(1), "info: " + with("进程:", ",") + "第3局,想定'strait'加载成功,加载想定耗时:0.0s");
    engine().scenario_name = "gone";
    engine().reset(4);
    EXPECT_EQ(log->lines.back(), "info: 想定'gone'加载失败," + with("进程", ",") + "请检查想定文件是否存在!");
  }
}

TEST_F(Reset, of_a_player_leaves_nothing_of_the_episode) {
  start();
  engine().set_all_side_data();
  EXPECT_EQ(red().current_players.size(), 1u);
  EXPECT_EQ(red().current_players.at("蓝方"), &blue());
  red().refused_orders.emplace_back();
  red().set_attribute("Name", "renamed");
  red().reset();
  for (const ElementTable* table : {&red().missions_obj, &red().aircrafts, &red().ships}) EXPECT_TRUE(table->empty());
  EXPECT_TRUE(red().current_players.empty() && red().refused_orders.empty() && red().side_names.empty());
  EXPECT_FALSE(red().units_of_name.contains("Alpha 1"));
  EXPECT_EQ(Value(red().attributes()), Value(json("{'Name': '红方', 'Side': '红方', 'ElementType': 2}")));
  EXPECT_TRUE(red().scenario == nullptr && red().simulate_timestamp == 0 && red().time_elapsed() == 0);
  EXPECT_TRUE(red().simulate_time().empty() && red().scenario_duration().is_none());
}

TEST_F(Reset, clears_the_episode_and_keeps_agents_and_first_positions) {
  start();
  const auto agent = red().agents_list->at(0);
  update_red("{'SideReal': {'ActiveUnits': {'mapdel': {'Aircraft': {'v': ['a1']}}}}, 'SideKeyMsg': {'9': [1]}}");
  engine().step_index = 5;
  EXPECT_EQ(engine().reset(2), 1);
  EXPECT_EQ(red().agents_list->at(0), agent);
  EXPECT_TRUE(engine().crt_delete_units.empty());
  EXPECT_TRUE(engine().elements.contains("a1"));
  EXPECT_TRUE(red().get_dict("KeyMsg").empty());
  EXPECT_EQ(engine().step_index, 0);
  engine().step_index = 5;
  EXPECT_EQ(engine().reset(-1), 1);
  EXPECT_EQ(engine().step_index, 5) << "a negative number goes on with the model";
}

}  // namespace
}  // namespace tessra::testing
