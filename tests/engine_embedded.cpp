// The engine on real backends: the bundled simulation, and records of it.

#include "Tessra/base/json_write.h"
#include "Tessra/entitys/gameunit.h"
#include "apps/deduce/model_dump.h"
#include "services/embedded_server.h"
#include "services/recorded_server.h"
#include "services/service_checks.h"
#include "simulation/simulation.h"
#include "simulation/world.h"
#include "support/embedded_episode.h"
#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

const std::string kScenarios = TESSRA_SOURCE_DIR "/scenarios";

TEST(Services, conform) {
  const Dict section = json("{'server': {'seed': 3}, 'simulate': {}}");
  ServiceReport report;
  check_service([&] { return make_embedded_server(section, kScenarios); }, "skirmish", report);
  EXPECT_THAT(report.findings(), ::testing::IsEmpty());
  EXPECT_THAT(report.notes(), ::testing::IsEmpty());
}

TEST(Services, embedded_failures_are_those_the_engine_expects) {
  const auto service = make_embedded_server(json("{'server': {}}"), kScenarios);
  EXPECT_EQ(
      Value(List{service->connect_server(), service->reset(0), service->reset(1), service->reset(2), service->room_id})
          .to_text(),
      "[True, 0, 0, 2, 'embedded']");
  service->run_simulate();
  EXPECT_TRUE(service->get_step_situation().is_none()) << "nothing is loaded";
  EXPECT_EQ(thrown([&] { service->set_data_receive(); }), "tessra::Error: no scenario is loaded");
  EXPECT_EQ(thrown([&] { service->connect_client(nullptr); }),
            "tessra::Error: the embedded service has a scheduling client in AI-apply mode only");
  EXPECT_TRUE(service->get_init_situation().is_none());
  EXPECT_EQ(service->load_scenario("no such scenario"), Value(false));
  service->net_sdk().delete_scen(1, "skirmish");
  EXPECT_TRUE(service->load_scenario("skirmish").is_true()) << "deleting never touches a file";
  const std::string command = "SetRadar({SIDE='红方', UNIT='somebody', ON=true})";
  const std::string reason = "'somebody' is no living unit of side '红方'";
  EXPECT_EQ(thrown([&] { service->run_command(command); }),
            "tessra::Error: command refused: " + command + ": " + reason);
  service->add_command(command);
  service->add_command("Dance({})");
  const Dict entry{{"number", 1}, {"side", "红方"}, {"command", command}, {"reason", reason}};
  const Dict dance{{"number", 2}, {"command", "Dance({})"}, {"reason", "there is no command 'Dance'"}};
  const std::string lines = "1: " + command + ": " + reason + "\n2: Dance({}): there is no command 'Dance'";
  EXPECT_EQ(service->do_package_command(),
            Value(Dict{{"message", "Error"}, {"resbin", lines}, {"refused", List{entry, dance}}}));
  EXPECT_FALSE(service->need_do_package_command());
  EXPECT_EQ(service->do_package_command().to_text(), "{'message': 'OK', 'resbin': '', 'refused': []}");
  service->add_command(command);
  service->reset(0);
  EXPECT_FALSE(service->need_do_package_command());
  EXPECT_TRUE(service->get_init_situation().is_none());
}

