// Episode after episode, and engine after engine, in memory that does not grow.

#include <gtest/gtest.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <unistd.h>

#include <fstream>

#include "support/embedded_episode.h"
#include "support/fake_seams.h"

namespace tessra::testing {
namespace {

constexpr double kMebibyte = 1024 * 1024;

/// Resident memory of this process in bytes.
double resident() {
  std::ifstream statm("/proc/self/statm");
  double size = 0;
  double pages = 0;
  statm >> size >> pages;
  return pages * static_cast<double>(sysconf(_SC_PAGESIZE));
}

class FlatMemory : public ::testing::Test {
 protected:
  void SetUp() override {
    if (TESSRA_SANITIZED) GTEST_SKIP() << "sanitizers hold freed memory back";
  }

  std::unique_ptr<Deduction> make_engine() {
    Dict config = embedded_config("check/tiny", 1);
    config.at_dict("game_server")
        .set("logger", std::make_shared<spdlog::logger>("test", std::make_shared<spdlog::sinks::null_sink_st>()));
    return std::make_unique<Deduction>(config, seams_.seams());
  }

  FakeSeams seams_;
};

TEST_F(FlatMemory, over_hundreds_of_episodes_of_one_engine_and_over_engines_that_come_and_go) {
  const auto engine = make_engine();
  int round = 0;
  const auto expect_flat = [](int warm, int more, auto&& play) {
    for (int i = 0; i < warm; ++i) play();
    const double before = resident();
    for (int i = 0; i < more; ++i) play();
    EXPECT_LT(resident() - before, kMebibyte);
  };
  expect_flat(100, 400, [&] { play_episode(*engine, ++round); });
  expect_flat(50, 200, [&] { play_episode(*make_engine()); });
}

}  // namespace
}  // namespace tessra::testing
