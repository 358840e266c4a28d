// Steps of episodes, and errors of agents in them.

#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

class Step : public EngineTest {
 protected:
  const Value tick = json("{'ScenarioInfo': {'Time': 90000}}");
};

TEST_F(Step, goes_on_until_the_service_reports_the_end) {
  with_log();
  server->updates = {tick, tick, tick, json("{'IsEnd': true, 'ScenarioInfo': {'Time': 120000}}")};
  section().at_dict("simulate").set("step_interval", 2);
  start();
  agent_of(red()).on_situation = [this](const Situation&) { server->add_command("Order({})"); };
  EXPECT_EQ(std::get<int>(engine().step(Dict())), 1);
  EXPECT_EQ(std::get<int>(engine().step(Dict())), 1);
  EXPECT_EQ(log->lines.back(),
            "info: round:1, time:90s, step index:2, step:0.000s, simulate:0.000s, update:0.000s, "
            "patrol-1 step:0.000s, strike-1 step:0.000s, ");
  engine().step_interval = 1;
  engine().step(Dict());
  EXPECT_THAT(log->lines, Contains(HasSubstr("step index:")).Times(2));
  const BatResult result = std::get<BatResult>(engine().step(Dict()));
  EXPECT_EQ(result.red_name, "patrol-1");
  EXPECT_EQ(result.time_elapsed, 120.0);
  EXPECT_EQ(Value(List{result.red_score, result.blue_score, result.process_id}).to_text(), "[10.0, -10.0, 1]");
  EXPECT_EQ(server->sent_commands.size(), 4u);
  EXPECT_EQ(engine().step_index, 4);
}

TEST_F(Step, without_a_situation_answers_nothing) {
  start();
  seams.console->printed.clear();
  EXPECT_TRUE(std::holds_alternative<std::monostate>(engine().step(Dict())));
  EXPECT_THAT(seams.console->printed, ElementsAre("没有获取到态势数据"));
  EXPECT_EQ(engine().step_index, 1);
}

TEST_F(Step, an_agent_may_ask_for_the_end_in_training) {
  with_log();
  server->updates = {tick, tick};
  start();
  agent_of(red()).done = true;
  EXPECT_EQ(std::get<int>(engine().step(Dict())), 1);
  EXPECT_EQ(server->count("simulate_end"), 1);
  EXPECT_THAT(log->lines, Contains("info: 推演方-红方, 智能体-patrol-1, is_done函数返回True, 结束本局！"));
  EXPECT_EQ(agent_of(blue()).calls.back(), "step") << "later agents are not asked";
  engine().is_training = false;
  engine().step(Dict());
  EXPECT_EQ(server->count("simulate_end"), 1);
}

TEST_F(Step, a_refused_package_is_reported_and_reaches_the_sides_agents) {
  const Dict answers[] = {
      json("{'message': 'Error', 'resbin': '1: 坏'}"),
      json(R"({'message': 'Error', 'resbin': '', 'refused': ['z', {'number': 2, 'command': 'y', 'reason': 'of no side'},
               {'side': '绿方'}, {'side': 1}, {'side': '红方', 'command': 'x', 'reason': 'no'}]})"),
      json("{'message': 'Error', 'resbin': '1: a\\n2: b'}"),
      json("{'message': 'Error', 'resbin': '1: a\\n2: b\\n'}"),
      json("{'message': 'OK', 'resbin': '1: a'}"),
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
  EXPECT_EQ(refused[0].command + refused[0].reason, "xno");
  server->commands.clear();
  engine().cmd_package();
  EXPECT_TRUE(refused.empty()) << "nothing was refused of the last decision";
  EXPECT_EQ(send(), 8);
  EXPECT_EQ(send(), 10);
  EXPECT_EQ(send(), 10);
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
  const auto result_of = [](const auto& answer) -> std::optional<BatResult> {
    const auto* result = std::get_if<BatResult>(&answer);
    return result != nullptr ? std::optional(*result) : std::nullopt;
  };
  const std::string decision = "推演方: 红方, 智能体名:patrol-1 错误信息:boom in ";
  const struct {
    const char* operation;
    std::function<std::optional<BatResult>()> call;
    std::string message;
  } cases[] = {
      {"initial", [&] { return engine().player_init(); }, "info: 智能体初始化代码出错, " + decision + "initial"},
      {"step", [&] { return result_of(engine().agents_step(Dict())); },
       "info: 智能体初始化代码出错, " + decision + "step"},
      {"is_done", [&] { return result_of(engine().agents_check_end()); },
       "error: 推演方-红方, 智能体-patrol-1, is_done函数调用出错，boom in is_done"},
      {"deduction_end", [&] { return engine().agents_end(); },
       "info: 智能体deduction_end代码出错, " + decision + "deduction_end"},
  };
  for (const auto& given : cases) {
    agent_of(red()).throws_in = given.operation;
    agent_of(blue()).calls.clear();
    const auto result = given.call();
    ASSERT_TRUE(result.has_value()) << given.operation;
    EXPECT_EQ(result->error_side, "红方");
    EXPECT_EQ(log->lines.back(), given.message);
    EXPECT_THAT(seams.console->errors.back(), StartsWith("std::runtime_error: boom in"));
    EXPECT_TRUE(agent_of(blue()).calls.empty()) << "later agents are not called";
  }
  EXPECT_EQ(engine().calls_failed, 4);
  agent_of(red()).throws_in = "step";
  EXPECT_EQ(std::get<int>(engine().step(Dict())), 1) << "a step with a failed agent still advances";
  engine().step(Dict());
  EXPECT_TRUE(std::holds_alternative<BatResult>(engine().step(Dict())));
}

}  // namespace
}  // namespace tessra::testing
