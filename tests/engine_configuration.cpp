#include <fstream>

#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

class Configuration : public EngineTest {};

TEST_F(Configuration, an_empty_one_leaves_the_defaults) {
  config = json("{'game_server': {'simulate': {}, 'server': {'url': 'scripted:'}}}");
  const Deduction& e = engine();
  EXPECT_TRUE(e.config.is(config));
  EXPECT_EQ(e.game, server);
  EXPECT_EQ(Value(List{e.decision_interval, e.plan_time, e.reset_episodes, e.process_id, e.is_testing, e.save_result,
                       e.step_interval, e.compression})
                .to_text(),
            "[30, 300, 10, None, True, False, 5, 1]");
  EXPECT_EQ(e.logger, nullptr);
  EXPECT_TRUE(server->calls.empty()) << "construction connects nothing";
}

TEST_F(Configuration, values_keep_the_kind_they_were_given) {
  Dict simulate = section().at_dict("simulate");
  simulate.set("decision_interval", "60");
  simulate.set("compression", 2.5);
  simulate.set("process_id", 0);
  section().at_dict("server").update(json("{'continuous': '3', 'cplus_server': '1', 'room_id': 12}"));
  const Deduction& e = engine();
  EXPECT_EQ(Value(List{e.decision_interval, e.compression, e.process_id}).to_text(), "['60', 2.5, 0]");
  EXPECT_EQ(e.continuous, 3);
  EXPECT_TRUE(e.cplus_server);
  EXPECT_EQ(e.room_id, Value(12));
}

TEST_F(Configuration, missing_sections_and_bad_integers_name_themselves) {
  for (const auto& [text, named] : {
           std::pair("{}", "game_server"),
           {"{'game_server': {'server': {}}}", "simulate"},
           {"{'game_server': {'simulate': {}}}", "server"},
           {"{'game_server': {'simulate': {}, 'server': {'continuous': 'many'}}}", "many"},
           {"{'game_server': {'simulate': {}, 'server': {'url': 'nowhere:'}}}",
            "no service backend for the scheme 'nowhere' of server.url; there are: embedded, records, scripted"},
           {"{'game_server': {'simulate': {}, 'server': {'url': 'x'}}}", "server.url has no scheme: 'x'"},
           {"{'is_ai_apply': true, 'simulate': {}, 'server': {}}", "player"},
           {"{'is_ai_apply': true, 'simulate': {}, 'server': {}, 'player': {'agent_name': 'x'}}", "player_side"},
       }) {
    const auto construct = [&, &text = text] { Deduction(json(text), seams.seams()); };
    EXPECT_THAT(construct, ::testing::ThrowsMessage<Error>(HasSubstr(named)));
  }
}

TEST_F(Configuration, the_description_of_sides_is_one_dictionary_with_the_configuration) {
  section().set("RL_agents", json("{'红方': {'agents': {'tank': {}}, 'enemy': '黄方'}, '黄方': {'enemy': ''}}"));
  const Deduction& e = engine();
  EXPECT_TRUE(section().at_dict("agents_side").is(e.agents_side_config));
  EXPECT_EQ(Value(e.agents_side_config),
            Value(json("{'红方': ['patrol-1', 'tank'], '蓝方': ['strike-1'], '黄方': []}")));
}

TEST_F(Configuration, the_run_log_is_made_once_and_appended_to) {
  const std::filesystem::path directory = seams.config_directory;
  const auto read_log = [&] {
    std::ifstream file(directory / "log" / "command_delay.log");
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const std::string apply =
      "{'is_ai_apply': true, 'simulate': {}, 'server': {'url': 'scripted:'}, 'player': {'agent_id': 'a'}}";
  {
    Dict own = json(apply);
    const Deduction first(own, seams.seams());
    EXPECT_EQ(own.at("logger").as_host<spdlog::logger>(), first.logger);
    EXPECT_EQ(first.logger->name(), "Apply");
    EXPECT_EQ(first.agent_id_from_client, Value("a"));
    EXPECT_EQ(first.import_agent_side, Value(""));
  }
  auto host_log = std::make_shared<spdlog::logger>("host", log);
  Dict given = json(apply);
  given.set("logger", host_log);
  const Deduction second(given, seams.seams());
  const Deduction third(given, seams.seams());
  EXPECT_EQ(host_log->sinks().size(), 2u) << "a sink that has the file is not given it twice";

  const std::string text = read_log();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
  EXPECT_THAT(text, ::testing::MatchesRegex(
                        "[0-9-]{10} [0-9:]{8}[.][0-9]{3} - Apply - WARNING - user intelligent lua delay log, mode='w', "
                        "encoding='utf-8\n.*host - WARNING.*\n.*host - WARNING.*\n"));
}

}  // namespace
}  // namespace tessra::testing
