// The scheduled run and its round: what the client is told, what the log holds, what is set, in which order, and that
// nothing runs after the end.

#include <set>

#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

class Scheduled : public EngineTest {
 protected:
  Scheduled() {
    config.update(json(
        "{'is_ai_apply': true, 'simulate': {'step_interval': 2, 'process_id': 4}, 'server': {'url': 'scripted:'},"
        "'player': {'agent_name': 'patrol-1', 'agent_id': 'id-1', 'player_side': '红方', 'decision_time': '20'}}"));
    config.set("logger", std::make_shared<spdlog::logger>("test", log));
    Dict sides = server->initial.as_dict().at_dict("ScenarioInfo").at_dict("SideInfo");
    sides.at_dict("g").set("Postures", json("{'r': 1}"));
    server->is_ai_apply = true;
    server->updates = {tick(90000), tick(120000), json("{'IsEnd': true, 'ScenarioInfo': {'Time': 150000}}")};
  }

  static Value tick(int time) { return Dict{{"ScenarioInfo", Dict{{"Time", time}}}}; }

  /// Makes calls of an operation throw: all, or those up to `last`.
  void fail(const std::string& operation, int last = 1'000'000) {
    server->rules[operation] = [last](int call) -> std::optional<Value> {
      if (call <= last) throw std::runtime_error("lost");
      return std::nullopt;
    };
  }
  /// Makes an operation of red's agent throw.
  void fail_agent(const char* operation) {
    if (engine().agents.empty()) engine().config_agent(engine().rule_agent_config, engine().rl_agent_config);
    agent_of(red()).throws_in = operation;
  }
  /// Runs and expects the end of the program with a normal status.
  void expect_end() {
    EXPECT_THROW(engine().normal_simulate(), ProgramEnd);
    EXPECT_TRUE(engine().main_exit_event->is_set());
    EXPECT_EQ(seams.exit->ends, 1);
  }
  std::vector<std::string> log_errors() const {
    std::vector<std::string> found;
    for (const std::string& line : log->lines) {
      if (line.starts_with("error: ")) found.push_back(line.substr(0, line.find('\n')));
    }
    return found;
  }
  std::string details() { return ".\n详情请查看-" + engine().log_file_path; }
};

TEST_F(Scheduled, plays_to_the_end) {
  ScriptedAgent::journal.clear();
  const BatResult result = engine().normal_simulate().at(1).value();
  EXPECT_EQ(result.red_score, Value(10.0));
  EXPECT_EQ(result.time_elapsed, 150.0);
  EXPECT_EQ(result.process_id, Value(4));
  EXPECT_TRUE(log_errors().empty() && server->error_messages.empty());
  EXPECT_FALSE(engine().main_exit_event->is_set());
  EXPECT_EQ(server->stop, engine().main_exit_event);
  EXPECT_EQ(server->count("run_simulate"), 0);
  EXPECT_THAT(server->calls, Contains("req_agent_times(id-1, patrol-1, 3)"));
  EXPECT_THAT(server->calls, Contains("update_step_interval(20)"));
  std::string lines;
  for (const std::string& line : log->lines) lines += line + "\n";
  const auto decision_at = [](const std::string& time) {
    return R"(info: 选手配置控制决策间隔：决策间隔为0s
info: 智能体初始运行时间:60s, 当前推演时间:)" +
           time + R"(s 满足决策间隔:20s, 进行决策
info: 智能体请求前端配置参数成功！
info: 选手配置控制决策间隔：决策间隔为0s
info: 取选手和管理后台智能体决策间隔最大值：决策间隔为20s
)";
  };
  EXPECT_EQ(lines, R"(warning: user intelligent lua delay log, mode='w', encoding='utf-8
info: 请求客户端完整态势成功！
info: 收到客户端完整态势！
info: 推演第1局处理初始化态势完成, 单元和任务总数:4
info: 初始态势处理完成！
info: 非强化学习智能体不用加载模型！
info: 智能体请求客户端参数完成！
info: 智能体根据客户端设置的参数更新属性！
info: 智能体initial函数执行完成
info: 管理后台决策间隔：决策间隔为20s
)" + decision_at("60") +
                       decision_at("90") +
                       "info: process:4, round:1, time:120s, step index:2, step:0.000s, get data:0.000s, "
                       "update:0.000s, 红方 step:0.000s, \n" +
                       decision_at("120") + "info: receive end situation!\ninfo: 当前推演时间:150s, 推演结束\n");
  std::string journal;
  for (const std::string& call : ScriptedAgent::journal) journal += call.starts_with("patrol-1") ? call.substr(8) : "";
  const std::string decision = " update_constant_attribute info_extract step";
  EXPECT_EQ(journal, " update_constant_attribute update_object_attribute info_extract initial" + decision + decision +
                         decision + " deduction_end");
  EXPECT_TRUE(contacts().contains("gc1")) << "friends are found from the scenario's postures";
}

