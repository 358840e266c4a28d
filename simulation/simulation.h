#pragma once

// Interface of the bundled simulation: scenario file in, situation records out. It is used by the embedded backend of
// the service client; tests also read its true state. Ticks are simulated seconds. A simulation belongs to one thread
// at a time.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Tessra/base/error.h"
#include "Tessra/base/value.h"

namespace tessra::sim {

struct Scenario;
struct World;

/// An error in a scenario or platform file. The message names the file and the place inside it:
/// "strait.json: sides[0].units[3].lat: ...".
class ScenarioError : public Error {
 public:
  using Error::Error;
};

/// One command of a package that had no effect.
struct CommandFault {
  int number;          ///< position in the package, from 1
  std::string text;    ///< the command as given, truncated if long
  std::string side;    ///< its SIDE; empty if it has none or cannot be parsed
  std::string reason;  ///< what is wrong with it, for the agent's author
};

/// Why an episode is over. loss: a side that had armed units has none left. asked: by `Simulation::end`.
enum class EndReason { none, duration, loss, asked };

struct EpisodeEnd {
  EndReason reason = EndReason::none;
  std::string side;  ///< name of the side that lost; empty for other reasons
};

/// Names of the scenarios in a folder, sorted: the stems of `*.json`, without `apply_*`, which are configurations.
/// Empty if the folder cannot be read.
std::vector<std::string> scenario_names(const std::filesystem::path& folder);

/// The seed of an episode, hashed from the base seed of the run and the episode's number.
std::uint64_t episode_seed(std::uint64_t base_seed, std::uint64_t episode);

/// One episode of a scenario. The same scenario, seed and commands give the same records, byte for byte.
class Simulation {
 public:
  /// Reads a scenario file and the platform data it refers to. Throws `ScenarioError`.
  static std::shared_ptr<const Scenario> load(const std::filesystem::path& file);

  /// `seed` is that of the episode (`episode_seed`); `advance_seconds` is the decision interval, at least 1.
  Simulation(std::shared_ptr<const Scenario> scenario, std::uint64_t seed, int advance_seconds);
  ~Simulation();
  Simulation(Simulation&&) noexcept;
  Simulation& operator=(Simulation&&) noexcept;

  /// Side id to `{Name, Friend}`, where `Friend` lists the ids of the sides whose posture toward it is friendly.
  Dict sides_info() const;

  /// The current full situation. It is handed over: the simulation keeps no part of it. Later updates are relative to
  /// it.
  Dict initial_situation();

  /// Plays one decision interval, or up to the end of the episode if that comes first. No effect after the end.
  void advance();
  /// Sets the decision interval from the next advance on; values below 1 count as 1.
  void set_advance_seconds(int seconds);

  /// The changes since the last record, with `IsEnd`, key messages and deletions. Handed over like the initial record.
  Dict step_situation();

  /// Runs a package of commands in order. Invalid ones are returned and have no effect; the others take effect. If a
  /// side gives more orders than allowed in one package (`order_limits.h`), the first excess one is returned for all.
  std::vector<CommandFault> execute(const std::vector<std::string>& commands);

  /// Ends the episode with the next advance, which then moves nothing.
  void end();
  /// Whether the episode is over; the next record has `IsEnd` true.
  bool ended() const;
  EpisodeEnd why_ended() const;

  /// The true state, for tests.
  const World& world() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tessra::sim
