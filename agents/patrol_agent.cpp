#include "agents/patrol_agent.h"

#include <optional>

#include "Tessra/entitys/gameenvs/gameserver.h"
#include "Tessra/entitys/patrolmission.h"

namespace tessra {

namespace {

/// Shorter reaches than the strike agent's, so that units do not stray far. Platforms without a role get no orders.
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

/// The centre of some places; good for the size of a theatre, not across the date line.
class Centre {
 public:
  void add(const GeoPoint& place) {
    sum_.lon += place.lon;
    sum_.lat += place.lat;
    ++count_;
  }
  std::optional<GeoPoint> point() const {
    return count_ > 0 ? std::optional(GeoPoint{sum_.lon / count_, sum_.lat / count_}) : std::nullopt;
  }

 private:
  GeoPoint sum_;
  double count_ = 0;
};

/// Centre of the side's facilities, which are to be protected.
GeoPoint home_of(const Situation& situation) {
  Centre centre;
  for (const auto& [id, element] : situation.facilitys()) {
    centre.add(dynamic_cast<const GameUnit&>(*element).position());
  }
  return centre.point().value_or(GeoPoint());
}

/// Assumed position of the enemy: the centre of the contacts known at the start, or home if there are none.
GeoPoint threat_of(const Situation& situation) {
  Centre centre;
  for (const Contact& contact : situation.contact_list()) {
    if (const auto place = contact.position()) centre.add(*place);
  }
  return centre.point().value_or(home_of(situation));
}

constexpr std::string_view kBarrier = "Barrier";

}  // namespace

PatrolAgent::PatrolAgent(std::string side_name) : FightingAgent(std::move(side_name), patrol_roles(), 2) {}

void PatrolAgent::initial(const Situation& situation) {
  FightingAgent::initial(situation);
  // A rectangular barrier on the line from home to the threat, a third of the way out.
  const GeoPoint home = home_of(situation);
  const GeoPoint threat = threat_of(situation);
  const GeoPoint out{home.lon + (threat.lon - home.lon) / 3, home.lat + (threat.lat - home.lat) / 3};
  constexpr double kHalfWidth = 0.3;  // degrees
  // Starts at the corner nearest to home, so that nobody begins on the enemy's side of it.
  const double east = threat.lon < home.lon ? -kHalfWidth : kHalfWidth;
  const double north = threat.lat < home.lat ? -kHalfWidth : kHalfWidth;
  const GeoPoint zone[] = {{out.lon - east, out.lat - north},
                           {out.lon - east, out.lat + north},
                           {out.lon + east, out.lat + north},
                           {out.lon + east, out.lat - north}};
  PatrolMission::order_new(*_game_server, side, kBarrier, zone);
  for (const auto& [id, element] : situation.aircrafts()) {
    auto& unit = dynamic_cast<GameUnit&>(*element);
    const bool allowed = settings().allows_unit(unit.guid(), unit.attributes().get("Name"));
    if (allowed && unit.platform() == "Fighter") unit.assign_to_mission(kBarrier);
  }
}

}  // namespace tessra