TEST_F(Scheduled, the_larger_interval_counts) {
  server->rules["get_step_situation"] = [this](int call) -> std::optional<Value> {
    agent_of(red()).decision_time = call == 1 ? Value(45) : Value("often");
    return std::nullopt;
  };
  expect_end();
  EXPECT_THAT(server->calls, Contains("update_step_interval(20)").Times(1));
  EXPECT_THAT(server->calls, Contains("update_step_interval(45)").Times(1));
  EXPECT_THAT(server->error_messages, ElementsAre(StartsWith("智能体决策step函数报错:expected real, found string")));
}

TEST_F(Scheduled, connection_and_situation_are_tried_three_times) {
  for (const auto& [operation, text] : {std::pair("connect_client", "error: 连接客户端错误:lost，"),
                                        std::pair("request_full_situation", "error: 请求客户端完整态势错误:lost，")}) {
    auto fresh = std::make_shared<ScriptedServer>();
    fresh->initial = server->initial;
    fresh->updates = server->updates;
    server = fresh;
    Deduction e(config.deep_copy(), seams.seams());
    const std::string retry = text + std::string("再次请求！");
    log->lines.clear();
    seams.clock->waits.clear();
    fail(operation, 2);
    EXPECT_EQ(e.normal_simulate().size(), 1u);
    EXPECT_THAT(log_errors(), ElementsAre(retry, retry));
    EXPECT_THAT(seams.clock->waits, ElementsAre(1, 1));
    log->lines.clear();
    fail(operation);
    EXPECT_THROW(e.normal_simulate(), ProgramEnd);
    EXPECT_THAT(log_errors(), ElementsAre(retry, retry, text + std::string("退出！")));
    EXPECT_TRUE(e.main_exit_event->is_set());
  }
}

TEST_F(Scheduled, without_a_situation_only_the_client_is_told) {
  server->initial = Dict();
  expect_end();
  EXPECT_THAT(server->error_messages, ElementsAre("智能体未收到当前完整态势，退出！"));
  EXPECT_THAT(log_errors(), IsEmpty());
  EXPECT_TRUE(engine().init_connect_data);
}

TEST_F(Scheduled, a_failed_stage_is_reported_and_ends_the_program) {
  const struct {
    std::function<void()> break_it;
    std::string text, error;
  } cases[] = {
      {[&] { config.at_dict("rule_config").at_dict("红方").at_dict("patrol-1").erase("class"); },
       "读取配置创建智能体错误:", "agent 'patrol-1' of side '红方' has no 'class'"},
      {[&] { server->initial.as_dict().at_dict("ScenarioInfo").erase("Time"); },
       "解析初始态势错误:", "Scenario 'scen' has no attribute 'Time'"},
      {[&] { fail("req_client_agent_config"); }, "智能体请求客户端配置的单元、目标等参数报错:", "lost"},
  };
  for (const auto& given : cases) {
    const Dict kept = config.deep_copy();
    const Value initial = server->initial.deep_copy();
    given.break_it();
    log->lines.clear();
    server->error_messages.clear();
    Deduction e(config, seams.seams());
    EXPECT_THROW(e.normal_simulate(), ProgramEnd) << given.text;
    EXPECT_THAT(server->error_messages, ElementsAre(given.text + given.error + ".\n详情请查看-" + e.log_file_path));
    ASSERT_EQ(log_errors().size(), 1u);
    EXPECT_THAT(log_errors().at(0), ::testing::AllOf(StartsWith("error: " + given.text), HasSubstr(given.error)));
    EXPECT_TRUE(e.main_exit_event->is_set());
    EXPECT_EQ(server->count("get_step_situation"), 0);
    config = kept;
    server->initial = initial;
    server->rules.clear();
  }
}

