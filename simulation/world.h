#pragma once

// The state of one episode and its clock.

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "simulation/dice.h"
#include "simulation/scenario.h"
#include "simulation/unit.h"

namespace tessra::sim {

/// What a side knows about a unit of another side.
struct Contact {
  std::string id;
  std::size_t target;  ///< index of the actual unit
  int id_status = 1;   ///< 1 seen, 2 side known, 3 class known, 4 name known
  int last_seen = 0;   ///< tick
  Motion seen;         ///< as last seen
};

struct Mission {
  std::string id;
  std::string name;
  MissionKind kind;
  std::vector<Place> zone;
  std::vector<std::string> targets;  ///< contact ids
};

struct SideState {
  const SideSetup* setup;
  std::map<std::size_t, Contact> contacts;  ///< by index of the actual unit
  std::vector<Mission> missions;
  double score = 0;
  int units_lost = 0;
  int weapons_fired = 0;
};

/// A sensor's success, kept until the next record.
struct Detection {
  std::size_t side;
  std::string contact;
  std::string sensor;
  int tick;
  double range;
};

/// Everything that is true in a running episode.
struct World {
  World(std::shared_ptr<const Scenario> played, std::uint64_t seed);
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /// Plays one simulated second, unless the episode is over.
  void tick();

  std::shared_ptr<const Scenario> scenario;
  Dice dice;
  int now = 0;  ///< seconds since the start
  bool over = false;
  std::size_t beaten = kNobody;  ///< the side whose loss ended the episode
  std::vector<SideState> sides;
  std::vector<Unit> units;  ///< in the scenario's order; destroyed ones stay, not alive
  std::vector<Shot> shots;
  std::vector<Group> groups;

  // Since the last record.
  std::vector<Detection> detections;
  std::vector<std::pair<std::size_t, std::string>> new_contacts;  ///< side and contact id

  // Since the start.
  int shots_fired = 0;
  int hits = 0;
  std::vector<std::string> destroyed;
  int contacts_made = 0;
  int missions_made = 0;
};

/// How one side stands toward another, by index; neutral when the scenario says nothing.
int posture_of(const World& world, std::size_t from, std::size_t toward);
inline bool is_friend(const World& world, std::size_t from, std::size_t toward) {
  return from == toward || posture_of(world, from, toward) == 1;
}
inline bool is_hostile(const World& world, std::size_t from, std::size_t toward) {
  return from != toward && posture_of(world, from, toward) == 3;
}

/// A contact of the side or of a side friendly toward it; null when nobody holds it.
const Contact* find_contact(const World& world, std::size_t side, std::string_view contact_id);

/// A mission of the side by id or by name; null when there is none.
Mission* find_mission(SideState& side, std::string_view id);
const Mission* find_mission(const SideState& side, std::string_view id);
Mission* find_mission_named(SideState& side, std::string_view name);

/// Index of a living unit, or `kNobody`.
std::size_t find_unit(const World& world, std::string_view id);

/// Makes the contact of a side on a unit, or finds it.
Contact& contact_on(World& world, std::size_t side, std::size_t target);

/// Destroys a unit with all that stands on it, takes it out of every contact table and books the losses.
void destroy_unit(World& world, std::size_t index);

}  // namespace tessra::sim
