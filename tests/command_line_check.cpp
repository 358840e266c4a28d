// `check-agent` as its user meets it.

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
  };
  for (const auto& given : cases) {
    const Output output = run("check-agent --limit 0.01 --class " + given.agent_class + library());
    EXPECT_EQ(output.status, 1) << given.agent_class;
    EXPECT_THAT(output.out, HasSubstr(given.says));
  }
}

}  // namespace
}  // namespace tessra::testing
