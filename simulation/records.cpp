// A record is always built in full from the state of the world; an update is the difference to the last full record.
// That is simpler than tracking changes, and a change cannot be forgotten. `difference` then lists a lost unit in every
// table it vanished from, while a deletion must be reported once: `keep_one_deletion`.

#include "simulation/records.h"

#include <cmath>

#include "Tessra/base/value.h"
#include "simulation/difference.h"

namespace tessra::sim {

namespace {

Dict record_scenario(const World& world) {
  const Scenario& scenario = *world.scenario;
  Dict sides;
  for (const SideSetup& side : scenario.sides) {
    Dict postures;
    for (const auto& [other, posture] : side.postures) postures.set(other, posture);
    sides.set(side.id, Dict{{"Name", side.name}, {"Postures", postures}});
  }
  return {{"ScenarioID", scenario.id},     {"Title", scenario.title},
          {"StartTime", scenario.start},   {"Time", scenario.start + std::int64_t{1000} * world.now},
          {"Duration", scenario.duration}, {"SideInfo", sides}};
}

Dict record_reference_points(const SideSetup& setup) {
  Dict points;
  for (const ReferencePoint& point : setup.reference_points) {
    points.set(
        point.id,
        Dict{{"Name", point.name}, {"Lon", record_degrees(point.place.lon)}, {"Lat", record_degrees(point.place.lat)}});
  }
  return points;
}

Dict record_side(const World& world, std::size_t side) {
  const SideState& state = world.sides[side];
  Dict basic;
  Dict live;
  Dict positions;
  record_units(world, side, basic, live, positions);
  Dict contacts;
  Dict contact_positions;
  for (const auto& [key, contact] : state.contacts) {
    contacts.set(contact.id, record_contact(world, contact));
    contact_positions.set(contact.id, record_position(contact.seen));
  }
  positions.set("Contacts", contact_positions);
  const Dict own{{"Missions", record_missions(world, side)},
                 {"ReferencePoints", record_reference_points(*state.setup)},
                 {"ActiveUnitsInfo", basic}};
  const Dict real{{"UnitsLost", state.units_lost},
                  {"WeaponsFired", state.weapons_fired},
                  {"ActiveUnits", live},
                  {"Contacts", contacts}};
  return {{"Side", own},
          {"SideReal", real},
          {"SidePosition", positions},
          {"SideVitalChange", Dict{{"TotalScore", record_number(state.score)}}}};
}

Dict record_all(const World& world) {
  Dict sides;
  for (std::size_t side = 0; side < world.sides.size(); ++side) {
    sides.set(world.sides[side].setup->id, record_side(world, side));
  }
  const Dict info{{"Visibility", world.scenario->visibility}};
  return {{"ScenarioInfo", record_scenario(world)},
          {"Situation", Dict{{"SituationInfo", info}, {"SituationSides", sides}}}};
}

/// Removes duplicates: lost units are reported only under the live units, lost contacts only under the live contacts.
void keep_one_deletion(Dict& side) {
  if (Dict* positions = side.find_dict("SidePosition")) {
    positions->erase("mapdel");
    if (positions->empty()) side.erase("SidePosition");
  }
  Dict* own = side.find_dict("Side");
  Dict* deletions = own != nullptr ? own->find_dict("mapdel") : nullptr;
  if (deletions == nullptr) return;
  deletions->erase("ActiveUnitsInfo");
  if (deletions->empty()) own->erase("mapdel");
  if (own->empty()) side.erase("Side");
}

/// The dictionary under a key, created if missing.
Dict& inner(Dict& dict, std::string_view key) {
  if (dict.find(key) == nullptr) dict.set(key, Dict());
  return dict.at_dict(key);
}

void add_key_messages(const World& world, Dict& update) {
  for (std::size_t side = 0; side < world.sides.size(); ++side) {
    const Dict messages = record_key_messages(world, side);
    if (messages.empty()) continue;
    Dict& sides = inner(inner(update, "Situation"), "SituationSides");
    inner(sides, world.sides[side].setup->id).set("SideKeyMsg", messages);
  }
}

}  // namespace

Dict Recorder::full(World& world) {
  world.new_contacts.clear();
  world.detections.clear();
  last_ = record_all(world);
  return last_.deep_copy();  // the engine changes what it is given
}

Dict Recorder::step(World& world) {
  const Dict now = record_all(world);
  Dict update = difference(last_, now);
  last_ = now;
  if (Dict* situation = update.find_dict("Situation")) {
    if (Dict* sides = situation->find_dict("SituationSides")) {
      for (auto [id, side] : *sides) keep_one_deletion(side.as_dict());
    }
  }
  add_key_messages(world, update);
  update.set("IsEnd", world.over);
  world.new_contacts.clear();
  world.detections.clear();
  return update;
}

List record_places(const std::vector<Place>& places) {
  List list;
  for (const Place& place : places) {
    list.push_back(Dict{{"Lon", record_degrees(place.lon)}, {"Lat", record_degrees(place.lat)}});
  }
  return list;
}

double record_degrees(double degrees) { return std::round(degrees * 1e6) / 1e6; }

double record_number(double number) { return std::round(number * 10) / 10; }

Dict record_position(const Motion& motion) {
  return {{"Lon", record_degrees(motion.place.lon)},
          {"Lat", record_degrees(motion.place.lat)},
          {"Alt", record_number(motion.height)},
          {"Heading", record_number(motion.heading)},
          {"Speed", record_number(motion.speed)}};
}

}  // namespace tessra::sim
