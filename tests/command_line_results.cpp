// Saved results and the runs they came from.

#include "Tessra/entitys/data/gamedata.h"
#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

class SavedResults : public CommandLine {
 protected:
  std::vector<Dict> results(const std::string& options = "") {
    std::istringstream lines(run("results --json " + options).out);
    std::vector<Dict> found;
    for (std::string line; std::getline(lines, line);) found.push_back(read_json(line).as_dict());
    return found;
  }
};

TEST_F(SavedResults, tell_which_run_they_came_from) {
  const Dict applied =
      read_json(run("apply --json --config " TESSRA_SOURCE_DIR "/scenarios/apply_strait.json").out).as_dict();
  const std::string config = run_config("patrol", R"(, "save_result": true)");
  ASSERT_EQ(run("run --quiet --episodes 2 --seed 7 --config " + config).status, 0);
  ASSERT_EQ(run("run --quiet --seed 8 --config " + config).status, 0);

  const std::vector<Dict> all = results();
  ASSERT_EQ(all.size(), 4u);
  EXPECT_EQ(all[0].at("command"), Value("apply"));
  EXPECT_EQ(all[0].at("scenario"), Value("strait"));
  EXPECT_EQ(all[0].at("error_side"), Value(""));
  for (const char* key : {"red_score", "episode_seed", "ended_by"}) EXPECT_EQ(all[0].at(key), applied.at(key)) << key;
  EXPECT_EQ(all[1].at("run"), all[2].at("run"));
  EXPECT_NE(all[2].at("run"), all[3].at("run"));
  EXPECT_EQ(all[2].at("seed"), Value(7));
  EXPECT_EQ(all[3].at("seed"), Value(8));
  EXPECT_EQ("deduce " + std::string(all[3].at_text("version")) + "\n", run("--version").out);

  const struct {
    std::string options;
    std::size_t count;
  } cases[] = {{"--run 2", 2},          {"--scenario skirmish", 3},       {"--last 3", 3},
               {"--run 2 --last 1", 1}, {"--run 2 --scenario strait", 0}, {"--last 9", 4}};
  for (const auto& given : cases) EXPECT_EQ(results(given.options).size(), given.count) << given.options;
  EXPECT_EQ(results("--last 1")[0].at("seed"), Value(8)) << "the newest";

  const std::string table = run("results --run 2").out;
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 3);
  EXPECT_THAT(table, HasSubstr("  skirmish           7      2  x "));
  EXPECT_THAT(run("results --run 9").out, ::testing::StartsWith("no such results in "));
}

TEST_F(SavedResults, of_other_hosts_are_listed_without_a_run) {
  std::optional<BatResult> result(std::in_place, 1, 60.0);
  result->red_name = "mine";
  save_result(result, path("config"));
  EXPECT_FALSE(std::filesystem::exists(path("config/results.sqlite-wal"))) << "it is closed";
  ASSERT_EQ(results().size(), 1u);
  EXPECT_FALSE(results()[0].contains("run"));
  EXPECT_THAT(run("results").out, HasSubstr("    -  "));
  EXPECT_THAT(results("--run 1"), IsEmpty());
  for (const auto& [variables, folder] : {std::pair("XDG_CONFIG_HOME=/x", "/x/tessra/"),
                                          {"XDG_CONFIG_HOME= HOME=/h", "/h/.config/tessra/"},
                                          {"XDG_CONFIG_HOME= HOME=", "/config/"}}) {
    const std::string command = std::string("cd /; env -u TESSRA_CONFIG ") + variables + " " TESSRA_DEDUCE " results";
    EXPECT_THAT(shell(command).out, HasSubstr(std::string(" in ") + folder));
  }
}

}  // namespace
}  // namespace tessra::testing
