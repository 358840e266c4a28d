// The list form of deletions: typed items for one side, for hosts that receive them so.

#include <fmt/format.h>
#include <fmt/printf.h>

#include <algorithm>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra {

namespace {

/// What an item deletes.
enum StructType : std::int64_t {
  kMissions = 1,
  kSimEvents = 2,
  kEventTriggers = 3,
  kEventConditions = 4,
  kEventActions = 5,
  kNonActiveUnits = 6,
  kUnits = 7,
  kSideAttributes = 8,
  kContacts = 9,
};

/// Removes ids that must be there.
void remove_required(Dict table, const List& ids) {
  for (const Value& id : ids) {
    if (!table.erase(id)) throw KeyError("missing key '" + id.to_text() + "'");
  }
}

/// Of a scenario table keyed by type: removes the ids from the type's dictionary, when there is one.
void remove_of_type(Element& scenario, std::string_view table_name, const Value& type, const List& ids) {
  Dict table = scenario.get_dict(table_name);
  if (Dict* inner = table.find_dict(type)) remove_required(*inner, ids);
}

bool is_side_table(const Value& name) {
  constexpr std::string_view kTables[] = {"ReferencePoints", "WeaponRecs", "SpecialActions",
                                          "ExclusionZones",  "NoNavZones", "AirCorridorZones"};
  return name.is_string() && std::ranges::find(kTables, name.as_text()) != std::end(kTables);
}

void append(std::vector<std::string>& deleted, const List& ids) {
  for (const Value& id : ids) deleted.push_back(id.to_text());
}

}  // namespace

void Deduction::delete_elements(const Value& side_del_data, RuleAgentBase& player_obj) {
  guarded(
      [&] {
        std::vector<std::string> deleted;
        for (const Value& item : side_del_data.as_list()) delete_item(item.as_dict(), player_obj, deleted);
        for (const std::string& id : deleted) elements.erase(id);
      },
      [&](const std::exception_ptr& error) {
        log_or_print(LogLevel::error, fmt::format("删除信息失败:{}", error_text(error)));
      });
}

void Deduction::delete_item(const Dict& item, RuleAgentBase& player, std::vector<std::string>& deleted) {
  const Value& struct_type = item.at("StructType");
  const std::int64_t type = struct_type.is_number() ? struct_type.to_integer() : 0;
  if (type < kMissions || type > kContacts || struct_type != Value(type)) return;
  for (auto [name, entry] : item.at_dict("v")) {
    const Dict& record = entry.as_dict();
    const bool skips_empty = type == kSideAttributes || type == kContacts;
    if (skips_empty ? !record.non_empty("v") : !record.contains("v")) continue;
    const List& ids = record.at_list("v");
    if (ids.empty()) continue;  // touches nothing, asks for nothing
    switch (type) {
      case kMissions:
        delete_item_missions(name, ids, player, deleted);
        break;
      case kSimEvents:
        remove_required(known_scenario().get_dict("SimEvents"), ids);
        break;
      case kEventTriggers:
        remove_of_type(known_scenario(), "EventTriggers", name, ids);
        break;
      case kEventConditions:
        remove_of_type(known_scenario(), "EventConditions", name, ids);
        break;
      case kEventActions:
        remove_of_type(known_scenario(), "EventActions", name, ids);
        break;
      case kNonActiveUnits:
        remove_of_type(known_scenario(), "THNonActiveUnitColl", name, ids);
        break;
      case kUnits:
        delete_item_units(name, ids, player, deleted);
        break;
      case kSideAttributes:
        delete_item_side(name, ids, player, deleted);
        break;
      case kContacts:
        if (name.is_text("Contacts")) remove_required(player.get_dict("Contacts"), ids);
        break;
      default:
        break;
    }
  }
}

void Deduction::delete_item_missions(const Value& category, const List& ids, RuleAgentBase& player,
                                     std::vector<std::string>& deleted) {
  append(deleted, ids);
  const ElementType* type = classname2element(category);
  for (const Value& id : ids) {
    const std::string name = elements.at(id.to_text())->get_attribute("Name").to_text();
    if (type != nullptr) {
      player.delete_element(id.to_text(), *type, name);
    } else {
      log_or_print(LogLevel::error, fmt::sprintf("出错！类型-%s-没有在定义类型中!", category.to_text()));
    }
  }
}

void Deduction::delete_item_units(const Value& category, const List& ids, RuleAgentBase& player,
                                  std::vector<std::string>& deleted) {
  append(deleted, ids);
  const ElementType* type = classname2element(category);
  for (const Value& id : ids) {
    if (type != nullptr) {
      player.delete_element(id.to_text(), *type);
    } else {
      log_or_print(LogLevel::error, fmt::sprintf("出错！删除单元，类型-%s-没有在定义类型中!", category.to_text()));
    }
  }
}

void Deduction::delete_item_side(const Value& attribute, const List& ids, RuleAgentBase& player,
                                 std::vector<std::string>& deleted) {
  if (is_side_table(attribute)) {
    remove_required(player.get_dict(attribute), ids);
  } else if (attribute.is_text("ActiveUnitsInfo")) {
    append(deleted, ids);
    for (const Value& id : ids) {
      if (auto* const unit = element_of(id)) player.delete_element(id.to_text(), unit->element_type());
    }
  }
}

}  // namespace tessra
