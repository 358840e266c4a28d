// Playing episodes from the command line, and one agent for a scheduling client.

#include "simulation/simulation.h"
#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

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

TEST_F(CommandLine, options_beat_the_configuration_and_misspelt_keys_are_warned_of) {
  const std::string config = write("c.json", R"({"game_server": {
    "simulate": {"scenario": "strait", "episodes": 5, "step_intervall": 1}, "server": {"sed": 1}, "simualte": {}}})");
  const Output output =
      run("run --config " + config + " --scenario skirmish --episodes 1 --seed 9 --json --log " + path("log"));
  EXPECT_EQ(output.status, 0);
  EXPECT_EQ(output.err,
            "warning: unknown key game_server.simualte has no effect; did you mean simulate?\n"
            "warning: unknown key simulate.step_intervall has no effect; did you mean step_interval?\n"
            "warning: unknown key server.sed has no effect; did you mean seed?\n");
  EXPECT_EQ(read_json(output.out).as_dict().at("seed"), Value(9));
  EXPECT_THAT(read(path("log")), HasSubstr(" - deduce - INFO - 第1局,想定'skirmish'加载成功"));
}

TEST_F(CommandLine, json_says_how_an_episode_ended_for_every_side) {
  const Dict line = read_json(run("run --scenario strait --json").out).as_dict();
  EXPECT_EQ(line.at("ended_by"), Value("duration"));
  EXPECT_FALSE(line.contains("beaten_side"));
  EXPECT_EQ(line.at("winner"), Value(line.at_real("red_score") > line.at_real("blue_score") ? "red" : "blue"));
  EXPECT_EQ(line.at_text("episode_seed"), std::to_string(sim::episode_seed(1, 1)));
  const Dict sides = line.at_dict("sides");
  ASSERT_EQ(sides.size(), 4u) << "the friend that nobody plays, too";
  EXPECT_EQ(sides.at_dict("红方").at("score"), line.at("red_score"));
  EXPECT_GE(sides.at_dict("绿方").at_integer("losses"), 0);
  EXPECT_EQ(line.at("calls_failed"), Value(0));

  const std::string alone = "run --config " + run_config("patrol");
  EXPECT_THAT(run(alone).out,
              ::testing::ContainsRegex("red: x   blue: \\(nobody\\)(.|\n)*  none (.|\n)*red won 0, blue won 0 "));
  EXPECT_EQ(read_json(run(alone + " --json").out).as_dict().at("winner"), Value("none"));

  const Dict asked = read_json(run("run --json --config " + run_config("impatient") + library()).out).as_dict();
  EXPECT_EQ(asked.at("ended_by"), Value("agent"));
  EXPECT_THAT(run("run --config " + run_config("impatient") + library()).out, HasSubstr("  an agent's wish\n"));
}

TEST_F(CommandLine, one_episode_of_a_series_is_played_alone) {
  const std::string series = run("run --scenario skirmish --json --episodes 3 --seed 7").out;
  const Output last = run("run --scenario skirmish --json --episodes 1 --first-episode 3 --seed 7");
  EXPECT_EQ(last.status, 0) << last.err;
  EXPECT_EQ(read_json(last.out).as_dict().at("round"), Value(3));
  EXPECT_THAT(series, EndsWith(last.out));
  const std::string config = write("later.json", R"({"game_server": {
      "simulate": {"scenario": "skirmish", "episodes": 2}, "server": {"first_episode": 2, "seed": 7}}})");
  EXPECT_THAT(series, EndsWith(run("run --json --config " + config).out));
}

TEST_F(CommandLine, what_goes_wrong_without_ending_the_run_is_counted) {
  const std::string arguments = "run --config " + run_config("throws-ours", R"(, "testing": false)") + library();
  const Output output = run(arguments);
  EXPECT_EQ(output.status, 0);
  EXPECT_EQ(output.err, "warning: agent 'x' of side '红方' in `step` failed: tessra::KeyError: no key 'plan'\n");
  EXPECT_THAT(output.out, HasSubstr(" calls into agents failed; play with --log FILE to read which and why\n"));
  EXPECT_GT(read_json(run(arguments + " --json").out).as_dict().at_integer("calls_failed"), 1);

  const std::string refused = "run --config " + run_config("mutinous") + library() + " --log " + path("log");
  EXPECT_THAT(run(refused).out, HasSubstr(" orders were refused; see the run log " + path("log") + "\n"));
  EXPECT_GT(read_json(run(refused + " --json").out).as_dict().at_integer("orders_refused"), 1);
}

TEST_F(CommandLine, progress_on_a_terminal_gives_way_to_what_is_written) {
  const Output output = shell("script -qec '" TESSRA_DEDUCE " run --scenario strait --json --episodes 2' /dev/null");
  EXPECT_THAT(output.out, HasSubstr("steps/s"));
  std::istringstream lines(output.out);
  int found = 0;
  for (std::string line; std::getline(lines, line);) {
    const auto json = line.find('{');
    if (json == std::string::npos) continue;
    ++found;
    EXPECT_TRUE(json == 0 || line.substr(0, json).ends_with("\r\x1b[K")) << line;
  }
  EXPECT_EQ(found, 2);
}

TEST_F(CommandLine, a_stopped_run_says_how_far_it_came) {
  const std::string program = std::string("timeout --preserve-status -k 1 -s INT 0.5 ") + TESSRA_DEDUCE + " run ";
  const Output played = shell(program + "--scenario skirmish --episodes 1000000");
  EXPECT_EQ(played.status, 130);
  EXPECT_THAT(played.out, ::testing::ContainsRegex("\nred won [0-9]+, blue won [0-9]+ of [1-9][0-9]*\n$"));
  EXPECT_THAT(played.err, ::testing::MatchesRegex("stopped after [1-9][0-9]* of 1000000\n"));

  const Output stuck = shell(program + "--episodes 400 --config " + run_config("never-returns") + library());
  EXPECT_EQ(stuck.status, 130);
  EXPECT_EQ(stuck.err, "error: agent 'x' of side '红方' in `step` did not return\nstopped after 0 of 400\n");
  EXPECT_EQ(stuck.out, "no episode was played to its end\n");
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
      {"run --quiet --config " + run_config("never-returns") + library(), "TERM", 143},
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

TEST_F(CommandLine, apply_plays_the_example) {
  const Output output = run("apply --json --config " TESSRA_SOURCE_DIR "/scenarios/apply_strait.json");
  EXPECT_EQ(output.status, 0);
  EXPECT_THAT(output.err, IsEmpty());
  const Dict line = read_json(output.out).as_dict();
  EXPECT_EQ(line.at("red_name"), Value("patrol-1"));
  EXPECT_EQ(line.at("steps"), Value(180));
  EXPECT_EQ(line.at("ended_by"), Value("duration"));
  EXPECT_THAT(read(path("config/log/command_delay.log")),
              HasSubstr(" - Apply - INFO - 当前推演时间:5400s, 推演结束\n"));
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

}  // namespace
}  // namespace tessra::testing
