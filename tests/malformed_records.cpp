// Records that are not what they should be: each is refused with an error that says where, or merged as far as it goes,
// and the next good episode makes the same model as on an untouched engine.

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "support/record_mutator.h"
#include "support/record_parts.h"
#include "support/record_play.h"

namespace tessra::testing {
namespace {

class MalformedRecords : public ::testing::TestWithParam<bool> {
 protected:
  static constexpr int kEpisodes = 60;

  static GeneratedEpisode small_episode(bool gaps) {
    return generate_episode({.seed = 9,
                             .sides = 3,
                             .agent_sides = 2,
                             .units_per_side = 7,
                             .contacts_per_side = 4,
                             .change_share = 0.5,
                             .gaps = gaps},
                            2);
  }

  /// Damages copies of the records at some places and plays them; returns what went wrong, and tells the damage in
  /// `damage`.
  std::vector<std::string> play_damaged(std::string& damage) {
    Value initial = episode_.initial.deep_copy();
    std::vector<Value> updates;
    for (const Value& update : updates_) updates.push_back(update.deep_copy());
    for (int places = 1 + chance_.below(3); places > 0; --places) {
      const auto record = static_cast<std::size_t>(chance_.below(4));
      Dict damaged = record == 0 ? initial.as_dict() : updates[record % updates.size()].as_dict();
      damage += fmt::format("record {}: {}\n", record, mutator_.mutate(damaged));
    }
    return player_.play(initial, updates).errors;
  }

  GeneratedEpisode episode_ = small_episode(GetParam());
  std::vector<Value> updates_{episode_.updates.begin(), episode_.updates.end()};
  RecordPlay player_{episode_};
  Chance chance_{17};
  RecordMutator mutator_{[this](int end) { return chance_.below(end); }};
};

TEST_P(MalformedRecords, are_refused_with_their_place_or_merged) {
  const Played usual = player_.play(episode_.initial, updates_);
  ASSERT_TRUE(usual.errors.empty()) << usual.errors.front();
  const std::string model = model_text(player_.engine());
  const std::regex bare_kinds("(reset: .*错误:)?expected \\w+, found \\w+(！)?");
  std::size_t refused = 0;
  for (int i = 0; i < kEpisodes; ++i) {
    std::string damage;
    const std::vector<std::string> errors = play_damaged(damage);
    SCOPED_TRACE(damage);
    refused += errors.empty() ? 0 : 1;
    for (const std::string& error : errors) {
      EXPECT_FALSE(std::regex_match(error, bare_kinds)) << error << ": names no place";
    }
    const Played again = player_.play(episode_.initial, updates_);
    EXPECT_TRUE(again.errors.empty()) << again.errors.front();
    ASSERT_TRUE(model_text(player_.engine()) == model);
  }
  EXPECT_GT(refused, kEpisodes / 10U);
  EXPECT_LT(refused, kEpisodes * 9U / 10U);
}

INSTANTIATE_TEST_SUITE_P(Gaps, MalformedRecords, ::testing::Bool());

}  // namespace
}  // namespace tessra::testing