TEST_F(Scheduled, an_agent_that_fails_before_the_round_is_reported_and_ends_the_program) {
  for (const auto& [operation, text] : {std::pair("load_model", "强化学习智能体加载模型报错:"),
                                        {"info_extract", "智能体更新属性值报错:"},
                                        {"initial", "智能体initial函数报错:"}}) {
    fail_agent(operation);
    agent_of(red()).is_rule_agent = false;
    log->lines.clear();
    server->error_messages.clear();
    seams.exit->ends = 0;
    expect_end();
    const std::string error = std::string("boom in ") + operation;
    EXPECT_THAT(server->error_messages, ElementsAre(text + error + details()));
    EXPECT_THAT(log_errors(), ElementsAre(std::string("error: ") + text + "std::runtime_error: " + error));
    EXPECT_THAT(agent_of(blue()).calls, Contains("initial").Times(0));
  }
  EXPECT_THAT(log->lines, Contains("info: 强化学习智能体加载模型成功！"));
}

TEST_F(Scheduled, whatever_an_operation_answers_the_run_ends) {
  engine().normal_simulate();
  std::set<std::string> operations;
  for (const std::string& call : server->calls) operations.insert(call.substr(0, call.find('(')));
  server->updates.insert(server->updates.end(), 2, server->updates.back());  // an ended service says so again
  for (const std::string& operation : operations) {
    for (const Value& answer :
         List{Value(), false, -1, "text", 3.5, List(), Dict(), json("{'x': 1}"), json("{'x': {}}")}) {
      SCOPED_TRACE(operation + ": " + answer.to_text());
      server->reset(0);
      server->rules = {{operation, [&answer, calls = 0](int) mutable {
                          return ++calls == 1 ? std::optional(answer.deep_copy()) : std::nullopt;
                        }}};
      Deduction e(config.deep_copy(), seams.seams());
      try {
        e.normal_simulate();
      } catch (const ProgramEnd& end) {
        EXPECT_TRUE(end.status == 0 && e.main_exit_event->is_set());
      }
    }
  }
}

TEST_F(Scheduled, failures_of_a_round_are_reported_and_it_goes_on) {
  fail_agent("step");
  fail("req_agent_times", 1);
  const RoundResults results = engine().normal_simulate();
  EXPECT_TRUE(results.at(1).has_value());
  EXPECT_THAT(server->error_messages,
              ElementsAre("智能体'step'函数代码出错:boom in step" + details() + ".\n后续不再弹出提示！",
                          "智能体step函数执行次数发送错误:lost"));
  EXPECT_THAT(log_errors(), Contains("error: 智能体'step'函数代码出错:std::runtime_error: boom in step").Times(3));
  EXPECT_THAT(log_errors(), Contains("error: 智能体step函数执行次数发送错误:std::runtime_error: lost").Times(1));
  EXPECT_TRUE(engine().step_log_out);

  // The flag is shared and never reset: a later failure to send commands is only logged.
  server->error_messages.clear();
  log->lines.clear();
  engine().deduce_is_end = false;
  fail_agent("deduction_end");
  server->reset(0);
  fail("need_do_package_command");
  EXPECT_THROW(engine().game_run_round(), std::runtime_error) << "the package at the end is not guarded";
  EXPECT_THAT(log_errors(), Contains("error: 智能体累积指令下达出错:std::runtime_error: lost").Times(3));
  EXPECT_THAT(server->error_messages,
              ElementsAre("智能体'deduction_end'函数代码出错:boom in deduction_end" + details()));
}