TEST(Services, the_embedded_one_plays_no_other_interval_than_it_is_told) {
  Dict section = json("{'server': {}, 'simulate': {}}");
  const auto service = make_embedded_server(section, kScenarios);
  service->reset(0);
  service->load_scenario("skirmish");
  EXPECT_EQ(simulation_of(*service)->world().now, 0);
  service->run_simulate();
  EXPECT_EQ(simulation_of(*service)->world().now, 30);
  service->update_step_interval(45.0);
  service->run_simulate();
  EXPECT_EQ(simulation_of(*service)->world().now, 75);
  EXPECT_THROW(service->update_step_interval(1e30), ConversionError);
  for (const int good : {1, 604'800}) {
    section.at_dict("simulate").set("decision_interval", good);
    EXPECT_NO_THROW(make_embedded_server(section, kScenarios));
  }
  for (const Value& bad : {Value(0), Value(-1), Value(604'801), Value(std::int64_t{1} << 33), Value(0.5)}) {
    const std::string says = "tessra::Error: a decision interval is 1 to 604800 whole seconds, not " + bad.to_text();
    EXPECT_EQ(thrown([&] { service->update_step_interval(bad); }), says);
    section.at_dict("simulate").set("decision_interval", bad);
    EXPECT_EQ(thrown([&] { make_embedded_server(section, kScenarios); }), says);
  }
}

class Episode : public ::testing::Test {
 protected:
  Dict configuration(const std::string& scenario, int seed) {
    Dict config = embedded_config(scenario, seed);
    config.at_dict("game_server").set("logger", std::make_shared<spdlog::logger>("test", log));
    return config;
  }

  FakeSeams seams;
  std::shared_ptr<LogLines> log = std::make_shared<LogLines>();
};

TEST_F(Episode, model_and_simulation_agree_at_the_end) {
  Deduction engine(configuration("strait", 5), seams.seams());
  play_episode(engine);
  EXPECT_THAT(engine.unreported_sides(), IsEmpty());
  const sim::World& world = simulation_of(*engine.game)->world();
  int living = 0, dead = 0;
  for (const sim::Unit& unit : world.units) {
    if (!engine.players.contains(world.sides[unit.side].setup->name)) continue;
    if (!unit.alive) {
      ++dead;
      EXPECT_FALSE(engine.elements.contains(unit.id)) << unit.id;
      continue;
    }
    ++living;
    ASSERT_TRUE(engine.elements.contains(unit.id)) << unit.id;
    const auto& element = dynamic_cast<const GameUnit&>(*engine.elements.at(unit.id));
    EXPECT_NEAR(element.position().lon, unit.motion.place.lon, 1e-6) << unit.id;
    EXPECT_NEAR(element.position().lat, unit.motion.place.lat, 1e-6) << unit.id;
    const auto& player = *engine.players.at(world.sides[unit.side].setup->name);
    EXPECT_EQ(player.units_of_name.at(element.Name())->guid(), unit.id);
  }
  EXPECT_GT(living, 10);
  EXPECT_GT(dead, 0);
  EXPECT_GT(world.shots_fired, 0);
  for (const std::string& line : log->lines) {
    EXPECT_TRUE(!line.starts_with("error: ") || line.find("打包发送指令错误") != std::string::npos)
        << "the bundled records have no gaps: " << line;
  }
}

TEST_F(Episode, a_recorded_one_replays_to_the_same_model) {
  const std::filesystem::path folder = seams.config_directory / "recording" / "episode-000001";
  Dict config = configuration("skirmish", 7);
  config.at_dict("game_server").at_dict("server").set("record", folder.parent_path().string());
  Deduction played(config, seams.seams());
  const BatResult result = play_episode(played);

  Dict again = configuration("skirmish", 7);
  again.at_dict("game_server").at_dict("simulate").set("load_scenario", false);
  again.at_dict("game_server").at_dict("server").set("url", "records:" + folder.string());
  Deduction replayed(again.deep_copy(), seams.seams());
  const BatResult same = play_episode(replayed);

  // Equality would pass over 1 for 1.0, and JSON over number keys for texts; this text does neither.
  const auto shown = [](const Deduction& engine) {
    return Value(List{app::dump_elements(engine), app::dump_players(engine), app::dump_engine(engine)}).to_text();
  };
  EXPECT_EQ(shown(played), shown(replayed));
  EXPECT_EQ(result.red_score, same.red_score);

  const auto service = make_recorded_server(Dict(), folder.string());
  EXPECT_EQ(service->do_package_command().to_text(), "{'message': 'OK', 'resbin': ''}");
  EXPECT_EQ(thrown([&] { service->connect_client(nullptr); }),
            "tessra::Error: recorded situations have no scheduling client");
  std::filesystem::remove(folder / "update-000002.json");
  Deduction broken_off(again, seams.seams());
  EXPECT_EQ(thrown([&] { play_episode(broken_off); }),
            "tessra::Error: the recording breaks off: no " + (folder / "update-000002.json").string());
  write_json_file(folder / "initial.json", List());
  EXPECT_EQ(thrown([&] { service->get_init_situation(); }),
            "tessra::Error: " + (folder / "initial.json").string() + ": a record must be an object, is a list");
}

TEST_F(Episode, a_learner_executes_the_hosts_records) {
  Dict config = configuration("skirmish", 7);
  config.at_dict("rule_config").erase("红方");
  config.at_dict("game_server")
      .set("RL_agents", json("{'红方': {'enemy': '蓝方', 'agents': {'learner': {'class': 'learner'}}}}"));
  Deduction engine(config, seams.seams());
  ASSERT_EQ(engine.reset(1), 1);
  const Element& frigate = *engine.players.at("红方")->units_of_name.at("Red frigate");
  const auto action = [&](const std::string& order) {
    const std::string record = "{'_agent_type_': 'learner', 'lon': 149.0, 'lat': 19.5, 'order': '" + order + "'}";
    return Dict{{frigate.guid(), json(record)}};
  };
  engine.step(action("move"));
  engine.step(Dict());
  EXPECT_EQ(frigate.attributes().at("Course"), Value(List{json("{'Lon': 149.0, 'Lat': 19.5}")}));
  EXPECT_THROW(engine.step(action("dance")), Error);
}

}  // namespace
}  // namespace tessra::testing
