#pragma once

// The bundled simulation: scenario file in, situation records out. Its one caller is the embedded backend of the
// service client; tests also read its truth. Ticks are simulated seconds. A simulation belongs to one thread at a time.

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

/// A mistake in a scenario or platform file. The message names the file and the place inside it:
/// "strait.json: sides[0].units[3].lat: ...".
class ScenarioError : public Error {
 public:
  using Error::Error;
};

/// One command of a package that had no effect.
struct CommandFault {
  int number;          ///< place in the package, counted from 1
  std::string text;    ///< the command as it was given, of a long one the beginning
  std::string side;    ///< its SIDE, empty when it has none or cannot be read
  std::string reason;  ///< what is wrong with it, for the agent's author
};

/// Why an episode is over. loss: a side that had armed units has none left. asked: it was ended from outside.
enum class EndReason { none, duration, loss, asked };

struct EpisodeEnd {
  EndReason reason = EndReason::none;
  std::string side;  ///< name of the side that lost; empty for other reasons
};

/// Stems of the scenario files that lie directly in a folder, sorted: `*.json` without those named `apply_*`, which are
/// configurations of runs. A folder that cannot be read has none.
std::vector<std::string> scenario_names(const std::filesystem::path& folder);

/// The seed of one episode, hashed from the run's base seed and the episode's number.
std::uint64_t episode_seed(std::uint64_t base_seed, std::uint64_t episode);

/// One episode of a scenario. The same scenario, seed and commands give the same records, byte for byte.
class Simulation {
 public:
  /// Reads a scenario file and the platform data it refers to. Throws `ScenarioError`.
  static std::shared_ptr<const Scenario> load(const std::filesystem::path& file);

  /// `seed` is the episode's own (`episode_seed`); `advance_seconds` the decision interval, at least 1.
  Simulation(std::shared_ptr<const Scenario> scenario, std::uint64_t seed, int advance_seconds);
  ~Simulation();
  Simulation(Simulation&&) noexcept;
  Simulation& operator=(Simulation&&) noexcept;

  /// Side id to `{Name, Friend}`, where `Friend` lists the ids of the sides whose posture toward it is friendly.
  Dict sides_info() const;

  /// The full situation as it is now. The caller may change and keep it: no part of it stays in the simulation. Updates
  /// count from here.
  Dict initial_situation();

  /// Plays one decision interval, or up to the end of the episode if that comes first; nothing after the end.
  void advance();
  /// Sets the decision interval from the next advance on; values below 1 count as 1.
  void set_advance_seconds(int seconds);

  /// What changed since the last record, with `IsEnd`, key messages and deletions. Handed over like the initial record.
  Dict step_situation();

  /// Runs a package of command texts in order. Bad ones are returned and have no effect; the others take effect. Of
  /// more than a side may give in one package (`order_limits.h`) the first one too many is returned for all of them.
  std::vector<CommandFault> execute(const std::vector<std::string>& commands);

  /// Ends the episode with the next advance, which then moves nothing.
  void end();
  /// Whether the episode is over; the next record says `IsEnd`.
  bool ended() const;
  EpisodeEnd why_ended() const;

  /// The truth behind the records, for tests.
  const World& world() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tessra::sim
