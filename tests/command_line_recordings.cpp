// Recording and replaying from the command line.

#include <fmt/format.h>

#include "Tessra/base/json_write.h"
#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

class Recordings : public CommandLine {
 protected:
  const std::string replay = "replay " + path("rec");
  std::string episode(const std::string& file = "") const { return path("rec/episode-000001/" + file); }
};

TEST_F(Recordings, replay_and_dump) {
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
}

TEST_F(Recordings, what_is_damaged_is_told_in_a_line) {
  ASSERT_EQ(run("run --scenario skirmish --quiet --record " + path("rec")).status, 0);
  std::filesystem::rename(episode("update-000003.json"), path("third"));
  const Output gap = run("replay " + path("rec") + " --dump " + path("dump.json"));
  EXPECT_EQ(gap.out.substr(0, gap.out.find(',')), "2 updates played") << "what comes before is played";
  EXPECT_EQ(read_json_file(path("dump.json")).as_list().size(), 3u);
  expect_refused(replay, "update-000003.json is missing, update-000004.json is there", 1);
  for (const char* record : {"[]", "5", "null", "{\"Situation\""}) {
    std::ofstream(episode("update-000003.json")) << record;
    expect_refused(replay, "update-000003.json: ", 1);
  }
  std::filesystem::rename(path("third"), episode("update-000003.json"));
  for (int number = 5; std::filesystem::remove(episode(fmt::format("update-{:06}.json", number))); ++number) continue;
  expect_refused(replay, "the recording breaks off: there is no update-000005.json", 1);
  std::ofstream(episode("config.json")) << R"({"game_server": {}, "rule_config": {"红方": {"a": {}}}})";
  EXPECT_THAT(run("replay " + path("rec")).out, HasSubstr("4 updates played")) << "only sides and names matter";
  std::ofstream(episode("config.json")) << R"({"game_server": {}, "rule_config": {"红方": {"a": 1}}})";
  expect_refused(replay, "config.json: ");
  std::filesystem::remove(episode("config.json"));
  std::ofstream(episode("initial.json")) << R"({"ScenarioInfo": {"Time": 0}, "Situation": {"SituationSides": {}}})";
  expect_refused(replay, "initial.json: the episode does not start (reset answers -4): ", 1);
}

TEST_F(Recordings, an_episode_is_chosen_and_a_folder_is_used_once) {
  ASSERT_EQ(run("run --scenario skirmish --quiet --episodes 2 --record " + path("rec")).status, 0);
  expect_refused(replay, "holds several episodes: 1, 2; choose one with --episode");
  expect_refused(replay + " --episode 3", "has no episode 3; there are: 1, 2");
  expect_refused("replay " + path("none"), "no recording");
  EXPECT_EQ(run("replay --episode 2 " + path("rec")).status, 0);
  const std::string dump = replay + " --episode 1 --dump ";
  expect_refused(dump + "/dev/full", "error: cannot write /dev/full: No space left on device\n", 1);
  expect_refused(dump + path("no/x"), "error: cannot write " + path("no/x") + ": No such file or directory\n");

  for (const std::string& used : {path("rec"), episode()})
    expect_refused("run --scenario skirmish --record " + used, "holds another recording");
  EXPECT_EQ(run("run --scenario skirmish --record " + write("file", "")).status, 2);
}

TEST_F(Recordings, a_full_disk_names_the_file) {
  // No file may grow beyond 4 KiB, which a situation does.
  const Output output = shell("ulimit -f 4; " TESSRA_DEDUCE " run --scenario skirmish --quiet --record " + path("rec"));
  EXPECT_EQ(output.status, 1);
  EXPECT_EQ(output.err, "error: cannot write " + episode("initial.json") + ": File too large\n");
}

}  // namespace
}  // namespace tessra::testing
