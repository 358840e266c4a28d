// The program as its user meets it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "support/scratch_folder.h"

namespace tessra::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct Output {
  int status;
  std::string out;
  std::string err;
};

class CommandLine : public ::testing::Test {
 protected:
  CommandLine() { ::setenv("TESSRA_CONFIG", path("config").c_str(), 1); }

  Output run(const std::string& arguments) { return shell(std::string(TESSRA_DEDUCE) + " " + arguments); }

  Output shell(const std::string& command) {
    const std::string err_file = path("stderr");
    std::FILE* pipe = ::popen((command + " 2>" + err_file).c_str(), "r");
    Output output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
      output.out.append(buffer.data(), count);
    }
    const int status = ::pclose(pipe);
    output.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    output.err = read(err_file);
    return output;
  }

  std::string path(const std::string& name) const { return (folder_.path() / name).string(); }
  static std::string read(const std::string& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name)) << text;
    return path(name);
  }
  /// A configuration for `apply` with an agent of this class that decides every `interval` seconds.
  std::string apply_config(const std::string& agent_class, int interval) const {
    return write(agent_class + std::to_string(interval) + ".json",
                 R"({"is_ai_apply": true, "simulate": {"scenario": "strait"}, "server": {}, "player": {"agent_id": "1",
                 "agent_name": "a", "player_side": "红方", "decision_time": )" +
                     std::to_string(interval) + R"(}, "rule_config": {"红方": {"a": {"class": ")" + agent_class +
                     R"("}}}})");
  }
  static std::string library() { return " --agents " TESSRA_FAULTY_AGENTS; }

 private:
  ScratchFolder folder_;
};

TEST_F(CommandLine, json_lines_are_the_same_for_the_same_seed) {
  const Output first = run("run --scenario skirmish --json --episodes 2 --seed 7");
  EXPECT_EQ(first.status, 0);
  EXPECT_THAT(first.err, IsEmpty());
  EXPECT_EQ(std::count(first.out.begin(), first.out.end(), '\n'), 2);
  const Dict line = read_json(first.out.substr(0, first.out.find('\n'))).as_dict();
  for (const char* key :
       {"round", "red_name", "blue_name", "red_score", "blue_score", "time_elapsed", "steps", "seed"}) {
    EXPECT_TRUE(line.contains(key)) << key;
  }
  EXPECT_EQ(line.at("seed"), Value(7));
  EXPECT_EQ(run("run --scenario skirmish --json --episodes 2 --seed 7").out, first.out);
  EXPECT_NE(run("run --scenario skirmish --json --episodes 2 --seed 8").out, first.out);
}

TEST_F(CommandLine, wrong_input_is_one_clear_line_and_status_2) {
  const std::string bad_json = write("bad.json", "{\n  \"game_server\": [}\n");
  const struct {
    std::string arguments;
    std::string says;
  } cases[] = {
      {"run --scenario nosuch", "nosuch"},
      {"run --scenario " + path("nosuch.json"), "nosuch.json"},
      {"run --config " + path("nosuch.json"), "no such file"},
      {"run --config " + bad_json, "line 2, column"},
      {"run --config " + write("list.json", "[]"), "object"},
      {"run --episodes 0", "episodes"},
      {"run --nonsense", "nonsense"},
      {"rnu", "no command 'rnu'"},
      {"run --config " + write("side.json", R"({"rule_config": {"nobody": {"x": {"class": "idle"}}}})"),
       "no side 'nobody'; there are: 红方, 蓝方, 绿方"},
      {"run --config " + write("class.json", R"({"rule_config": {"红方": {"x": {"class": "nosuch"}}}})"),
       "no agent class 'nosuch'; there are: idle"},
      {"run --scenario " + write("bad_scenario.json", R"({"id": "x", "units_oops": 1})"), "units_oops"},
      {"replay " + path("empty"), "initial.json"},
      {"run --agents " + path("nosuch.so"), "nosuch.so"},
      {"apply --config " + write("standard.json", "{}"), "use 'deduce run'"},
      {"apply --config " +
           write("nowhere.json", R"({"is_ai_apply": true, "simulate": {"scenario": "nosuch"}, "player": {}})"),
       "no scenario 'nosuch'"},
      {"check-agent --class nosuch", "no agent class 'nosuch'; there are: idle"},
      {"check-agent --class x --agents " + bad_json, "bad.json"},
  };
  for (const auto& given : cases) {
    const Output output = run(given.arguments);
    EXPECT_EQ(output.status, 2) << given.arguments;
    EXPECT_THAT(output.err, HasSubstr(given.says)) << given.arguments;
    EXPECT_THAT(output.out, IsEmpty());
  }
  EXPECT_EQ(run("--help").status, 0);
}

