#include "simulation/simulation.h"

#include <algorithm>
#include <system_error>

#include "Tessra/base/value.h"
#include "simulation/commands.h"
#include "simulation/dice.h"
#include "simulation/records.h"
#include "simulation/scenario.h"
#include "simulation/world.h"

namespace tessra::sim {

namespace {

/// Configurations are in the same folder as the scenarios they play.
constexpr std::string_view kRunPrefix = "apply_";

}  // namespace

std::vector<std::string> scenario_names(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    const std::string stem = entry.path().stem().string();
    if (entry.path().extension() == ".json" && !stem.starts_with(kRunPrefix)) names.push_back(stem);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::uint64_t episode_seed(std::uint64_t base_seed, std::uint64_t episode) {
  // The episode-th output of the generator started with the base seed, so that consecutive episodes are unrelated.
  return mixed(base_seed + episode * 0x9e3779b97f4a7c15U);
}

struct Simulation::Impl {
  Impl(std::shared_ptr<const Scenario> scenario, std::uint64_t seed) : world(std::move(scenario), seed) {}

  World world;
  Recorder recorder;
  int advance_seconds = 1;
  bool ending = false;
};

std::shared_ptr<const Scenario> Simulation::load(const std::filesystem::path& file) { return read_scenario(file); }

Simulation::Simulation(std::shared_ptr<const Scenario> scenario, std::uint64_t seed, int advance_seconds)
    : impl_(std::make_unique<Impl>(std::move(scenario), seed)) {
  set_advance_seconds(advance_seconds);
}

Simulation::~Simulation() = default;
Simulation::Simulation(Simulation&&) noexcept = default;
Simulation& Simulation::operator=(Simulation&&) noexcept = default;

Dict Simulation::sides_info() const {
  const World& world = impl_->world;
  Dict info;
  for (std::size_t side = 0; side < world.sides.size(); ++side) {
    List friends;
    for (std::size_t other = 0; other < world.sides.size(); ++other) {
      // Whose contacts it may use is decided by the others: their posture toward it counts.
      if (other != side && is_friend(world, other, side)) friends.push_back(world.sides[other].setup->id);
    }
    info.set(world.sides[side].setup->id, Dict{{"Name", world.sides[side].setup->name}, {"Friend", friends}});
  }
  return info;
}

Dict Simulation::initial_situation() { return impl_->recorder.full(impl_->world); }

void Simulation::advance() {
  // A requested end takes effect here, so that it is reported by a record like any other end.
  if (impl_->ending) impl_->world.over = true;
  for (int second = 0; second < impl_->advance_seconds && !impl_->world.over; ++second) impl_->world.tick();
}

void Simulation::set_advance_seconds(int seconds) { impl_->advance_seconds = std::max(seconds, 1); }

Dict Simulation::step_situation() { return impl_->recorder.step(impl_->world); }

std::vector<CommandFault> Simulation::execute(const std::vector<std::string>& commands) {
  return run_package(impl_->world, commands);
}

void Simulation::end() { impl_->ending = true; }

bool Simulation::ended() const { return impl_->world.over; }

EpisodeEnd Simulation::why_ended() const {
  const World& world = impl_->world;
  if (!world.over) return {};
  if (impl_->ending) return {EndReason::asked, ""};
  if (world.beaten != kNobody) return {EndReason::loss, world.sides[world.beaten].setup->name};
  return {EndReason::duration, ""};
}

const World& Simulation::world() const { return impl_->world; }

}  // namespace tessra::sim
