#include "agents/patrol_agent.h"

#include "Tessra/entitys/gameenvs/gameserver.h"
#include "Tessra/entitys/patrolmission.h"

namespace tessra {

namespace {

std::vector<Role> patrol_roles() {
  using enum ContactType;
  return {
      {"Fighter", {aircraft}, 150'000},
      {"Strike aircraft", {ship}, 200'000},
      {"Destroyer", {ship, submarine, aircraft}, 120'000},
      {"Frigate", {ship, submarine, aircraft}, 110'000},
      {"Missile boat", {ship}, 120'000},
      {"Submarine", {ship, submarine}, 60'000},
      {"Coastal missile battery", {ship}, 170'000},
      {"Sea patrol aircraft", {submarine}, 80'000},
  };
}

/// The middle of the side's facilities: what there is to protect.
GeoPoint home_of(const Situation& situation) {
  GeoPoint middle;
  double count = 0;
  for (const auto& [id, element] : situation.facilitys()) {
    const GeoPoint place = dynamic_cast<const GameUnit&>(*element).position();
    middle.lon += place.lon;
    middle.lat += place.lat;
    ++count;
  }
  if (count > 0) middle = {middle.lon / count, middle.lat / count};
  return middle;
}

/// Where the enemy is: the middle of the contacts known at the start, or home when there are none.
GeoPoint threat_of(const Situation& situation) {
  GeoPoint middle;
  double count = 0;
  for (const Contact& contact : situation.contact_list()) {
    const auto place = contact.position();
    if (!place) continue;
    middle.lon += place->lon;
    middle.lat += place->lat;
    ++count;
  }
  return count > 0 ? GeoPoint{middle.lon / count, middle.lat / count} : home_of(situation);
}

constexpr std::string_view kBarrier = "Barrier";

}  // namespace

PatrolAgent::PatrolAgent(std::string side_name) : Agent(std::move(side_name)), fire_control_(patrol_roles(), 2) {}

void PatrolAgent::initial(const Situation& situation) {
  fire_control_.free_weapons(situation);
  // A barrier across the line between home and the threat, a third of the way out.
  const GeoPoint home = home_of(situation);
  const GeoPoint threat = threat_of(situation);
  const GeoPoint out{home.lon + (threat.lon - home.lon) / 3, home.lat + (threat.lat - home.lat) / 3};
  constexpr double kHalfWidth = 0.3;  // degrees
  // From the corner nearest to home on: nobody begins on the enemy's side of it.
  const double east = threat.lon < home.lon ? -kHalfWidth : kHalfWidth;
  const double north = threat.lat < home.lat ? -kHalfWidth : kHalfWidth;
  const GeoPoint zone[] = {{out.lon - east, out.lat - north},
                           {out.lon - east, out.lat + north},
                           {out.lon + east, out.lat + north},
                           {out.lon + east, out.lat - north}};
  PatrolMission::order_new(*_game_server, side, kBarrier, zone);
  for (const auto& [id, element] : situation.aircrafts()) {
    auto& unit = dynamic_cast<GameUnit&>(*element);
    const bool allowed = fire_control_.settings().allows_unit(unit.guid(), unit.attributes().get("Name"));
    if (allowed && unit.platform() == "Fighter") unit.assign_to_mission(kBarrier);
  }
}

void PatrolAgent::step(double /*time_elapsed*/, const Situation& situation) { fire_control_.engage(situation); }

}  // namespace tessra
