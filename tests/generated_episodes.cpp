// Generated episodes, played through the engine.

#include <fmt/format.h>

#include "Tessra/base/json_write.h"
#include "apps/deduce/model_dump.h"
#include "support/engine_fixture.h"
#include "support/situation_generator.h"
#include "tests/support/record_tree.h"

namespace tessra::testing {
namespace {

class GeneratedEpisodes : public EngineTest, public ::testing::WithParamInterface<std::uint64_t> {
 protected:
  /// Makes an episode of the seed; the service and the configuration are then its own.
  GeneratedEpisode generate(int updates, bool gaps = true, bool end = true) {
    GeneratedEpisode episode = generate_episode({.seed = GetParam(), .gaps = gaps, .end = end}, updates);
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
    return episode;
  }

  /// Plays a generated episode to its end, with a look at the model after every update.
  void play(bool gaps) {
    const std::size_t updates = generate(25, gaps).updates.size();
    start();
    for (std::size_t i = 1; i <= updates; ++i) {
      const StepOutcome outcome = engine().step({});
      check_model();
      EXPECT_EQ(std::holds_alternative<BatResult>(outcome), i == updates);
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

TEST_P(GeneratedEpisodes, lose_the_same_by_the_deletion_share_as_by_the_whole_record) {
  const GeneratedEpisode episode = generate(25, true, false);
  const auto whole_log = std::make_shared<LogLines>();
  Dict whole_config = config.deep_copy();
  whole_config.at_dict("game_server").set("logger", std::make_shared<spdlog::logger>("whole", whole_log));
  Deduction whole(whole_config, seams.seams());
  start();
  ASSERT_EQ(whole.reset(1), 1);

  for (const Dict& update : episode.updates) {
    const Dict share = Deduction::deletion_share(update);
    const std::string as_taken = write_json(share);
    Value merged = update.deep_copy();
    strip_deletions(merged);
    engine().process_step_situation(merged.deep_copy());
    whole.process_step_situation(merged);
    engine().parse_delete_situation(share);
    EXPECT_EQ(write_json(share), as_taken);
    whole.parse_delete_situation(update.deep_copy());
    ASSERT_EQ(write_json(app::dump_engine(engine())), write_json(app::dump_engine(whole)));
  }
  EXPECT_EQ(log->lines, whole_log->lines);
  EXPECT_THAT(log->lines, Contains(HasSubstr("没有创建，但需删除其中元素!")));
}

INSTANTIATE_TEST_SUITE_P(Seeds, GeneratedEpisodes, ::testing::Values(1, 2, 3, 4));

}  // namespace
}  // namespace tessra::testing
