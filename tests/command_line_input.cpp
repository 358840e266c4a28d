// Wrong arguments and files on the command line.

#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

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

}  // namespace
}  // namespace tessra::testing
