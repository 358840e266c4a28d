// The service fails: every operation that the engine calls in an episode throws once, and answers once with each value
// that it should not, at every call.

#include <gtest/gtest.h>

#include "Tessra/base/json_read.h"
#include "support/engine_fixture.h"
#include "support/record_play.h"

namespace tessra::testing {
namespace {

/// What an operation does at the call that is to fail: answers with a value, or throws when there is none.
using Fault = std::optional<Value>;

std::vector<Fault> faults() {
  return {std::nullopt, Value(), false, -1, "text", 3.5, List(), Dict(), Dict{{"x", 1}}, Dict{{"x", Dict()}}};
}

std::string shown(const Fault& fault) { return fault ? fault->to_text() : "an error"; }

ScriptedServer::Rule fail_at(int failing, const Fault& fault) {
  return [failing, fault, calls = 0](int) mutable -> std::optional<Value> {
    if (++calls != failing) return std::nullopt;
    if (!fault) throw std::runtime_error("the service failed");
    return fault->deep_copy();
  };
}

/// The operations that were called, and how often. Calls are noted with their arguments.
std::map<std::string, int> counted(const std::vector<std::string>& calls) {
  std::map<std::string, int> counts;
  for (const std::string& call : calls) ++counts[call.substr(0, call.find('('))];
  return counts;
}

class ServiceFaults : public ::testing::Test {
 protected:
  Played play(RecordPlay& player) { return player.play(episode_.initial, updates_); }

  GeneratedEpisode episode_ = generate_episode(
      {.seed = 3, .sides = 3, .agent_sides = 2, .units_per_side = 7, .contacts_per_side = 2, .gaps = false}, 2);
  std::vector<Value> updates_{episode_.updates.begin(), episode_.updates.end()};
};

TEST_F(ServiceFaults, leave_an_engine_whose_next_episode_is_whole) {
  RecordPlay undisturbed(episode_);
  const Played usual = play(undisturbed);
  ASSERT_TRUE(usual.errors.empty()) << usual.errors.front();
  ASSERT_TRUE(usual.result.has_value());
  const std::string model = model_text(undisturbed.engine());
  const auto counts = counted(undisturbed.server().calls);
  ASSERT_GE(counts.size(), 12U);

  for (const auto& [operation, count] : counts) {
    for (int call = 1; call <= count; ++call) {
      for (const Fault& fault : faults()) {
        SCOPED_TRACE(operation + ", call " + std::to_string(call) + ": " + shown(fault));
        // A table of sides is believed, an empty or a wrong one too; it is asked for again only when the room is new.
        if (operation == "set_data_receive" && fault && fault->is_dict()) continue;
        RecordPlay player(episode_);
        player.server().rules[operation] = fail_at(call, fault);
        play(player);
        player.server().rules.clear();

        const Played again = play(player);
        EXPECT_TRUE(again.errors.empty()) << again.errors.front();
        ASSERT_TRUE(again.result.has_value());
        EXPECT_EQ(again.result->red_score, usual.result->red_score);
        EXPECT_EQ(again.result->blue_score, usual.result->blue_score);
        EXPECT_TRUE(model_text(player.engine()) == model) << "the model differs";
      }
    }
  }
}

}  // namespace
}  // namespace tessra::testing
