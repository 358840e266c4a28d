// Creating the sixteen kinds of elements, and removing one. What a record puts into an element is decided in
// element_merge.cpp.

#include <fmt/printf.h>

#include "Tessra/base/pool.h"
#include "Tessra/entitys/aircraft.h"
#include "Tessra/entitys/cargomission.h"
#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/element_lookup.h"
#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/facility.h"
#include "Tessra/entitys/ferrymission.h"
#include "Tessra/entitys/field_names.h"
#include "Tessra/entitys/group.h"
#include "Tessra/entitys/mineclearmission.h"
#include "Tessra/entitys/minemission.h"
#include "Tessra/entitys/patrolmission.h"
#include "Tessra/entitys/satellite.h"
#include "Tessra/entitys/ship.h"
#include "Tessra/entitys/strikemission.h"
#include "Tessra/entitys/submarine.h"
#include "Tessra/entitys/supportmission.h"
#include "Tessra/entitys/weapon.h"

namespace tessra {

namespace {

using Maker = std::shared_ptr<Element> (*)(Value guid, const Value& name, std::string_view side);

/// Beside its attributes in memory, so that to come to one is to come to both.
template <class T>
std::shared_ptr<Element> make(Value guid, const Value& name, std::string_view side) {
  return std::allocate_shared<T>(PoolAllocator<T>(), std::move(guid), name, side);
}

struct MissionKind {
  ElementType type;
  Maker make;
  std::string_view no_name;
};

constexpr MissionKind kMissionKinds[] = {
    {ElementType::StrikeMission, make<StrikeMission>, "StrikeMission create but has no name!!!"},
    {ElementType::PatrolMission, make<PatrolMission>, "PatrolMission create but has no name!!!"},
    {ElementType::SupportMission, make<SupportMission>, "SupportMission create but has no name!!!"},
    {ElementType::FerryMission, make<FerryMission>, "FerryMission create but has no name!!!"},
    {ElementType::MineMission, make<MineMission>, "MineMission create but has no name!!!"},
    {ElementType::MineClearMission, make<MineClearMission>, "MineClearMission create but has no name!!!"},
    {ElementType::CargoMission, make<CargoMission>, "CargoMission create but has no name!!!"},
};

struct UnitKind {
  ElementType type;
  Maker make;
  const char* no_name;
  const char* no_side;
};

constexpr UnitKind kUnitKinds[] = {
    {ElementType::Group, make<Group>, "Group %s create but has no name!", "创建编队-%s-无推演方-%s!"},
    {ElementType::Aircraft, make<Aircraft>, "Aircraft %s create but has no name!", "创建飞机-%s-无推演方-%s!"},
    {ElementType::Ship, make<Ship>, "Ship %s create but has no name!", "创建舰船-%s-无推演方-%s!"},
    {ElementType::Submarine, make<Submarine>, "Submarine %s create but has no name!", "创建潜艇-%s-无推演方-%s!"},
    {ElementType::Satellite, make<Satellite>, "Satellite %s create but has no name!", "创建卫星-%s-无推演方-%s!"},
    {ElementType::Facility, make<Facility>, "Facility %s create but has no name!", "创建地面装备-%s-无推演方-%s!"},
    {ElementType::Weapon, make<Weapon>, "Weapon %s create but has no name!", "创建武器-%s-无推演方-%s!"},
};

template <class KindRow, std::size_t kCount>
const KindRow* row_of(const KindRow (&rows)[kCount], ElementType type) {
  for (const KindRow& row : rows) {
    if (row.type == type) return &row;
  }
  return nullptr;
}

/// What every element is made from.
struct Creation {
  Deduction& engine;
  const Value& client;  // the service client
  const Value& guid;
  std::string_view side_name;
};

bool create_scenario(const Creation& given, Value info_dict) {
  auto scenario = std::make_shared<Scenario>(given.guid, "scenario", "ALL_SIDE");
  given.engine.set_element_info(*scenario, std::move(info_dict));
  given.engine.elements.set(given.guid, scenario);
  scenario->set_attribute(names::kGameServer, given.client);
  given.engine.scenario_obj = std::move(scenario);
  return true;
}

bool create_side(const Creation& given, Value info_dict) {
  if (const auto* player = given.engine.players.find(given.side_name)) {
    given.engine.elements.set(given.guid, *player);
    given.engine.set_element_info(**player, std::move(info_dict));
  } else {
    log_or_print(given.engine, LogLevel::error, fmt::sprintf("创建推演方-%s-无对应智能体!", given.side_name));
  }
  return true;
}

bool create_mission(const Creation& given, const MissionKind& kind, Value info_dict) {
  const auto* player = given.engine.players.find(given.side_name);
  if (player == nullptr) return false;
  const Value name = info_dict.as_dict().get(names::kName);
  if (!name.truthy()) {
    log_or_print(given.engine, LogLevel::error, kind.no_name);
    return true;
  }
  const std::shared_ptr<Element> mission = kind.make(given.guid, name, given.side_name);
  mission->set_attribute(names::kGameServer, given.client);
  // The escort of a strike is a record of its own and needs the client as well.
  if (const auto* strike = dynamic_cast<const StrikeMission*>(mission.get())) {
    strike->escort().set(names::kGameServer, given.client);
  }
  given.engine.set_element_info(*mission, std::move(info_dict));
  (*player)->missions_obj.set(cf::text_of(name), mission);
  given.engine.elements.set(given.guid, mission);
  return true;
}

bool create_unit(const Creation& given, const UnitKind& kind, Value info_dict) {
  const Value* name = info_dict.as_dict().find(names::kName);
  const auto* player = given.engine.players.find(given.side_name);
  if (player == nullptr) {
    log_or_print(given.engine, LogLevel::error,
                 fmt::sprintf(kind.no_side, name != nullptr ? name->to_text() : "", given.side_name));
    return true;
  }
  if (name == nullptr || !name->truthy()) {
    log_or_print(given.engine, LogLevel::error, fmt::sprintf(kind.no_name, given.guid.as_text()));
    return true;
  }
  std::shared_ptr<Element> unit;
  {
    const GameUnit::CreationKey key(given.side_name);
    unit = kind.make(given.guid, *name, given.side_name);
  }
  unit->set_attribute(names::kGameServer, given.client);
  // Before it is registered: an invalid record leaves no half-made unit behind.
  given.engine.set_element_info(*unit, std::move(info_dict));
  (*player)->add_unit(given.guid, kind.type, unit);
  given.engine.elements.set(given.guid, unit);
  return true;
}

}  // namespace

bool Deduction::create_element(const Value& guid, Value info_dict, ElementType element_type,
                               std::string_view side_name) {
  const Creation given{*this, game_value_, guid, side_name};
  if (element_type == ElementType::Scenario) return create_scenario(given, std::move(info_dict));
  if (element_type == ElementType::Side) return create_side(given, std::move(info_dict));
  if (const auto* kind = row_of(kMissionKinds, element_type)) return create_mission(given, *kind, std::move(info_dict));
  if (const auto* kind = row_of(kUnitKinds, element_type)) return create_unit(given, *kind, std::move(info_dict));
  return false;
}

void Deduction::delete_element(std::string_view guid) {
  Element* element = find_element(*this, guid);
  if (element == nullptr) return;
  const ElementType type = element->element_type();
  const auto* player = players.find(element->get_attribute(names::kSide).to_text());
  if (player == nullptr) {
    elements.erase(guid);
    return;
  }
  const std::string name = element->get_attribute(names::kName).to_text();
  for (const std::string& removed : (*player)->delete_element(guid, type, name)) elements.erase(removed);
}

}  // namespace tessra
