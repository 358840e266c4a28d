// Units as agents use them: shortcuts to reported attributes, and orders. An order only queues a command text; whether
// it is valid is for the service to decide, so that engine and service cannot disagree about the rules.

#include "Tessra/entitys/gameunit.h"

#include <algorithm>
#include <optional>

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

const FieldTable& GameUnit::unit_fields() {
  static const FieldTable table{
      {"Name", Kind::string},
      {"Side", Kind::string},
      {"ElementType", Kind::integer},
      {"ID", Kind::string},
      {"UnitType", Kind::integer},
      {"ClassName", Kind::string},
      {"MissionName", Kind::string},
      {"GroupID", Kind::string},
      {"Status", Kind::string},
      {"Lon", Kind::real},
      {"Lat", Kind::real},
      {"Alt", Kind::real},
      {"Heading", Kind::real},
      {"Speed", Kind::real},
      {"Damage", Kind::real},
      {"Fuel", Kind::real},
      {"Course", Kind::list},
      {"Navigator", Kind::dictionary},
      {"WeaponControl", Kind::string},
      {"Doctrine", Kind::dictionary},
      {"AI", Kind::dictionary},
      {"Warheads", Kind::dictionary},
      {"CommDevices", Kind::dictionary},
      {"Sensors", Kind::dictionary},
      {"Mounts", Kind::dictionary},
      {"Magazines", Kind::dictionary},
      {"Cargos", Kind::dictionary},
      {"AirFacilitys", Kind::dictionary},
      {"DockFacilitys", Kind::dictionary},
      {"Propulsions", Kind::dictionary},
      {"FuelRecs", Kind::dictionary},
      {"Loadouts", Kind::dictionary},
      {"RangeSymbols", Kind::dictionary},
  };
  return table;
}

namespace {

/// Per thread, so that engines in different threads do not unlock each other's sides.
std::optional<std::string>& creation_key() {
  thread_local std::optional<std::string> key;
  return key;
}

/// Visits the records of a component table, which the unit may lack.
template <class Visit>
void for_each_record(const Dict& holder, const KeyRef& table, Visit&& visit) {
  const Dict* records = holder.find_dict(table);
  if (records == nullptr) return;
  for (const auto& [id, record] : *records) visit(record.as_dict());
}

}  // namespace

void GameUnit::set_key(std::string_view side_name) { creation_key() = side_name; }
void GameUnit::clear_key() { creation_key().reset(); }

GameUnit::GameUnit(Value guid, const Value& name, std::string_view side, tessra::ElementType type)
    : Element(std::move(guid), name, side, type) {
  if (creation_key() != side)
    throw Error("unit '" + std::string(this->guid()) + "' made without the creation key of its side");
}

/// 0 for a unit whose record has not brought the attribute yet.
double GameUnit::real(const KeyRef& name) const {
  return attributes().contains(name) ? attributes().at_real(name) : 0.0;
}

GeoPoint GameUnit::position() const { return {real("Lon"), real("Lat")}; }

std::string_view GameUnit::platform() const {
  const Value* name = attributes().find("ClassName");
  return name != nullptr && name->is_string() ? name->as_text() : std::string_view();
}

double GameUnit::weapon_reach(ContactType target) const {
  // A service need not report loads, ranges or targets of weapons; such weapons do not count.
  const Value code = static_cast<int>(target);
  double reach = 0;
  for_each_record(attributes(), "Mounts", [&](const Dict& mount) {
    for_each_record(mount, "WeaponRecs", [&](const Dict& weapon) {
      const List* targets = weapon.find_list("Targets");
      if (!weapon.non_empty("CurrentLoad") || !weapon.contains("Range") || targets == nullptr) return;
      if (std::ranges::find(*targets, code) != targets->end()) reach = std::max(reach, weapon.at_real("Range"));
    });
  });
  return reach;
}

double GameUnit::sensor_reach() const {
  double reach = 0;
  for_each_record(attributes(), "Sensors", [&](const Dict& sensor) {
    if (sensor.non_empty("Active") && sensor.contains("Range")) reach = std::max(reach, sensor.at_real("Range"));
  });
  return reach;
}

CommandText GameUnit::command(std::string_view name) const {
  CommandText text(name);
  text.text("SIDE", Side()).text("UNIT", guid());
  return text;
}

void GameUnit::queue(const CommandText& command) const { game_server()->add_command(command.str()); }

void GameUnit::plot_course(std::span<const GeoPoint> course) { queue(command("PlotCourse").points("COURSE", course)); }

void GameUnit::set_speed(double metres_per_second) { queue(command("SetSpeed").number("SPEED", metres_per_second)); }

void GameUnit::set_radar(bool on) { queue(command("SetRadar").flag("ON", on)); }

void GameUnit::attack(std::string_view contact_id, std::string_view weapon, int quantity) {
  CommandText text = command("Attack");
  text.text("CONTACT", contact_id);
  if (!weapon.empty()) text.text("WEAPON", weapon);
  if (quantity > 0) text.number("QUANTITY", quantity);
  queue(text);
}

void GameUnit::cancel_attack() { queue(command("CancelAttack")); }

void GameUnit::set_weapon_control(std::string_view control) {
  queue(command("SetWeaponControl").text("CONTROL", control));
}

void GameUnit::assign_to_mission(std::string_view mission_name) {
  queue(command("AssignUnit").text("MISSION", mission_name));
}

void GameUnit::unassign_from_mission() { queue(command("UnassignUnit")); }

void GameUnit::return_to_base() { queue(command("ReturnToBase")); }

}  // namespace tessra
