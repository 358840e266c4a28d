// Recording and replaying on the command line.

#include "Tessra/base/json_write.h"
#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

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

}  // namespace
}  // namespace tessra::testing
