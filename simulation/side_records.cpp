// The part of a side's record that describes its missions and what it knows about others: contacts and key messages.

#include <fmt/format.h>

#include <algorithm>

#include "Tessra/base/value.h"
#include "simulation/records.h"

namespace tessra::sim {

namespace {

// Types of key messages.
constexpr const char* kNewContacts = "3";
constexpr const char* kDetections = "7";

std::string_view mission_category(MissionKind kind) {
  switch (kind) {
    case MissionKind::strike:
      return "Strike";
    case MissionKind::patrol:
      return "Patrol";
    case MissionKind::support:
      break;
  }
  return "Support";
}

/// Living units on a mission, in the scenario's order.
List units_of(const World& world, std::size_t side, const Mission& mission) {
  List ids;
  for (const Unit& unit : world.units) {
    if (unit.alive && unit.side == side && unit.mission == mission.id) ids.push_back(unit.id);
  }
  return ids;
}

std::string contact_name(const Contact& contact, const Unit& unit) {
  if (contact.id_status >= 4) return unit.name;
  if (contact.id_status == 3) return unit.platform->class_name;
  return fmt::format("Contact {}", contact.id.substr(contact.id.find('#') + 1));
}

const Contact* own_contact(const SideState& side, std::string_view id) {
  const auto found = std::find_if(side.contacts.begin(), side.contacts.end(),
                                  [&](const auto& entry) { return entry.second.id == id; });
  return found == side.contacts.end() ? nullptr : &found->second;
}

List new_contact_messages(const World& world, std::size_t side) {
  List messages;
  for (const auto& [holder, id] : world.new_contacts) {
    // A contact found and lost again between two records must not be revived by its message.
    const Contact* contact = holder == side ? own_contact(world.sides[side], id) : nullptr;
    if (contact == nullptr) continue;
    Dict message{{"ID", id}};
    message.update(record_contact(world, *contact));
    message.update(record_position(contact->seen));
    messages.push_back(message);
  }
  return messages;
}

List detection_records(const World& world, std::size_t side) {
  List records;
  for (const Detection& detection : world.detections) {
    if (detection.side != side || own_contact(world.sides[side], detection.contact) == nullptr) continue;
    records.push_back(Dict{{"ContactID", detection.contact},
                           {"SensorID", detection.sensor},
                           {"Time", world.scenario->start + std::int64_t{1000} * detection.tick},
                           {"Range", record_number(detection.range)}});
  }
  return records;
}

}  // namespace

Dict record_missions(const World& world, std::size_t side) {
  Dict categories{{"Strike", Dict()}, {"Patrol", Dict()}, {"Support", Dict()}};
  for (const Mission& mission : world.sides[side].missions) {
    List targets;
    for (const std::string& target : mission.targets) targets.push_back(target);
    const Dict details{
        {"Zone", record_places(mission.zone)}, {"Targets", targets}, {"Units", units_of(world, side, mission)}};
    categories.at_dict(mission_category(mission.kind))
        .set(mission.id, Dict{{"Name", mission.name}, {"Mission", details}});
  }
  return categories;
}

Dict record_contact(const World& world, const Contact& contact) {
  const Unit& unit = world.units[contact.target];
  Dict record{{"Name", contact_name(contact, unit)},
              {"Type", static_cast<int>(unit.platform->kind)},
              {"ActualUnitID", unit.id},
              {"IDStatus", contact.id_status},
              {"Age", world.now - contact.last_seen},
              {"Uncertainty", record_number(contact.error)}};
  // Only what the side has identified. `ActualUnitID` is no secret: ids are opaque.
  if (contact.id_status >= 2) record.set("Side", world.sides[unit.side].setup->id);
  if (contact.id_status >= 3) record.set("ClassName", unit.platform->class_name);
  return record;
}

Dict record_key_messages(const World& world, std::size_t side) {
  Dict messages;
  const List contacts = new_contact_messages(world, side);
  if (!contacts.empty()) messages.set(kNewContacts, contacts);
  const List detections = detection_records(world, side);
  if (!detections.empty()) messages.set(kDetections, List{Dict{{"LastDetectionList", detections}}});
  return messages;
}

}  // namespace tessra::sim
