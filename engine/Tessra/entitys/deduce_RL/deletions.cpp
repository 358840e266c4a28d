#include <fmt/format.h>
#include <fmt/printf.h>

#include <algorithm>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/deletion_entries.h"
#include "Tessra/entitys/deduce_RL/table_walks.h"

namespace tessra {

/// What one pass over a record's deletions gathers.
struct Deduction::DeletionPass {
  /// Ids whose registry entries go at the end; an id may stand here more than once.
  std::vector<std::string> ids;
  /// Units treated as deleted already.
  TextSet units;

  void append(const List& listed) {
    for (const Value& id : listed) ids.push_back(id.to_text());
  }
};

namespace {

constexpr std::string_view kSideTables[] = {"ReferencePoints", "SpecialActions", "ExclusionZones", "NoNavZones",
                                            "AirCorridorZones"};
constexpr std::string_view kLiveTables[] = {"WeaponSalvos", "Contacts"};

template <std::size_t kCount>
bool is_one_of(const std::string_view (&names)[kCount], const Value& name) {
  return name.is_string() && std::ranges::find(names, name.as_text()) != std::end(names);
}

/// The record under the key when it is there and not empty.
const Dict* filled(const Dict& record, const KeyRef& key) {
  return record.non_empty(key) ? &record.at_dict(key) : nullptr;
}

}  // namespace

void Deduction::parse_delete_situation(const Dict& situation_data) {
  DeletionPass pass;
  if (const Dict* situation = filled(situation_data, "Situation")) {
    delete_non_active_units(*situation);
    if (const Dict* sides = filled(*situation, "SituationSides")) {
      for (auto [side_id, record] : *sides) delete_in_side(side_id, entry_dict(side_id, record), pass);
    }
  }
  crt_delete_units.insert(pass.units.begin(), pass.units.end());
  parse_delete_events(situation_data.get("Events"));
  for (const std::string& id : pass.ids) elements.erase(id);
}

void Deduction::delete_non_active_units(const Dict& situation) {
  const Dict* info = filled(situation, "SituationInfo");
  const Dict* units = info != nullptr ? filled(*info, "NonActiveUnits") : nullptr;
  if (units == nullptr || !units->non_empty("mapdel")) return;
  if (Dict* own = stored_table(known_scenario(), "NonActiveUnits")) remove_inner_ids(*own, *units);
}

void Deduction::delete_in_side(const Value& side_id, const Dict& record, DeletionPass& pass) {
  const Value side_name = side_id2name.get(side_id);
  if (!side_name.truthy()) return;
  const auto* player = players.find(side_name.to_text());
  if (player == nullptr) return;
  work_on(side_name.to_text());
  if (const Dict* side = filled(record, "Side")) delete_in_basic_part(**player, *side, pass);
  if (const Dict* real = filled(record, "SideReal")) delete_in_live_part(**player, *real, pass);
  if (const Dict* positions = filled(record, "SidePosition")) delete_by_positions(**player, *positions, pass);
  work_on("");
}

// ---- Side -------------------------------------------------------------------------------------------------------

void Deduction::delete_in_basic_part(RuleAgentBase& player, const Dict& side, DeletionPass& pass) {
  for_each_deletion(side, [&](const Value& attribute, const List& ids) {
    if (is_one_of(kSideTables, attribute)) {
      remove_stored(player, attribute, ids);
    } else if (attribute.is_text("ActiveUnitsInfo")) {
      delete_listed_units(player, ids, pass);
    }
  });
  if (const Dict* missions = filled(side, "Missions")) {
    delete_missions(player, *missions, pass);
    delete_in_missions(player, *missions);
    delete_in_cargo_missions(player, *missions);
  }
  if (side.non_empty("Doctrine")) parse_delete_doctrine(player, side);
  if (const Dict* units = filled(side, "ActiveUnitsInfo")) {
    visit_found(*units, elements_of(*units), [this](const Value& unit_id, const Value& record, Element* unit) {
      if (unit != nullptr && entry_dict(unit_id, record).contains(names::kDoctrine)) {
        parse_delete_doctrine(*unit, record.as_dict());
      }
    });
  }
}

void Deduction::delete_listed_units(RuleAgentBase& player, const List& ids, DeletionPass& pass) {
  pass.append(ids);
  pass.units = TextSet(pass.ids.begin(), pass.ids.end());
  for (const Value& id : ids) {
    if (auto* const unit = element_of(id)) {
      player.delete_element(id.to_text(), unit->element_type());
    } else {
      log_or_print(LogLevel::error, fmt::sprintf("出错！删除单元，类型-%s-没有被创建!", id.to_text()));
    }
  }
}

void Deduction::delete_missions(RuleAgentBase& player, const Dict& missions, DeletionPass& pass) {
  for_each_deletion(missions, [&](const Value& category, const List& ids) {
    pass.append(ids);
    const ElementType* type = classname2element(category);
    if (type == nullptr) {
      log_or_print(LogLevel::error, fmt::sprintf("出错！任务类型-%s-没有在定义类型中!", category.to_text()));
      return;
    }
    for (const Value& id : ids) {
      auto* const mission = element_of(id);
      if (mission == nullptr) continue;
      player.delete_element(id.to_text(), *type, mission->get_attribute("Name").to_text());
    }
  });
}

void Deduction::delete_in_missions(RuleAgentBase& player, const Dict& missions) {
  for (auto [category, by_id] : missions) {
    if (classname2element(category) == nullptr) continue;
    for (auto [mission_id, record] : entry_dict(category, by_id)) {
      auto* const registered = element_of(mission_id);
      if (registered == nullptr) {
        log_or_print(LogLevel::error,
                     fmt::sprintf("出错！任务ID-%s-没有创建，但需删除其中元素!", mission_id.to_text()));
        continue;
      }
      const auto* mission = player.missions_obj.find(registered->get_attribute("Name").to_text());
      const Dict* inner = entry_dict(mission_id, record).find_dict("Mission");
      if (mission == nullptr || inner == nullptr) continue;
      for_each_deletion(*inner, [&](const Value& attribute, const List& ids) {
        if (attribute.is_text("Flight")) remove_stored(**mission, attribute, ids);
      });
      if (inner->contains("Doctrine")) parse_delete_doctrine(**mission, *inner);
    }
  }
}

void Deduction::delete_in_cargo_missions(RuleAgentBase& player, const Dict& missions) {
  const Dict* cargo = filled(missions, "Cargo");
  if (cargo == nullptr) return;
  for (auto [mission_id, record] : *cargo) {
    auto* const registered = element_of(mission_id);
    if (registered == nullptr) continue;
    const auto* mission = player.missions_obj.find(registered->get_attribute("Name").to_text());
    if (mission == nullptr) continue;
    for_each_deletion(entry_dict(mission_id, record), [&](const Value& attribute, const List& ids) {
      // A mission of another kind under this name has no such table.
      if (attribute.is_text("MountsToUnload")) remove_stored(**mission, attribute, ids);
    });
  }
}

// ---- SideReal ---------------------------------------------------------------------------------------------------

void Deduction::delete_in_live_part(RuleAgentBase& player, const Dict& real, DeletionPass& pass) {
  for_each_deletion(real, [&](const Value& attribute, const List& ids) {
    if (is_one_of(kLiveTables, attribute)) remove_stored(player, attribute, ids);
  });
  if (const Dict* salvos = filled(real, "WeaponSalvos")) delete_shooters(player, *salvos);
  if (const Dict* active = filled(real, "ActiveUnits")) delete_in_active_units(player, *active, pass);
  if (const Dict* contacts = filled(real, "Contacts")) {
    Dict own = player.get_dict("Contacts");
    for (auto [contact_id, record] : *contacts) {
      if (Dict* contact = own.find_dict(contact_id)) remove_inner_ids(*contact, entry_dict(contact_id, record));
    }
  }
}

void Deduction::delete_shooters(RuleAgentBase& player, const Dict& salvos) {
  // The listed shooters leave that salvo's own `Shooters`, where the side holds it.
  Dict* own = stored_table(player, "WeaponSalvos");
  if (own == nullptr) return;
  for (auto [salvo_id, record] : salvos) {
    if (!record.is_dict()) continue;
    const Value& id = salvo_id;
    for_each_deletion(record.as_dict(), [&](const Value& attribute, const List& ids) {
      Dict* salvo = attribute.is_text("Shooters") ? own->find_dict(id) : nullptr;
      Value* shooters = salvo != nullptr ? salvo->find("Shooters") : nullptr;
      if (shooters != nullptr && shooters->is_dict()) remove_ids(shooters->as_dict(), ids);
    });
  }
}

void Deduction::delete_in_active_units(RuleAgentBase& player, const Dict& active, DeletionPass& pass) {
  for_each_deletion(active, [&](const Value& category, const List& ids) {
    const ElementType* type = classname2element(category);
    if (type == nullptr) {
      log_or_print(LogLevel::error, fmt::sprintf("出错！类型-%s-没有在定义类型中!", category.to_text()));
      return;
    }
    for (const Value& listed : ids) {
      const std::string id = listed.to_text();
      if (!pass.units.insert(id).second) continue;
      pass.ids.push_back(id);
      if (find_element(id) != nullptr) {
        player.delete_element(id, *type);
      } else {
        // The two outputs spell this message differently.
        const char* form = logger != nullptr ? "出错！删除单元，类型-%s-id:%s-没有被创建!"
                                             : "出错！删除单元，类型-%s-id:-%s-没有被创建!";
        log_or_print(LogLevel::error, fmt::sprintf(form, category.to_text(), id));
      }
    }
  });
  // A unit deleted just now is still registered and still handled here.
  for (auto [category, units] : active) {
    if (classname2element(category) == nullptr) continue;
    const Dict& records = entry_dict(category, units);
    visit_found(records, elements_of(records), [this](const Value& unit_id, const Value& record, Element* unit) {
      if (unit != nullptr) del_unit_component(*unit, entry_dict(unit_id, record));
    });
  }
}

// ---- SidePosition -----------------------------------------------------------------------------------------------

void Deduction::delete_by_positions(RuleAgentBase& player, const Dict& positions, DeletionPass& pass) {
  for_each_deletion(positions, [&](const Value& attribute, const List& ids) {
    if (attribute.is_text("Contacts")) {
      // A contact without a position is of no use to an agent: it leaves the player's contacts.
      remove_stored(player, attribute, ids);
      return;
    }
    const ElementType* type = classname2element(attribute);
    if (type == nullptr) {
      log_or_print(LogLevel::error, fmt::sprintf("出错！类型-%s-没有在定义类型中!", attribute.to_text()));
      return;
    }
    pass.append(ids);
    for (const Value& listed : ids) {
      const std::string id = listed.to_text();
      if (!pass.units.insert(id).second) continue;
      pass.ids.push_back(id);
      player.delete_element(id, *type);
    }
  });
}

Scenario& Deduction::known_scenario() const {
  if (scenario_obj == nullptr) throw Error("there is no scenario element");
  return *scenario_obj;
}

}  // namespace tessra
