// The list form of deletions: typed items for one side, for hosts that receive them so.

#include <fmt/format.h>
#include <fmt/printf.h>

#include <algorithm>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/deduce_RL/element_lookup.h"
#include "Tessra/entitys/deduce_RL/messages.h"

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

/// The items of one side.
class ListDeletion {
 public:
  ListDeletion(Deduction& engine, RuleAgentBase& player) : engine_(engine), player_(player) {}

  void run(const List& items) {
    for (const Value& item : items) delete_item(item.as_dict());
    for (const std::string& id : deleted_) engine_.elements.erase(id);
  }

 private:
  void delete_item(const Dict& item);
  void delete_missions(const Value& category, const List& ids);
  void delete_units(const Value& category, const List& ids);
  void delete_side_attributes(const Value& attribute, const List& ids);
  void note_deleted(const List& ids) {
    for (const Value& id : ids) deleted_.push_back(id.to_text());
  }

  Deduction& engine_;
  RuleAgentBase& player_;
  std::vector<std::string> deleted_;  // leave the registry at the end, and not at all when an item fails
};

void ListDeletion::delete_item(const Dict& item) {
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
        delete_missions(name, ids);
        break;
      case kSimEvents:
        remove_required(known_scenario(engine_).get_dict("SimEvents"), ids);
        break;
      case kEventTriggers:
        remove_of_type(known_scenario(engine_), "EventTriggers", name, ids);
        break;
      case kEventConditions:
        remove_of_type(known_scenario(engine_), "EventConditions", name, ids);
        break;
      case kEventActions:
        remove_of_type(known_scenario(engine_), "EventActions", name, ids);
        break;
      case kNonActiveUnits:
        remove_of_type(known_scenario(engine_), "THNonActiveUnitColl", name, ids);
        break;
      case kUnits:
        delete_units(name, ids);
        break;
      case kSideAttributes:
        delete_side_attributes(name, ids);
        break;
      case kContacts:
        if (name.is_text("Contacts")) remove_required(player_.get_dict("Contacts"), ids);
        break;
      default:
        break;
    }
  }
}

void ListDeletion::delete_missions(const Value& category, const List& ids) {
  note_deleted(ids);
  const ElementType* type = classname2element(category);
  for (const Value& id : ids) {
    const std::string name = engine_.elements.at(id.to_text())->get_attribute("Name").to_text();
    if (type != nullptr) {
      player_.delete_element(id.to_text(), *type, name);
    } else {
      log_or_print(engine_, LogLevel::error, fmt::sprintf("出错！类型-%s-没有在定义类型中!", category.to_text()));
    }
  }
}

void ListDeletion::delete_units(const Value& category, const List& ids) {
  note_deleted(ids);
  const ElementType* type = classname2element(category);
  for (const Value& id : ids) {
    if (type != nullptr) {
      player_.delete_element(id.to_text(), *type);
    } else {
      log_or_print(engine_, LogLevel::error,
                   fmt::sprintf("出错！删除单元，类型-%s-没有在定义类型中!", category.to_text()));
    }
  }
}

void ListDeletion::delete_side_attributes(const Value& attribute, const List& ids) {
  if (is_side_table(attribute)) {
    remove_required(player_.get_dict(attribute), ids);
  } else if (attribute.is_text("ActiveUnitsInfo")) {
    note_deleted(ids);
    for (const Value& id : ids) {
      if (auto* const unit = element_of(engine_, id)) player_.delete_element(id.to_text(), unit->element_type());
    }
  }
}

}  // namespace

void Deduction::delete_elements(const Value& side_del_data, RuleAgentBase& player_obj) {
  guarded([&] { ListDeletion(*this, player_obj).run(side_del_data.as_list()); },
          [&](const std::exception_ptr& error) {
            log_or_print(*this, LogLevel::error, fmt::format("删除信息失败:{}", error_text(error)));
          });
}

}  // namespace tessra
