// Agent libraries, and the scheduling client of this process.

#include <fstream>
#include <regex>
#include <thread>

#include "Tessra/base/json_write.h"
#include "Tessra/entitys/agent_library.h"
#include "agents/sample_agents.h"
#include "services/scheduling_client.h"
#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

TEST(AgentLibraries, unusable_files_are_refused_with_the_reason) {
  for (const auto& [file, reason] : {std::pair("/no/such/library.so", "/no/such/library.so: No such file"),
                                     {TESSRA_SOURCE_DIR "/README.md", "README.md: "},
                                     {TESSRA_ENGINE_LIBRARY, "does not export tessra_agents_abi"},
                                     {TESSRA_WRONG_INTERFACE, "built for agent interface 99, this program has "}}) {
    EXPECT_THAT([file = file] { load_agent_library(file); },
                ::testing::ThrowsMessage<AgentLibraryError>(HasSubstr(reason)));
  }
}

/// An engine for the scheduling client of the embedded service, with an agent of the library of faulty ones.
class Client : public ::testing::Test {
 protected:
  Client() {
    register_sample_agents(AgentRegistry::instance());
    config = json(R"({"is_ai_apply": true, "simulate": {"scenario": "skirmish"}, "server": {},
      "player": {"agent_id": "id-1", "agent_name": "a", "player_side": "红方", "decision_time": 30}})");
    config.at_dict("server").set("url", "embedded:" TESSRA_SOURCE_DIR "/scenarios");
    config.at_dict("player").set("agent_path", TESSRA_FAULTY_AGENTS);
    config.set("logger", std::make_shared<spdlog::logger>("test", log));
    use("patrol");
  }

  void use(const std::string& agent_class) {
    config.set("rule_config", Dict{{"红方", Dict{{"a", Dict{{"class", agent_class}}}}}});
  }
  Deduction& engine() {
    if (engine_ == nullptr) engine_ = std::make_unique<Deduction>(config, seams.seams());
    return *engine_;
  }
  SchedulingClient& client() { return *find_client<SchedulingClient>(*engine().game); }
  std::string errors_logged() const {
    std::string text;
    for (const std::string& line : log->lines) text += line.starts_with("error: ") ? line + "\n" : "";
    return text;
  }

  FakeSeams seams;
  std::shared_ptr<LogLines> log = std::make_shared<LogLines>();
  Dict config;

 private:
  std::unique_ptr<Deduction> engine_;
};

TEST_F(Client, what_a_librarys_agent_throws_is_reported_with_type_causes_and_stack) {
  use("throws-in-step");
  EXPECT_TRUE(engine().normal_simulate().at(1).has_value());
  EXPECT_THAT(client().error_texts(), ElementsAre(StartsWith("智能体'step'函数代码出错:lost in step.\n详情请查看-")));
  const std::string errors = errors_logged();
  for (const char* part : {"智能体'step'函数代码出错:", "TacticalError: lost in step",
                           "tessra::KeyError: no key 'plan'", "libfaulty_agents.so("})  // the stack of our own errors
    EXPECT_THAT(errors, HasSubstr(part));
}

TEST_F(Client, errors_of_a_library_are_caught_by_their_type) {
  Dict standard = json(R"({"game_server": {"simulate": {"scenario": "skirmish"}, "server": {}},
                           "rule_config": {"红方": {"a": {"class": "throws-ours"}}}})");
  standard.at_dict("game_server").set("server", config.at_dict("server"));
  standard.set("agent_libraries", List{TESSRA_FAULTY_AGENTS});
  Deduction trainer(standard, seams.seams());
  ASSERT_EQ(trainer.reset(1), 1);
  EXPECT_THROW(trainer.step(Dict()), KeyError);
  EXPECT_EQ(trainer.failed_call.agent->agent_type, "a");
}

TEST_F(Client, settings_reach_the_agent_at_its_next_decision) {
  config.at_dict("server").set("url", "embedded:" TESSRA_SOURCE_DIR "/scenarios/check");
  config.at_dict("simulate").set("scenario", "empty_side");  // two quiet minutes
  config.at_dict("player").set("decision_time", 10);
  config.at_dict("server").set("agent_settings", json("{'id-1': {'decision_interval': 30}}"));
  EXPECT_TRUE(client().is_ai_apply);
  std::vector<std::int64_t> counts;
  std::vector<Value> intervals;
  client().on_decision = [&](std::int64_t count) {
    counts.push_back(count);
    intervals.push_back(engine().players.at("红方")->agents_list->front()->agent_decision_time());
    if (count == 2) client().set_agent_settings("id-1", json("{'decision_interval': 60}"));
  };
  EXPECT_TRUE(engine().normal_simulate().at(1).has_value());
  EXPECT_THAT(intervals, ElementsAre(Value(30.0), Value(30.0), Value(60.0)));
  EXPECT_THAT(counts, ElementsAre(1, 2, 3)) << "30 + 30 + 60 s";
  EXPECT_EQ(client().agent_times("id-1"), 3);
  EXPECT_EQ(client().agent_times("id-2"), 0);
}

TEST_F(Client, a_stop_ends_the_round_with_the_next_advance) {
  client().on_decision = [&](std::int64_t count) {
    if (count == 3) client().stop();
  };
  EXPECT_FALSE(engine().normal_simulate().at(1).has_value());
  EXPECT_EQ(client().agent_times("id-1"), 3);
  EXPECT_TRUE(engine().main_exit_event->is_set());
  EXPECT_THROW(engine().normal_simulate(), ProgramEnd) << "a stopped client takes no new run";
  EXPECT_THAT(errors_logged(), HasSubstr("连接客户端错误:the client is stopping，退出！"));
}

TEST_F(Client, a_scenario_that_the_service_lacks_is_told) {
  config.at_dict("simulate").set("scenario", "gone");
  EXPECT_THROW(engine().normal_simulate(), ProgramEnd);
  EXPECT_THAT(errors_logged(), HasSubstr("连接客户端错误:the client has no scenario 'gone'，退出！"));
}

TEST_F(Client, two_engines_write_whole_lines_to_one_run_log) {
  const std::filesystem::path file = seams.config_directory / "log" / "command_delay.log";
  config.erase("logger");
  const std::string text = write_json(config);  // a tree belongs to one thread
  const auto run = [&] { Deduction(read_json(text).as_dict(), seams.seams()).normal_simulate(); };
  std::thread other(run);
  run();
  other.join();
  std::ifstream log_file(file);
  const std::regex form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} - Apply - (INFO|WARNING|ERROR) - .+)");
  int ends = 0;
  for (std::string line; std::getline(log_file, line);) {
    EXPECT_TRUE(std::regex_match(line, form)) << line;
    ends += line.ends_with("推演结束") ? 1 : 0;
  }
  EXPECT_EQ(ends, 2);
}

}  // namespace
}  // namespace tessra::testing