TEST_F(CommandLine, options_beat_the_configuration_and_misspelt_keys_are_warned_of) {
  const std::string config = write("c.json", R"({"game_server": {
    "simulate": {"scenario": "strait", "episodes": 5, "step_intervall": 1}, "server": {"seed": 1}, "simualte": {}}})");
  const Output output =
      run("run --config " + config + " --scenario skirmish --episodes 1 --seed 9 --json --log " + path("log"));
  EXPECT_EQ(output.status, 0);
  EXPECT_EQ(output.err,
            "warning: unknown key game_server.simualte has no effect; did you mean simulate?\n"
            "warning: unknown key simulate.step_intervall has no effect; did you mean step_interval?\n");
  EXPECT_EQ(read_json(output.out).as_dict().at("seed"), Value(9));
  EXPECT_THAT(read(path("log")), HasSubstr(" - deduce - INFO - 第1局,想定'skirmish'加载成功"));
}

TEST_F(CommandLine, an_agents_failure_names_side_agent_and_operation) {
  const std::string config = write("c.json", R"({"game_server": {"simulate": {"scenario": "skirmish"}, "server": {}},
    "rule_config": {"红方": {"x": {"class": "throws-ours"}}}})");
  const Output output = run("run --config " + config + library());
  EXPECT_EQ(output.status, 1);
  EXPECT_THAT(output.err,
              HasSubstr("agent 'x' of side '红方' failed in `step` at 0:00:00 of episode 1: no key 'plan'\n"));
  EXPECT_THAT(output.err, HasSubstr("libfaulty_agents.so(")) << "the trace";
}

TEST_F(CommandLine, recordings_replay_and_dump) {
  ASSERT_EQ(run("run --scenario skirmish --quiet --record " + path("rec")).status, 0);
  const Output output = run("replay " + path("rec") + " --dump " + path("dump.json"));
  EXPECT_EQ(output.status, 0) << output.err;
  const Value dump = read_json_file(path("dump.json"));
  const List& entries = dump.as_list();
  ASSERT_GT(entries.size(), 2u);
  EXPECT_EQ(entries.at(0).as_dict().at("record"), Value("initial"));
  EXPECT_EQ(entries.at(0).as_dict().at("returned"), Value(1));
  const Dict& last = entries.at(entries.size() - 1).as_dict();
  EXPECT_TRUE(last.at_dict("returned").contains("red_score"));
  EXPECT_TRUE(last.at("error").is_none());
  EXPECT_TRUE(last.at_dict("engine").at("deduce_is_end").is_true());
  EXPECT_THAT(write_json(last.at("elements")), HasSubstr("\"Name\":\"Red base\""));

  // A recording that was broken off ends with its last file.
  std::filesystem::remove(path("rec/episode-000001/update-000003.json"));
  const Output broken_off = run("replay " + path("rec"));
  EXPECT_EQ(broken_off.status, 0) << broken_off.err;
  EXPECT_THAT(broken_off.out, HasSubstr("2 updates played"));
}

