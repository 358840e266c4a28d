// Engines on several threads at once play as each does alone; a run is watched from another thread.

#include <gtest/gtest.h>
#include <spdlog/logger.h>

#include <atomic>
#include <thread>

#include "Tessra/base/log_file.h"
#include "services/scheduling_client.h"
#include "support/embedded_episode.h"
#include "support/fake_seams.h"
#include "support/record_play.h"

namespace tessra::testing {
namespace {

constexpr int kEngines = 16;
constexpr int kThreads = 4;

/// An engine of this seed; all write one log file.
std::unique_ptr<Deduction> make_engine(int seed) {
  const FakeSeams seams;
  Dict config = embedded_config(seed % 2 == 0 ? "check/tiny" : "check/lost_unit", seed);
  static const ScratchFolder folder;
  const auto file = folder.path() / "engines.log";
  config.at_dict("game_server")
      .set("logger", std::make_shared<spdlog::logger>("engine " + std::to_string(seed), log_file_output(file)));
  return std::make_unique<Deduction>(config, seams.seams());
}

/// Two episodes with each of the engines from `first` on in steps of `stride`, by turns on the calling thread. Writes
/// the models at the ends of the episodes to each engine's place.
void play_engines(int first, int stride, std::vector<std::string>& transcripts) {
  std::vector<std::unique_ptr<Deduction>> engines;
  for (int seed = first; seed < kEngines; seed += stride) engines.push_back(make_engine(seed));
  for (int round = 1; round <= 2; ++round) {
    for (std::size_t i = 0; i < engines.size(); ++i) {
      const BatResult result = play_episode(*engines[i], round);
      transcripts[static_cast<std::size_t>(first) + i * static_cast<std::size_t>(stride)] +=
          result.red_score.to_text() + " " + model_text(*engines[i]) + "\n";
    }
  }
}

TEST(ManyEngines, on_several_threads_play_as_each_does_alone) {
  std::vector<std::string> alone(kEngines);
  std::vector<std::string> together(kEngines);
  play_engines(0, 1, alone);
  {
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(play_engines, i, kThreads, std::ref(together));
  }
  for (std::size_t i = 0; i < alone.size(); ++i) {
    EXPECT_FALSE(alone[i].empty());
    EXPECT_TRUE(together[i] == alone[i]) << "engine " << i << " played differently";
  }
  EXPECT_NE(alone[0], alone[2]) << "the seeds tell the episodes apart";
}

TEST(SchedulingClients, are_watched_changed_and_stopped_from_another_thread) {
  Dict config = embedded_config("strait", 1).at_dict("game_server");
  config.update(read_json(R"({"is_ai_apply": true, "rule_config": {"红方": {"patrol-1": {"class": "patrol"}}},
                              "player": {"agent_id": "id", "agent_name": "patrol-1", "player_side": "红方"}})")
                    .as_dict());
  const FakeSeams seams;
  Deduction engine(config, seams.seams());
  auto& client = *find_client<SchedulingClient>(*engine.game);
  RoundResults results;
  std::atomic<bool> ended = false;
  std::jthread run([&] {
    results = engine.normal_simulate();
    ended = true;
  });
  while (client.agent_times("id") < 3 && !ended) {
    client.set_agent_settings("id", Dict{{"decision_interval", 10}});
    std::this_thread::yield();
  }
  client.stop();
  run.join();
  EXPECT_FALSE(results.at(1).has_value()) << "the round was abandoned";
  EXPECT_TRUE(client.error_texts().empty());
}

}  // namespace
}  // namespace tessra::testing
