// What the command line says of configurations, scenarios and what there is to play.

#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

class Configuration : public CommandLine {
 protected:
  /// Plays a configuration with this in its `simulate` section, its `server` section and at its top level.
  std::string play(const std::string& simulate, const std::string& server = "", const std::string& top = "") {
    const std::string scenario = R"({"scenario": "skirmish")" + std::string(simulate.empty() ? "" : ", ") + simulate;
    return "run --quiet --config " +
           write("c.json", R"({"game_server": {"simulate": )" + scenario + R"(}, "server": {)" + server + "}}" +
                               (top.empty() ? "" : ", ") + top + "}");
  }
};

TEST_F(Configuration, a_wrong_value_is_told_with_its_key_what_is_expected_and_what_was_found) {
  const struct {
    std::string simulate, server, top;
    std::string says;
  } cases[] = {
      {R"("decision_interval": "5")", "", "",
       R"(simulate.decision_interval: expected a whole number from 1 to 604800, found "5")"},
      {R"("decision_interval": 0)", "", "", "found 0"},
      {R"("decision_interval": 0.5)", "", "", "found 0.5"},
      {R"("decision_interval": 1e30)", "", "", "found 1e+30"},
      {R"("episodes": 0)", "", "", "simulate.episodes: expected a whole number from 1 to 1000000000, found 0"},
      {"", R"("first_episode": 9000000000000000000)", "", "found 9000000000000000000"},
      {R"("reset_episodes": -1)", "", "", "simulate.reset_episodes: expected a whole number of at least 1"},
      {R"("plan_time": -0.5)", "", "", "simulate.plan_time: expected a number of at least 0, found -0.5"},
      {R"("compression": "fast")", "", "",
       R"(simulate.compression: expected a whole number of at least 0, found "fast")"},
      {R"("testing": 0)", "", "", "simulate.testing: expected true or false, found 0"},
      {"", R"("seed": [1])", "", "server.seed: expected a whole number, found [1]"},
      {"", R"("url": "tcp:host")", "",
       R"(server.url: expected a URL with one of the schemes embedded:, grpc:, grpc+unix:, grpcs:, records:, found "tcp:host")"},
      {"", R"("url": "records:/nonexist")", "", "error: no recording: no initial.json in /nonexist or below"},
      {"", R"("agent_settings": {"x": 1})", "", "server.agent_settings.x: expected an object, found 1"},
      {"", "", R"("rule_config": {"红方": {"a": "patrol"}})",
       R"(c.json: rule_config.红方.a: expected an object with "class", found "patrol")"},
      {"", "", R"("rule_config": {"红方": {"a": {}}})",
       R"(rule_config.红方.a: expected an object with "class", found {})"},
      {"", "", R"("rule_config": {"红方": {"a": {"class": 7}}})",
       "rule_config.红方.a.class: expected the name of a class"},
      {"", "", R"("rule_config": [])", "rule_config: expected an object of objects, found []"},
      {"", "", R"("agent_libraries": "x.so")", R"(agent_libraries: expected a list of strings, found "x.so")"},
      {"", "", R"("agent_libraries": [1])", "found [1]"},
      {"", "", R"("agent_map": {"x": 1})", "agent_map: expected"},
      {"", "", R"("rule_config": {}, "rule_config": {})", "c.json: duplicate key 'rule_config' at line 1, column "},
  };
  for (const auto& given : cases) expect_refused(play(given.simulate, given.server, given.top), given.says);
  const std::string good =
      play(R"("plan_time": 0, "process_id": null, "compression": 0)", R"("room_id": 5, "cplus_server": 1)");
  EXPECT_EQ(run(good).status, 0);
}

TEST_F(Configuration, sides_are_looked_for_before_anything_is_played) {
  const std::string apply = R"({"is_ai_apply": true, "simulate": {"scenario": "skirmish"}, "server": {}, )";
  const std::pair<std::string, std::string> cases[] = {
      {"run --config " + write("enemy.json", R"({"game_server": {"RL_agents": {"红方": {"enemy": "紫方"}}}})"),
       "enemy.json: game_server.RL_agents.红方.enemy: the scenario has no side '紫方'; there are: 红方, 蓝方, 绿方, "
       "黄方"},
      {"apply --config " + write("enemy2.json", apply + R"("player": {}, "RL_agents": {"红方": {"enemy": "紫方"}}})"),
       "enemy2.json: RL_agents.红方.enemy: the scenario has no side '紫方'"},
      {"apply --config " + write("side.json", apply + R"("player": {"agent_name": "a", "player_side": "紫方"}})"),
       "side.json: player.player_side: the scenario has no side '紫方'"},
      {"apply --config " + write("no_side.json", apply + R"("player": {"agent_name": "a"}})"),
       "no_side.json: player.player_side: expected"},
      {"apply --config " + write("time.json", apply + R"("player": {"decision_time": -1}})"),
       "player.decision_time: expected a whole number from 0 to 604800, found -1"},
      {"run --scenario " + write("s.json", R"({"id": "s", "title": "S", "start": 0, "duration": 9, "sides": [
          {"id": "a", "name": "A"}], "agents": {"B": {"x": {"class": "idle"}}}})"),
       "s.json: agents.B: the scenario has no such side"},
  };
  for (const auto& [arguments, says] : cases) expect_refused(arguments, says);
}

TEST_F(Configuration, a_side_the_service_does_not_have_is_named_at_the_start) {
  ASSERT_EQ(run("run --scenario skirmish --quiet --record " + path("rec")).status, 0);
  expect_refused(play("", R"("url": "records:)" + path("rec") + "\"",
                      R"("rule_config": {"红方": {"x": {"class": "idle"}}, "紫方": {"x": {"class": "idle"}}})"),
                 "error: the service has no side '紫方', which the configuration plays; it has: 红方, 蓝方\n");
}

TEST_F(Configuration, what_there_is_to_play_is_listed) {
  EXPECT_THAT(run("scenarios").out,
              HasSubstr("Skirmish, 0:10:00\n                 红方: 4 units, played by patrol-1 (patrol)\n"));
  EXPECT_EQ(shell("TESSRA_DATA=/none " TESSRA_DEDUCE " scenarios").err,
            "error: TESSRA_DATA: there is no folder /none/scenarios\n");
  std::filesystem::create_directory(path("scenarios"));
  EXPECT_THAT(shell("TESSRA_DATA=" + path("") + " " TESSRA_DEDUCE " scenarios").out, IsEmpty());
  const Output agents = run("agents" + library());
  EXPECT_EQ(agents.status, 0);
  EXPECT_THAT(agents.out, HasSubstr("\nstrike         strikes the enemy's facilities"));
  EXPECT_THAT(agents.out, HasSubstr("\nforgetful      does something once in its life\n"));
  EXPECT_EQ(run("agents --agents " + write("no.so", "x")).status, 2);
}

}  // namespace
}  // namespace tessra::testing
