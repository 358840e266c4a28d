#include "Tessra/entitys/agent_base.h"

#include <algorithm>

#include "Tessra/entitys/scenario.h"

namespace tessra {

const FieldTable& RuleAgentBase::fields() {
  static const FieldTable table{
      {"Name", Kind::string},
      {"Side", Kind::string},
      {"ElementType", Kind::integer},
      {"ID", Kind::string},
      {"TotalScore", Kind::real, false},  // a result without a score must not read as zero
      {"Contacts", Kind::dictionary},
      {"KeyMsg", Kind::dictionary},
      {"friend_side_units", Kind::dictionary},
      {"Postures", Kind::dictionary},
      {"Doctrine", Kind::dictionary},
      {"ReferencePoints", Kind::dictionary},
      {"SpecialActions", Kind::dictionary},
      {"ExclusionZones", Kind::dictionary},
      {"NoNavZones", Kind::dictionary},
      {"AirCorridorZones", Kind::dictionary},
      {"WeaponSalvos", Kind::dictionary},
      {"WeaponRecs", Kind::dictionary},
  };
  return table;
}

RuleAgentBase::RuleAgentBase(std::string side_name)
    : Element("", side_name, side_name, tessra::ElementType::Side),
      side_name_(std::move(side_name)),
      situation_(*this) {}

std::array<const ElementTable*, 7> RuleAgentBase::unit_tables() const {
  return {&groups, &aircrafts, &ships, &submarines, &satellites, &facilitys, &weapons};
}

void RuleAgentBase::update_units_of_names() { units_of_name.refresh(unit_tables()); }

void RuleAgentBase::add_unit(const Value& guid, tessra::ElementType type, const std::shared_ptr<Element>& unit) {
  ElementTable& table = *side_table(type);
  const auto tables = unit_tables();
  const std::size_t held = table.size();
  table.set(guid, unit);
  if (table.size() == held) units_of_name.note_anything();  // it replaced another one
  units_of_name.note_added(static_cast<std::size_t>(std::ranges::find(tables, &table) - tables.begin()), unit);
}

ElementTable* RuleAgentBase::side_table(tessra::ElementType type) {
  switch (type) {
    case tessra::ElementType::StrikeMission:
    case tessra::ElementType::PatrolMission:
    case tessra::ElementType::SupportMission:
    case tessra::ElementType::FerryMission:
    case tessra::ElementType::MineMission:
    case tessra::ElementType::MineClearMission:
    case tessra::ElementType::CargoMission:
      return &missions_obj;
    case tessra::ElementType::Group:
      return &groups;
    case tessra::ElementType::Aircraft:
      return &aircrafts;
    case tessra::ElementType::Ship:
      return &ships;
    case tessra::ElementType::Submarine:
      return &submarines;
    case tessra::ElementType::Satellite:
      return &satellites;
    case tessra::ElementType::Facility:
      return &facilitys;
    case tessra::ElementType::Weapon:
      return &weapons;
    case tessra::ElementType::Scenario:
    case tessra::ElementType::Side:
      return nullptr;
  }
  return nullptr;  // a record may carry any number as its ElementType
}

std::vector<std::string> RuleAgentBase::delete_element(std::string_view guid, tessra::ElementType type,
                                                       std::string_view unit_name) {
  ElementTable* table = side_table(type);
  if (table == &missions_obj) {
    table->erase(unit_name);
  } else if (table != nullptr) {
    if (const auto* unit = table->find(guid)) units_of_name.note_removed(*unit);
    table->erase(guid);
  }
  return {std::string(guid)};
}

void RuleAgentBase::reset() {
  initialise_attributes(side_name_, side_name_, tessra::ElementType::Side);
  for (ElementTable* table :
       {&missions_obj, &groups, &aircrafts, &ships, &submarines, &satellites, &facilitys, &weapons}) {
    *table = ElementTable();
  }
  units_of_name.clear();
  refused_orders.clear();
  current_players.clear();
  scenario.reset();
  side_names = Dict();
  simulate_timestamp = 0;
  time_elapsed_ = 0;
  simulate_time_.clear();
  duration_ = Value();
}

}  // namespace tessra
