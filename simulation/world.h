#pragma once

// The state of one episode, and its clock.

#include <cstdint>
#include <map>
#include <memory>
#include <set>
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
  std::size_t target;     ///< index of the actual unit
  int id_status = 1;      ///< 1 seen, 2 side known, 3 class known, 4 name known
  int last_seen = 0;      ///< tick
  int in_view_since = 0;  ///< tick
  Motion seen;            ///< as last measured
  double error = 0;       ///< standard deviation of the position, metres
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
  std::map<std::uint64_t, Contact> contacts = {};    ///< by the key of the actual unit
  std::map<std::uint64_t, double> damage_done = {};  ///< damage by the side's weapons, by the key of the unit hit
  std::set<std::uint64_t> known_lost = {};           ///< keys of units the side knows to be destroyed
  std::vector<Mission> missions = {};
  double score = 0;
  int units_lost = 0;
  // Counters for ids, per side: a shared counter would reveal what other sides do.
  int weapons_fired = 0;
  int contacts_made = 0;
  int missions_made = 0;
};

/// A detection, kept until the next record.
struct Detection {
  std::size_t side;
  std::string contact;
  std::string sensor;
  int tick;
  double range;
};

/// The true state of a running episode.
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
  std::vector<Unit> units;  ///< in the scenario's order; destroyed ones stay in place
  /// Indices of the units, sorted by key. Units are processed in this order, so that nothing depends on the order of
  /// the file.
  std::vector<std::size_t> by_key;
  std::vector<Shot> shots;
  std::vector<Group> groups;

  // Since the last record.
  std::vector<Detection> detections;
  std::vector<std::pair<std::size_t, std::string>> new_contacts;  ///< side and contact id

  // Since the start.
  int shots_fired = 0;
  int hits = 0;
  std::vector<std::string> destroyed;
};

/// Posture of one side toward another, by index; neutral if the scenario does not define it.
int posture_of(const World& world, std::size_t from, std::size_t toward);
inline bool is_friend(const World& world, std::size_t from, std::size_t toward) {
  return from == toward || posture_of(world, from, toward) == 1;
}
inline bool is_hostile(const World& world, std::size_t from, std::size_t toward) {
  return from != toward && posture_of(world, from, toward) == 3;
}

/// A contact of the side or of a side friendly toward it. Null if nobody holds it, or if the side knows that the unit
/// is destroyed even though a friend has not noticed yet.
const Contact* find_contact(const World& world, std::size_t side, std::string_view contact_id);

/// A mission of the side by id or by name; null if there is none.
Mission* find_mission(SideState& side, std::string_view id);
const Mission* find_mission(const SideState& side, std::string_view id);
Mission* find_mission_named(SideState& side, std::string_view name);

/// Index of a living unit, or `kNobody`.
std::size_t find_unit(const World& world, std::string_view id);

/// The side's own contact on a unit; null if it has none.
Contact* contact_on(World& world, std::size_t side, std::size_t target);
const Contact* contact_on(const World& world, std::size_t side, std::size_t target);
/// Creates a contact of the side on a unit; the side must not have one.
Contact& add_contact(World& world, std::size_t side, std::size_t target);
/// Tells the side that a unit is destroyed: drops its contact.
void learn_of_loss(World& world, std::size_t side, std::size_t target);

/// Destroys a unit and those based on it that are at the base, and scores the losses. `by` is the side whose weapon did
/// it, or `kNobody`. That side learns of it, and so do sides with the unit in reach of a sensor; the contacts of all
/// others stay.
void destroy_unit(World& world, std::size_t index, std::size_t by);

}  // namespace tessra::sim