TEST_F(Scheduled, a_failing_end_penalises_the_side) {
  config.at_dict("player").erase("decision_time");
  fail_agent("");
  agent_of(red()).on_situation = [&, calls = 0](const Situation&) mutable {
    agent_of(red()).throws_in = ++calls < 4 ? "info_extract" : "deduction_end";
  };
  const BatResult result = engine().normal_simulate().at(1).value();
  EXPECT_THAT(log->lines, Contains("warning: 决策间隔未设置, 按照默认决策间隔处理：决策间隔为30s"));
  EXPECT_THAT(server->calls, Contains("update_step_interval(30)").Times(3));
  EXPECT_EQ(result.error_side, "红方");
  EXPECT_EQ(result.red_score, Value(-90000.0));
  const std::string extract = "智能体'info_extract'函数代码出错:", end = "智能体'deduction_end'函数代码出错:";
  const std::string told = extract + "boom in info_extract" + details();
  EXPECT_THAT(server->error_messages, ElementsAre(told, told, told, end + "boom in deduction_end" + details()));
  EXPECT_THAT(log_errors(), Contains("error: " + extract + "std::runtime_error: boom in info_extract").Times(3));
  EXPECT_EQ(log_errors().back(), "error: " + end + "std::runtime_error: boom in deduction_end");
  EXPECT_TRUE(engine().main_exit_event->is_set());
}

TEST_F(Scheduled, settings_are_asked_for_three_times_then_the_round_is_abandoned) {
  server->rules["req_client_agent_config"] = [](int call) -> std::optional<Value> {
    // The two players' agents ask during preparation.
    if (call == 3 || call == 4 || call > 5) throw std::runtime_error("lost");
    return std::nullopt;
  };
  const RoundResults results = engine().normal_simulate();
  EXPECT_FALSE(results.at(1).has_value());
  EXPECT_THAT(log_errors(), Contains("error: 智能体请求前端配置参数出错，再次请求:std::runtime_error: lost").Times(4));
  EXPECT_THAT(log_errors(),
              Contains("error: 智能体请求前端配置参数出错，智能体运行结束:std::runtime_error: lost").Times(1));
  EXPECT_THAT(server->error_messages, ElementsAre("智能体请求前端配置参数出错，智能体运行结束:lost" + details()));
  EXPECT_EQ(seams.clock->waits.size(), 4u);
  EXPECT_EQ(server->count("get_step_situation"), 1);
}

TEST_F(Scheduled, a_crash_or_a_missing_agent_abandons_the_round) {
  server->updates = {json("{'Crash': true}")};
  EXPECT_FALSE(engine().normal_simulate().at(1).has_value());
  EXPECT_THAT(server->error_messages, IsEmpty());
  EXPECT_FALSE(engine().main_exit_event->is_set());

  engine().import_agent_side = "nobody";
  EXPECT_FALSE(engine().game_run_round().has_value());
  EXPECT_THAT(server->error_messages, ElementsAre("创建调度的智能体失败，智能体退出！"));
  EXPECT_EQ(log->lines.back(), "error: 创建调度的智能体失败，智能体退出！");
  EXPECT_TRUE(engine().main_exit_event->is_set());
}

TEST_F(Scheduled, without_a_run_log_no_message_is_even_made) {
  engine().normal_simulate();
  engine().logger = nullptr;
  engine().deduce_is_end = false;
  engine().start_game_time_elapsed.reset();  // the line about it could not show it
  engine().step_interval = "no number";      // asked for the timing line alone
  server->updates = {json("{'Crash': true}")};
  server->reset(0);
  EXPECT_FALSE(engine().game_run_round().has_value()) << "the crash ends the round, and nothing before it";
  EXPECT_THAT(server->error_messages, IsEmpty());
  EXPECT_EQ(agent_of(red()).calls.back(), "step");
}

TEST_F(Scheduled, a_round_without_a_run_has_no_stop_signal_to_set) {
  EXPECT_EQ(thrown([&] { engine().game_run_round(); }),
            "tessra::Error: there is no stop signal: no scheduled run was started");
  EXPECT_THAT(server->error_messages, ElementsAre("创建调度的智能体失败，智能体退出！"));
}

}  // namespace
}  // namespace tessra::testing
