// Generated episodes, played through the engine.

#include <fmt/format.h>

#include "support/engine_fixture.h"
#include "support/situation_generator.h"

namespace tessra::testing {
namespace {

class GeneratedEpisodes : public EngineTest, public ::testing::WithParamInterface<std::uint64_t> {
 protected:
  /// Plays an episode of the seed to its end, with a look at the model after every update.
  void play(bool gaps) {
    GeneratedEpisode episode = generate_episode({.seed = GetParam(), .gaps = gaps}, 25);
    server->sides = episode.sides_info;
    server->initial = episode.initial;
    server->updates.assign(episode.updates.begin(), episode.updates.end());
    for (auto [side, agents] : episode.config.at_dict("rule_config")) {
      for (auto [name, entry] : agents.as_dict()) {
        entry.as_dict().set("class", AgentClass::of<ScriptedAgent>("scripted"));
      }
    }
    config.set("rule_config", episode.config.at("rule_config"));
    with_log();
    start();
    for (std::size_t i = 1; i <= episode.updates.size(); ++i) {
      const StepOutcome outcome = engine().step({});
      check_model();
      EXPECT_EQ(std::holds_alternative<BatResult>(outcome), i == episode.updates.size());
    }
  }

  static std::vector<std::string> guids(const ElementTable& table) {
    std::vector<std::string> guids;
    for (const auto& [name, unit] : table) guids.push_back(fmt::format("{} {}", name, unit->guid()));
    return guids;
  }

  static ElementTable units_by_walking(const RuleAgentBase& player) {
    ElementTable units;
    for (const ElementTable* table : {&player.groups, &player.aircrafts, &player.ships, &player.submarines,
                                      &player.satellites, &player.facilitys, &player.weapons}) {
      for (const auto& [guid, unit] : *table) {
        const Value name = unit->attributes().get("Name");
        if (name.truthy()) units.set(name.to_text(), unit);
      }
    }
    return units;
  }

  void check_model() {
    for (const auto& id : engine().crt_delete_units) EXPECT_FALSE(engine().elements.contains(id)) << id;
    for (auto [name, player] : engine().players) {
      EXPECT_EQ(guids(player->units_of_name), guids(units_by_walking(*player)));
      for (auto [id, contact] : player->get_dict("Contacts")) {
        const List* record = contact.as_dict().find_list("Record");
        EXPECT_LE(record != nullptr ? record->size() : 0u, 10u);
        EXPECT_FALSE(contact.as_dict().get("Side").to_text().starts_with("side-") &&
                     engine().side_id2name.contains(contact.as_dict().get("Side").to_text()))
            << "sides of contacts are shown by name";
      }
    }
  }
};

TEST_P(GeneratedEpisodes, without_gaps_raise_no_error_message) {
  play(false);
  EXPECT_THAT(log->lines, Not(Contains(StartsWith("error"))));
  EXPECT_THAT(log->lines, Contains(HasSubstr("receive end situation!")));
}

TEST_P(GeneratedEpisodes, with_gaps_are_played_to_their_end) {
  play(true);
  for (const char* text :
       {"未知UnitType值", "没有基本信息!", "没有位置!", "no Type!", "删除后又有信息", "have no attribute"}) {
    EXPECT_THAT(log->lines, Contains(HasSubstr(text)));
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, GeneratedEpisodes, ::testing::Values(1, 2, 3, 4));

}  // namespace
}  // namespace tessra::testing
