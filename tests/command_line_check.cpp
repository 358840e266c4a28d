// Checking agents and services from the command line.

#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

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
      {"reads-the-truth",
       "- `step` calls `get_init_situation` of the service client: it reads the truth of all sides\n"},
      {"takes-the-update", "- `step` calls `get_step_situation` of the service client: it takes the engine's update"},
      {"ends-the-episode", "- `step` calls `simulate_end` of the service client: it ends the episode"},
      {"looks-behind", "- `step` calls `inner` of the service client"},
      {"orders-the-enemy", "- gives orders for side '蓝方', which is not its own\n"},
      {"scores-itself", "- `update_constant_attribute` writes its own side's score (TotalScore)\n"},
      // These end the process that checks.
      {"exits", "- `step` ends the program, with status "},
      {"exits-at-once", "- `step` ends the program, with status 0\n"},
      {"ends-its-thread", "- the agent, after `step`, ends the program"},
      {"crashes", "- `step` crashes: Aborted\n"},
      {"never-returns", "- `step` does not return: given up after 0.5 s\n  in an ordinary episode"},
      {"wavers", "  found at 0:00:00: `initial` throws"},
      {"wavers", "- `step` crashes: "},
  };
  for (const auto& given : cases) {
    // A sanitizer takes its time at the end of a program.
    const std::string limit = given.agent_class == "exits" ? "20" : "0.01";
    const Output output = run("check-agent --limit " + limit + " --class " + given.agent_class + library());
    EXPECT_EQ(output.status, 1) << given.agent_class;
    EXPECT_THAT(output.out, HasSubstr(given.says));
  }
}

TEST_F(CommandLine, check_service_says_whether_a_service_conforms) {
  const struct {
    std::string backend, arguments;
    int status;
    std::string says;
  } cases[] = {
      {"embedded:", "", 0, "checking an episode in a room started anew\n\nno findings\n"},
      {"records:" + path(""), "", 1,
       "\n2 findings:\n- `ListScenarios`: wanted at least one name, came none\n  1 time, first in the names of "},
      {"embedded:", " --scenario nosuch", 2, "error: no scenario 'nosuch'; there are: skirmish, strait\n"},
  };
  for (const auto& given : cases) {
    const std::string deduce(TESSRA_DEDUCE), address = "unix:" + path("s" + std::to_string(given.status));
    const Output output = shell(deduce + " serve --listen " + address + " --backend " + given.backend +
                                " >/dev/null & server=$!; " + deduce + " check-service grpc+" + address +
                                given.arguments + "; status=$?; kill $server; wait $server; (exit $status)");
    EXPECT_EQ(output.status, given.status) << output.err;
    EXPECT_THAT(output.out + output.err, HasSubstr(given.says));
  }
}

}  // namespace
}  // namespace tessra::testing
