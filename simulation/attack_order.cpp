#include <fmt/format.h>

#include <algorithm>

#include "simulation/orders.h"

namespace tessra::sim {

namespace {

/// The weapon named by the order, or null to let each unit choose.
const WeaponType* ordered_weapon(const World& world, const CommandArguments& arguments) {
  if (!arguments.has("WEAPON")) return nullptr;
  const std::string name = arguments.text("WEAPON");
  const auto& weapons = world.scenario->catalog.weapons;
  const auto found = weapons.find(name);
  if (found == weapons.end()) throw CommandError(fmt::format("there is no weapon '{}'", quoted_name(name)));
  return &found->second;
}

int salvo_of(const Unit& unit, UnitKind target, const WeaponType* wanted) {
  const WeaponRecord* record = choose_weapon(unit, target, wanted);
  return record != nullptr ? record->type->salvo : 1;
}

}  // namespace

void attack(World& world, const CommandArguments& arguments) {
  const std::size_t side = ordered_side(world, arguments);
  std::vector<std::size_t> units = ordered_units(world, arguments);
  const std::string id = arguments.text("CONTACT");
  const Contact* contact = find_contact(world, side, id);
  if (contact == nullptr) throw CommandError(fmt::format("side holds no contact '{}'", quoted_name(id)));
  if (is_friend(world, side, world.units[contact->target].side)) throw CommandError("CONTACT is a friend");
  const UnitKind kind = world.units[contact->target].platform->kind;
  const WeaponType* weapon = ordered_weapon(world, arguments);
  const int quantity = arguments.has("QUANTITY") ? arguments.whole_number("QUANTITY", 1, 100) : 0;
  // Members of a group that cannot attack stay out of it; the order fails only if nobody can.
  std::erase_if(units, [&](std::size_t index) { return !carries(world.units[index], kind, weapon); });
  if (units.empty()) {
    throw CommandError(weapon != nullptr
                           ? fmt::format("UNIT has no '{}' for this contact", weapon->name)
                           : fmt::format("UNIT has no weapon against a contact of type {}", static_cast<int>(kind)));
  }
  for (const std::size_t index : units) {
    Unit& unit = world.units[index];
    // A second order against the same contact replaces the first, and orders replace the unit's own decisions.
    std::erase_if(unit.attacks, [&](const AttackOrder& order) { return order.own_decision || order.contact == id; });
    unit.attacks.push_back({id, weapon, quantity > 0 ? quantity : salvo_of(unit, kind, weapon), false});
    unit.returning = false;
    unit.course_ordered = false;
  }
}

}  // namespace tessra::sim
