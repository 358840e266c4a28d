// Episodes on a simulation in another process are the same as on the one in this process.

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <thread>

#include "services/remote/remote_backends.h"
#include "support/embedded_episode.h"
#include "support/fake_seams.h"
#include "support/record_play.h"
#include "support/remote_fixture.h"

namespace tessra::testing {
namespace {

std::string text_of(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

/// Every file below a folder, by its path there.
std::map<std::string, std::string> files_below(const std::filesystem::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) files[relative(entry.path(), folder).string()] = text_of(entry.path());
  }
  return files;
}

class RemoteEpisodes : public Remote {
 protected:
  RemoteEpisodes() { remote::register_remote_backends(); }

  Dict config(const std::string& scenario, int seed, bool is_remote) const {
    Dict config = embedded_config(scenario, seed);
    if (is_remote) config.at_dict("game_server").at_dict("server").set("url", "grpc+unix:" + socket());
    return config;
  }

  /// The records of two episodes, with the second one before the first, so that the numbers decide and not the order.
  std::map<std::string, std::string> recorded(bool is_remote) const {
    const std::filesystem::path folder = folder_.path() / (is_remote ? "remote" : "embedded");
    Dict with_record = config("strait", 7, is_remote);
    Dict server = with_record.at_dict("game_server").at_dict("server");
    server.set("record", folder.string());
    server.set("first_episode", 3);
    with_record.at_dict("game_server").at_dict("simulate").set("decision_interval", 60);
    const FakeSeams seams;
    Deduction engine(with_record, seams.seams());
    for (int round = 1; round <= 2; ++round) play_episode(engine, round);
    return files_below(folder);
  }
};

TEST_F(RemoteEpisodes, are_recorded_byte_for_byte_as_embedded) {
  serve(scenarios(""));
  const auto embedded = recorded(false);
  EXPECT_GT(embedded.size(), 100U);
  EXPECT_EQ(recorded(true), embedded);
}

constexpr int kRooms = 16;

/// Two episodes with each engine from `first` on in steps of `stride`, by turns; writes the models at their ends.
template <class Make>
void play_by_turns(const Make& make, int first, int stride, std::vector<std::string>& transcripts) {
  std::map<int, std::unique_ptr<Deduction>> engines;
  for (int seed = first; seed < kRooms; seed += stride) engines[seed] = make(seed);
  for (int round = 1; round <= 2; ++round) {
    for (const auto& [seed, engine] : engines) {
      transcripts[static_cast<std::size_t>(seed)] +=
          play_episode(*engine, round).red_score.to_text() + " " + model_text(*engine) + "\n";
    }
  }
}

TEST_F(RemoteEpisodes, in_many_rooms_at_once_are_those_of_each_room_alone) {
  serve(scenarios("check"));
  constexpr int kThreads = 4;
  const FakeSeams seams;
  const auto make = [&](bool is_remote) {
    return [this, &seams, is_remote](int seed) {
      return std::make_unique<Deduction>(config("check/tiny", seed, is_remote), seams.seams());
    };
  };
  std::vector<std::string> alone(kRooms);
  std::vector<std::string> together(kRooms);
  play_by_turns(make(false), 0, 1, alone);
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] { play_by_turns(make(true), i, kThreads, together); });
    }
  }
  EXPECT_EQ(together, alone);
}

TEST_F(RemoteEpisodes, start_with_the_codes_that_the_engine_knows) {
  serve(scenarios("check"));
  const FakeSeams seams;
  Dict unknown = config("check/tiny", 1, true);
  unknown.at_dict("game_server").at_dict("simulate").set("scenario", "nosuch");
  EXPECT_EQ(Deduction(unknown, seams.seams()).reset(1), -2);
  Deduction engine(config("check/tiny", 1, true), seams.seams());
  EXPECT_EQ(engine.reset(1), 1);
  serve(scenarios("check"));
  EXPECT_EQ(engine.reset(2), 1) << "a new server costs nothing between two episodes";
  host_.reset();
  remote::RemoteServer nobody(settings());
  EXPECT_TRUE(nobody.connect_server().is_none());
  EXPECT_THAT(nobody.last_failure(),
              ::testing::AllOf(::testing::HasSubstr(socket()), ::testing::HasSubstr("cannot be reached")));
}

}  // namespace
}  // namespace tessra::testing
