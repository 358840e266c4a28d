// Playing episodes from the command line.

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

}  // namespace
}  // namespace tessra::testing