TEST_F(CommandLine, apply_plays_the_example_and_saves_its_result) {
  const Output output = run("apply --json --config " TESSRA_SOURCE_DIR "/scenarios/apply_strait.json");
  EXPECT_EQ(output.status, 0);
  EXPECT_THAT(output.err, IsEmpty());
  const Dict line = read_json(output.out).as_dict();
  EXPECT_EQ(line.at("red_name"), Value("patrol-1"));
  EXPECT_EQ(line.at("steps"), Value(180));
  EXPECT_THAT(read(path("config/log/command_delay.log")),
              HasSubstr(" - Apply - INFO - 当前推演时间:5400s, 推演结束\n"));

  const Dict saved = read_json(run("results --json").out).as_dict();
  EXPECT_EQ(saved.at("red_score"), line.at("red_score"));
  EXPECT_EQ(saved.at("error_side"), Value(""));
  const std::string config =
      write("c.json", R"({"game_server": {"simulate": {"scenario": "skirmish", "save_result": true}, "server": {}}})");
  run("run --quiet --episodes 2 --config " + config);
  const std::string lines = run("results --json").out;
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3) << "both modes save";
  EXPECT_THAT(run("results").out, HasSubstr("strike-1"));
}

TEST_F(CommandLine, apply_tells_what_went_wrong) {
  const struct {
    std::string agent_class;
    int status;
    std::string says;
  } cases[] = {
      {"throws-in-initial", 0, "智能体initial函数报错:lost in initial.\n详情请查看-"},
      {"throws-in-step", 0, "智能体'step'函数代码出错:lost in step.\n"},
      {"throws-at-the-end", 1, "智能体'deduction_end'函数代码出错:lost in deduction_end.\n"},
      {"nosuch", 0, "读取配置创建智能体错误:no agent class 'nosuch'"},
  };
  for (const auto& given : cases) {
    const Output output = run("apply --quiet --config " + apply_config(given.agent_class, 30) + library());
    EXPECT_EQ(output.status, given.status) << given.agent_class;
    EXPECT_THAT(output.err, HasSubstr(given.says));
  }
}

TEST_F(CommandLine, signals_end_a_run_within_a_second) {
  const struct {
    std::string arguments;
    std::string signal;
    int status;
  } cases[] = {
      {"run --scenario skirmish --episodes 1000000 --quiet", "INT", 130},
      {"run --scenario skirmish --episodes 1000000 --quiet", "TERM", 143},
      {"apply --config " + apply_config("patrol", 1), "INT", 130},
      {"apply --config " + apply_config("patrol", 1), "TERM", 143},
      {"apply --config " + apply_config("never-returns", 30) + library(), "TERM", 143},
  };
  for (const auto& given : cases) {
    // `timeout` passes the program's own status on, or kills it a second after the signal.
    const Output output =
        shell("timeout --preserve-status -k 1 -s " + given.signal + " 0.5 " + TESSRA_DEDUCE + " " + given.arguments);
    EXPECT_EQ(output.status, given.status) << given.arguments << " " << given.signal;
    EXPECT_THAT(output.out, IsEmpty());
  }
  const std::string log = read(path("config/log/command_delay.log"));
  EXPECT_THAT(log, EndsWith("\n")) << "no line is cut";
}

TEST_F(CommandLine, check_agent_says_in_plain_words_what_is_wrong) {
  const Output clean = run("check-agent --class patrol");
  EXPECT_EQ(clean.status, 0) << clean.out;
  const struct {
    std::string agent_class;
    std::string says;
  } cases[] = {
      {"throws-in-step", "- `step` throws (anonymous namespace)::TacticalError: lost in step\n"},
      {"careless", "KeyError: missing key 'Name'\n  4 times, first in a contact known by its id alone, standard mode"},
      {"mutinous", "- orders a unit that is not its own or no longer there: 'unit-"},
      {"slow", "- `step` takes longer than 0.01 s\n"},
      {"forgetful", "it keeps state over `reset`\n"},
  };
  for (const auto& given : cases) {
    const Output output = run("check-agent --limit 0.01 --class " + given.agent_class + library());
    EXPECT_EQ(output.status, 1) << given.agent_class;
    EXPECT_THAT(output.out, HasSubstr(given.says));
  }
}

}  // namespace
}  // namespace tessra::testing
