// Wrong arguments and files on the command line.

#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

TEST_F(CommandLine, wrong_input_is_one_clear_line_and_status_2) {
  const std::string bad_json = write("bad.json", "{\n  \"game_server\": [}\n");
  const std::pair<std::string, std::string> cases[] = {
      {"run --scenario nosuch", "nosuch"},
      {"run --scenario " + path("nosuch.json"), "nosuch.json"},
      {"run --config " + path("nosuch.json"), "no such file"},
      {"run --config " + bad_json, "line 2, column"},
      {"run --config " + write("list.json", "[]"), "object"},
      {"run --seed 99999999999999999999",
       "--seed: must be a whole number of at most 64 bits, is '99999999999999999999'"},
      {"run --seed 1.5", "--seed: must be a whole number"},
      {"apply --config x --seed 9223372036854775808", "--seed: must be a whole number"},
      {"run --first-episode 0", "--first-episode: must be a whole number from 1 to 1000000000"},
      {"run --episodes 1000000001", "--episodes: must be a whole number from 1 to 1000000000, is '1000000001'"},
      {"replay x --episode 99999999999999999999", "--episode: must be a whole number from 1 to 1000000000"},
      {"results --last -1", "--last: must be a whole number from 1 to 1000000000"},
      {"check-agent --class patrol --limit nan", "--limit: must be a number from 0.001 to 3600"},
      {"run --scenario ''", "--scenario: must not be empty"},
      {"run --config ''", "--config: must not be empty"},
      {"run --log ''", "--log: must not be empty"},
      {"run --nonsense", "nonsense"},
      {"", "no command ''; there are: run, replay, "},
      {"check-agent", "--class is required"},
      {"check-service http://localhost:1", "'http://localhost:1' is no address"},
      {"check-service grpc://localhost:1 --token-file nosuch", "cannot read nosuch"},
      {"rnu", "no command 'rnu'"},
      {"run --config " + write("side.json", R"({"rule_config": {"nobody": {"x": {"class": "idle"}}}})"),
       "no side 'nobody'; there are: 红方, 蓝方, 绿方, 黄方"},
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
  for (const auto& [arguments, says] : cases) expect_refused(arguments, says);
  EXPECT_EQ(run("--help").status, 0);
}

}  // namespace
}  // namespace tessra::testing
