// The deletion pass over an update record. It reads the record part by part (`Side`, `SideReal`, `SidePosition`) in a
// fixed order, because later parts depend on what earlier ones have treated as deleted.

#include <fmt/format.h>
#include <fmt/printf.h>

#include <algorithm>

#include "Tessra/entitys/deduce_RL/agent_calls.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/deletion_entries.h"
#include "Tessra/entitys/deduce_RL/element_lookup.h"
#include "Tessra/entitys/deduce_RL/messages.h"

namespace tessra {

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

/// The listed shooters leave that salvo's own `Shooters`, where the side holds it.
void delete_shooters(RuleAgentBase& player, const Dict& salvos) {
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

/// One pass over a record's deletions. Elements leave their players' tables at once and the registry at the end: what
/// the record deletes inside an element is looked for there, also when the element itself goes.
class DeletionPass {
 public:
  explicit DeletionPass(Deduction& engine) : engine_(engine) {}
  void run(const Dict& record);

 private:
  void delete_non_active_units(const Dict& situation);
  void delete_in_side(const Value& side_id, const Dict& record);
  void delete_in_basic_part(RuleAgentBase& player, const Dict& side);
  void delete_listed_units(RuleAgentBase& player, const List& ids);
  void delete_missions(RuleAgentBase& player, const Dict& missions);
  void delete_in_missions(RuleAgentBase& player, const Dict& missions);
  void delete_in_cargo_missions(RuleAgentBase& player, const Dict& missions);
  void delete_in_live_part(RuleAgentBase& player, const Dict& real);
  void delete_active_units(RuleAgentBase& player, const Value& category, const List& ids);
  void delete_in_active_units(RuleAgentBase& player, const Dict& active);
  void delete_by_positions(RuleAgentBase& player, const Dict& positions);

  /// Null, and a message, for a category that is none.
  const ElementType* known_type(const Value& category) const;
  void append(const List& listed) {
    for (const Value& id : listed) ids_.push_back(id.to_text());
  }

  Deduction& engine_;
  std::vector<std::string> ids_;  // whose registry entries go at the end; an id may stand here more than once
  TextSet units_;                 // treated as deleted already
};

void DeletionPass::run(const Dict& record) {
  if (const Dict* situation = filled(record, "Situation")) {
    delete_non_active_units(*situation);
    if (const Dict* sides = filled(*situation, "SituationSides")) {
      for (auto [side_id, side] : *sides) delete_in_side(side_id, entry_dict(side_id, side));
    }
  }
  engine_.crt_delete_units.insert(units_.begin(), units_.end());
  engine_.parse_delete_events(record.get("Events"));
  for (const std::string& id : ids_) engine_.elements.erase(id);
}

void DeletionPass::delete_non_active_units(const Dict& situation) {
  const Dict* info = filled(situation, "SituationInfo");
  const Dict* units = info != nullptr ? filled(*info, "NonActiveUnits") : nullptr;
  if (units == nullptr || !units->non_empty("mapdel")) return;
  if (Dict* own = stored_table(known_scenario(engine_), "NonActiveUnits")) remove_inner_ids(*own, *units);
}

void DeletionPass::delete_in_side(const Value& side_id, const Dict& record) {
  const Value side_name = engine_.side_id2name.get(side_id);
  if (!side_name.truthy()) return;
  const auto* player = engine_.players.find(side_name.to_text());
  if (player == nullptr) return;
  work_on(engine_, side_name.to_text());
  if (const Dict* side = filled(record, "Side")) delete_in_basic_part(**player, *side);
  if (const Dict* real = filled(record, "SideReal")) delete_in_live_part(**player, *real);
  if (const Dict* positions = filled(record, "SidePosition")) delete_by_positions(**player, *positions);
  work_on(engine_, "");
}

// ---- Side -------------------------------------------------------------------------------------------------------

void DeletionPass::delete_in_basic_part(RuleAgentBase& player, const Dict& side) {
  for_each_deletion(side, [&](const Value& attribute, const List& ids) {
    if (is_one_of(kSideTables, attribute)) {
      remove_stored(player, attribute, ids);
    } else if (attribute.is_text("ActiveUnitsInfo")) {
      delete_listed_units(player, ids);
    }
  });
  if (const Dict* missions = filled(side, "Missions")) {
    delete_missions(player, *missions);
    delete_in_missions(player, *missions);
    delete_in_cargo_missions(player, *missions);
  }
  if (side.non_empty("Doctrine")) engine_.parse_delete_doctrine(player, side);
  if (const Dict* units = filled(side, "ActiveUnitsInfo")) {
    for (auto [unit_id, record] : *units) {
      Element* const unit = element_of(engine_, unit_id);
      if (unit != nullptr && entry_dict(unit_id, record).contains(names::kDoctrine)) {
        engine_.parse_delete_doctrine(*unit, record.as_dict());
      }
    }
  }
}

void DeletionPass::delete_listed_units(RuleAgentBase& player, const List& ids) {
  append(ids);
  units_ = TextSet(ids_.begin(), ids_.end());  // later parts skip what is listed here
  for (const Value& id : ids) {
    if (auto* const unit = element_of(engine_, id)) {
      player.delete_element(id.to_text(), unit->element_type());
    } else {
      log_or_print(engine_, LogLevel::error, fmt::sprintf("出错！删除单元，类型-%s-没有被创建!", id.to_text()));
    }
  }
}

void DeletionPass::delete_missions(RuleAgentBase& player, const Dict& missions) {
  for_each_deletion(missions, [&](const Value& category, const List& ids) {
    append(ids);
    const ElementType* type = classname2element(category);
    if (type == nullptr) {
      log_or_print(engine_, LogLevel::error, fmt::sprintf("出错！任务类型-%s-没有在定义类型中!", category.to_text()));
      return;
    }
    for (const Value& id : ids) {
      auto* const mission = element_of(engine_, id);
      if (mission == nullptr) continue;
      player.delete_element(id.to_text(), *type, mission->get_attribute("Name").to_text());
    }
  });
}

void DeletionPass::delete_in_missions(RuleAgentBase& player, const Dict& missions) {
  for (auto [category, by_id] : missions) {
    if (classname2element(category) == nullptr) continue;
    for (auto [mission_id, record] : entry_dict(category, by_id)) {
      auto* const registered = element_of(engine_, mission_id);
      if (registered == nullptr) {
        log_or_print(engine_, LogLevel::error,
                     fmt::sprintf("出错！任务ID-%s-没有创建，但需删除其中元素!", mission_id.to_text()));
        continue;
      }
      const auto* mission = player.missions_obj.find(registered->get_attribute("Name").to_text());
      const Dict* inner = entry_dict(mission_id, record).find_dict("Mission");
      if (mission == nullptr || inner == nullptr) continue;
      for_each_deletion(*inner, [&](const Value& attribute, const List& ids) {
        if (attribute.is_text("Flight")) remove_stored(**mission, attribute, ids);
      });
      if (inner->contains("Doctrine")) engine_.parse_delete_doctrine(**mission, *inner);
    }
  }
}

void DeletionPass::delete_in_cargo_missions(RuleAgentBase& player, const Dict& missions) {
  const Dict* cargo = filled(missions, "Cargo");
  if (cargo == nullptr) return;
  for (auto [mission_id, record] : *cargo) {
    auto* const registered = element_of(engine_, mission_id);
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

void DeletionPass::delete_in_live_part(RuleAgentBase& player, const Dict& real) {
  for_each_deletion(real, [&](const Value& attribute, const List& ids) {
    if (is_one_of(kLiveTables, attribute)) remove_stored(player, attribute, ids);
  });
  if (const Dict* salvos = filled(real, "WeaponSalvos")) delete_shooters(player, *salvos);
  if (const Dict* active = filled(real, "ActiveUnits")) delete_in_active_units(player, *active);
  if (const Dict* contacts = filled(real, "Contacts")) {
    Dict own = player.get_dict("Contacts");
    for (auto [contact_id, record] : *contacts) {
      if (Dict* contact = own.find_dict(contact_id)) remove_inner_ids(*contact, entry_dict(contact_id, record));
    }
  }
}

void DeletionPass::delete_in_active_units(RuleAgentBase& player, const Dict& active) {
  for_each_deletion(active,
                    [&](const Value& category, const List& ids) { delete_active_units(player, category, ids); });
  // A unit deleted just now is still registered and still handled here.
  for (auto [category, units] : active) {
    if (classname2element(category) == nullptr) continue;
    for (auto [unit_id, record] : entry_dict(category, units)) {
      Element* const unit = element_of(engine_, unit_id);
      if (unit != nullptr) engine_.del_unit_component(*unit, entry_dict(unit_id, record));
    }
  }
}

void DeletionPass::delete_active_units(RuleAgentBase& player, const Value& category, const List& ids) {
  const ElementType* type = known_type(category);
  if (type == nullptr) return;
  for (const Value& listed : ids) {
    const std::string id = listed.to_text();
    if (!units_.insert(id).second) continue;
    ids_.push_back(id);
    if (find_element(engine_, id) != nullptr) {
      player.delete_element(id, *type);
    } else {
      // The two outputs spell this message differently.
      const char* form = engine_.logger != nullptr ? "出错！删除单元，类型-%s-id:%s-没有被创建!"
                                                   : "出错！删除单元，类型-%s-id:-%s-没有被创建!";
      log_or_print(engine_, LogLevel::error, fmt::sprintf(form, category.to_text(), id));
    }
  }
}

const ElementType* DeletionPass::known_type(const Value& category) const {
  const ElementType* type = classname2element(category);
  if (type == nullptr) {
    log_or_print(engine_, LogLevel::error, fmt::sprintf("出错！类型-%s-没有在定义类型中!", category.to_text()));
  }
  return type;
}

// ---- SidePosition -----------------------------------------------------------------------------------------------

void DeletionPass::delete_by_positions(RuleAgentBase& player, const Dict& positions) {
  for_each_deletion(positions, [&](const Value& attribute, const List& ids) {
    if (attribute.is_text("Contacts")) {
      // A contact without a position is of no use to an agent: it leaves the player's contacts.
      remove_stored(player, attribute, ids);
      return;
    }
    const ElementType* type = known_type(attribute);
    if (type == nullptr) return;
    append(ids);
    for (const Value& listed : ids) {
      const std::string id = listed.to_text();
      if (!units_.insert(id).second) continue;
      ids_.push_back(id);
      player.delete_element(id, *type);
    }
  });
}

}  // namespace

void Deduction::parse_delete_situation(const Dict& situation_data) { DeletionPass(*this).run(situation_data); }

}  // namespace tessra
