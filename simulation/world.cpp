// Sets up an episode from its scenario, drives the ticks, and holds the operations on the state that several rules
// share.

#include "simulation/world.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "simulation/combat.h"
#include "simulation/movement.h"
#include "simulation/scoring.h"
#include "simulation/sensing.h"
#include "simulation/tasks.h"

namespace tessra::sim {

namespace {

/// Ids reveal nothing to other sides and are the same in every episode.
std::string opaque_id(std::string_view kind, std::uint64_t key) { return fmt::format("{}-{:016x}", kind, key); }

Unit make_unit(const World& world, const UnitSetup& setup, std::size_t side) {
  Unit unit;
  unit.key = text_key(world.scenario->id, setup.id);
  unit.phase = world.dice.number(unit.key);
  unit.id = opaque_id("unit", unit.key);
  unit.file_id = setup.id;
  unit.name = setup.name;
  unit.side = side;
  unit.platform = setup.platform;
  unit.motion = {setup.place, setup.height, setup.heading, 0};
  unit.wanted_height = setup.height;
  unit.sphere = sphere_point(setup.place);
  unit.fuel = setup.platform->fuel;
  unit.at_base = setup.at_base;
  unit.control = setup.control;
  unit.radar_on = setup.radar;
  rearm(unit);
  return unit;
}

/// Index of the unit with this id in the scenario file.
std::size_t index_of(const World& world, std::string_view file_id) {
  const auto found =
      std::find_if(world.units.begin(), world.units.end(), [&](const Unit& unit) { return unit.file_id == file_id; });
  return static_cast<std::size_t>(found - world.units.begin());
}

void add_units(World& world, std::size_t side, const SideSetup& setup) {
  for (const UnitSetup& unit : setup.units) world.units.push_back(make_unit(world, unit, side));
  for (const UnitSetup& unit_setup : setup.units) {
    if (unit_setup.base.empty()) continue;
    Unit& unit = world.units[index_of(world, unit_setup.id)];
    unit.base = index_of(world, unit_setup.base);
    if (unit.at_base) land(world, unit);
  }
  for (const GroupSetup& group : setup.groups) {
    Group made{opaque_id("group", text_key(world.scenario->id, group.id)), group.name, side, {}};
    for (const std::string& member : group.members) {
      made.members.push_back(index_of(world, member));
      world.units[made.members.back()].group = world.groups.size();
    }
    world.groups.push_back(std::move(made));
  }
}

void add_knowledge(World& world, std::size_t side) {
  for (const std::string& id : world.sides[side].setup->known) {
    add_contact(world, side, index_of(world, id)).id_status = 4;
  }
}

void add_missions(World& world, std::size_t side) {
  SideState& state = world.sides[side];
  for (const MissionSetup& setup : state.setup->missions) {
    Mission mission{setup.id, setup.name, setup.kind, setup.zone, {}};
    for (const std::string& target : setup.targets) {
      mission.targets.push_back(contact_on(world, side, index_of(world, target))->id);
    }
    for (const std::string& id : setup.units) {
      world.units[index_of(world, id)].mission = setup.id;
    }
    state.missions.push_back(std::move(mission));
  }
}

}  // namespace

World::World(std::shared_ptr<const Scenario> played, std::uint64_t seed) : scenario(std::move(played)), dice(seed) {
  for (const SideSetup& setup : scenario->sides) {
    sides.push_back({&setup});
    add_units(*this, sides.size() - 1, setup);
  }
  for (std::size_t index = 0; index < units.size(); ++index) by_key.push_back(index);
  std::ranges::sort(by_key, {}, [&](std::size_t index) { return units[index].key; });
  for (std::size_t side = 0; side < sides.size(); ++side) {
    add_knowledge(*this, side);
    add_missions(*this, side);
  }
  new_contacts.clear();  // those known from the start are not news
}

void World::tick() {
  if (over) return;
  ++now;
  // Sensors look after everybody has moved, and firing uses what they saw; the order is documented behaviour.
  decide_tasks(*this);
  move_units(*this);
  use_sensors(*this);
  fire_weapons(*this);
  fly_shots(*this);
  check_end(*this);
}

int posture_of(const World& world, std::size_t from, std::size_t toward) {
  const auto& postures = world.sides[from].setup->postures;
  const auto found = postures.find(world.sides[toward].setup->id);
  return found == postures.end() ? 0 : found->second;
}

const Contact* find_contact(const World& world, std::size_t side, std::string_view contact_id) {
  for (std::size_t holder = 0; holder < world.sides.size(); ++holder) {
    if (!is_friend(world, holder, side)) continue;
    for (const auto& [key, contact] : world.sides[holder].contacts) {
      if (contact.id != contact_id) continue;
      return world.sides[side].known_lost.contains(key) ? nullptr : &contact;
    }
  }
  return nullptr;
}

const Mission* find_mission(const SideState& side, std::string_view id) {
  for (const Mission& mission : side.missions) {
    if (mission.id == id) return &mission;
  }
  return nullptr;
}

Mission* find_mission(SideState& side, std::string_view id) {
  return const_cast<Mission*>(find_mission(std::as_const(side), id));
}

Mission* find_mission_named(SideState& side, std::string_view name) {
  for (Mission& mission : side.missions) {
    if (mission.name == name) return &mission;
  }
  return nullptr;
}

std::size_t find_unit(const World& world, std::string_view id) {
  for (std::size_t i = 0; i < world.units.size(); ++i) {
    if (world.units[i].id == id) return world.units[i].alive ? i : kNobody;
  }
  return kNobody;
}

const Contact* contact_on(const World& world, std::size_t side, std::size_t target) {
  const auto& contacts = world.sides[side].contacts;
  const auto found = contacts.find(world.units[target].key);
  return found != contacts.end() ? &found->second : nullptr;
}

Contact* contact_on(World& world, std::size_t side, std::size_t target) {
  return const_cast<Contact*>(contact_on(std::as_const(world), side, target));
}

Contact& add_contact(World& world, std::size_t side, std::size_t target) {
  SideState& state = world.sides[side];
  const Unit& unit = world.units[target];
  Contact contact;
  // Prefixed with the side, since friends receive the contact under this id and have contacts of their own.
  contact.id = fmt::format("{}-contact#{}", state.setup->id, ++state.contacts_made);
  contact.target = target;
  contact.last_seen = contact.in_view_since = world.now;
  contact.seen = unit.motion;
  state.damage_done.erase(unit.key);  // it may have been repaired while out of sight
  world.new_contacts.emplace_back(side, contact.id);
  return state.contacts.emplace(unit.key, std::move(contact)).first->second;
}

void learn_of_loss(World& world, std::size_t side, std::size_t target) {
  const std::uint64_t key = world.units[target].key;
  world.sides[side].contacts.erase(key);
  world.sides[side].known_lost.insert(key);
}

void destroy_unit(World& world, std::size_t index, std::size_t by) {
  Unit& unit = world.units[index];
  if (!unit.alive) return;
  // Before its radar is switched off, which listeners depend on.
  for (std::size_t side = 0; side < world.sides.size(); ++side) {
    if (side == by || has_in_reach(world, side, unit)) learn_of_loss(world, side, index);
  }
  unit.alive = false;
  unit.radar_on = false;
  world.destroyed.push_back(unit.id);
  book_loss(world, unit, by);
  if (unit.group != kNobody) {
    auto& members = world.groups[unit.group].members;
    members.erase(std::remove(members.begin(), members.end(), index), members.end());
  }
  // Units at the base are lost with it. Nobody outside can see them, so nobody scores.
  for (std::size_t guest = 0; guest < world.units.size(); ++guest) {
    if (world.units[guest].at_base && world.units[guest].base == index) destroy_unit(world, guest, kNobody);
  }
}

}  // namespace tessra::sim
