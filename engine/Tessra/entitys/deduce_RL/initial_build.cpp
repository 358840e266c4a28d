// Building the model from an initial situation. Sides that only a friend can see get a view but no elements.

#include <fmt/printf.h>

#include <algorithm>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/deduce_RL/agent_calls.h"
#include "Tessra/entitys/deduce_RL/contact_sharing.h"
#include "Tessra/entitys/deduce_RL/element_lookup.h"
#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

bool Deduction::process_init_situation(const Value& situation) {
  if (!has_sides(situation)) {
    log_or_print(*this, LogLevel::error, fmt::sprintf("推演第%d局处理初始化态势失败，收到态势为空！", current_round));
    return false;
  }
  const bool built = guarded(
      [&] {
        if (is_ai_apply) get_sides_info_from_situation(situation.as_dict());
        initial_all_units(situation.as_dict());
      },
      [&](const std::exception_ptr& error) {
        log_or_print(*this, LogLevel::error,
                     fmt::sprintf("推演第%d局处理初始化态势失败，错误:%s！", current_round, error_text(error)));
      });
  if (!built) return false;

  update_simulate_info();
  for (const auto& [side, player] : players) {
    if (names_key.truthy()) player->update_units_of_names();
    player->set_simulate_time(simulate_time);
    player->set_scenario_duration(scenario_obj->get_attribute("Duration"));
  }
  // The registry also holds the players and the scenario.
  const auto total = static_cast<std::int64_t>(elements.size()) - static_cast<std::int64_t>(players.size()) - 1;
  log_or_print(*this, LogLevel::info,
               fmt::sprintf("推演第%d局处理初始化态势完成, 单元和任务总数:%d", current_round, total));
  return true;
}

void Deduction::get_sides_info_from_situation(const Dict& all_situation) {
  const Dict* scenario = all_situation.find_dict("ScenarioInfo");
  const Dict* sides = scenario != nullptr ? scenario->find_dict("SideInfo") : nullptr;
  if (sides == nullptr) return;

  Dict friends;  // side id → the sides whose posture toward it is friendly
  for (auto [side_id, descriptor] : *sides) {
    const Dict* postures = entry_dict(side_id, descriptor).find_dict("Postures");
    if (postures == nullptr) continue;
    for (auto [other_id, posture] : *postures) {
      if (posture != Value(1)) continue;
      if (!friends.contains(other_id)) friends.set(other_id, List());
      friends.at(other_id).as_list().push_back(side_id);
    }
  }
  for (auto [side_id, descriptor] : *sides) {
    const Value* found = friends.find(side_id);
    sides_info.as_dict().set(side_id, Dict{{"Name", entry_dict(side_id, descriptor).at("Name")},
                                           {"Friend", found != nullptr ? *found : Value(List())}});
  }
  init_friend_sides();
}

namespace {

/// The record of the first side with this name, or null. Entries that are not records are ignored; the build reports
/// them.
const Dict* side_named(const Value& sides_info, const Value& name) {
  const Dict* sides = sides_info.if_dict();
  if (sides == nullptr) return nullptr;
  for (auto [side_id, side] : *sides) {
    const Dict* record = side.if_dict();
    if (record != nullptr && record->contains("Name") && record->at("Name") == name) return record;
  }
  return nullptr;
}

}  // namespace

void Deduction::init_friend_sides() {
  friend_side_set = TextSet();
  for (auto [side, descriptions] : agents_side_config) {
    const Dict* record = side_named(sides_info, side);
    const Value friends = record != nullptr ? record->get("Friend") : Value();
    if (const List* ids = friends.if_list()) {
      for (const Value& id : *ids) friend_side_set.insert(id.to_text());
    }
  }
  need_set_friend_side = false;
}

namespace {

/// For friends, who see the side as delivered: the build consumes the view. Texts stay shared, since they never change.
SideView copy_of(const SideView& view) {
  return {view.units.deep_copy(Texts::shared), view.contacts.deep_copy(Texts::shared)};
}

void build_units(Deduction& engine, std::string_view side_name, Dict& units) {
  for (auto [unit_id, info] : units) {
    entry_dict(unit_id, info).set(names::kId, unit_id);
    const Value* code = info.as_dict().find(names::kUnitType);
    if (code == nullptr) continue;
    if (const auto type = unit_element_type(*code)) {
      engine.create_element(cf::text_of(unit_id), std::move(info), *type, side_name);
    } else {
      log_or_print(engine, LogLevel::error,
                   fmt::sprintf("初始化态势出错！单元-%s-在推演方-%s-未知UnitType值:%d!", unit_id.to_text(), side_name,
                                whole_number(*code)));
    }
  }
}

void build_side(Deduction& engine, const Value& side_id, const std::string& side_name, const Dict& side_situation,
                const Dict& scen, FriendViews& friend_views) {
  if (!side_situation.non_empty("Side")) {
    throw Error(fmt::sprintf("初始全量态势，推演方-%s-的Side没有有效值", side_id.to_text()));
  }
  if (!side_situation.non_empty("SideReal")) {
    throw Error(fmt::sprintf("初始全量态势，推演方-%s-的SideReal没有有效值", side_id.to_text()));
  }
  Dict side_part = side_situation.at_dict("Side");
  Dict real_part = side_situation.at_dict("SideReal");

  SideView view = engine.get_side_initial_situation(side_name, side_situation, true);
  if (engine.friend_side_set.contains(side_id.to_text())) friend_views.set(side_id.to_text(), copy_of(view));
  take_missions(side_part, [&](const Value& guid, Value& info, ElementType type) {
    engine.create_element(cf::text_of(guid), std::move(info), type, side_name);
  });
  build_units(engine, side_name, view.units);

  side_part.erase("ActiveUnitsInfo");
  real_part.erase("ActiveUnits");
  real_part.erase("Contacts");
  side_part.update(real_part);
  side_part.set("Contacts", view.contacts);
  if (const Dict* descriptor = side_descriptor(scen, side_id)) side_part.update(*descriptor);
  if (side_situation.non_empty("SideVitalChange")) side_part.update(side_situation.at_dict("SideVitalChange"));
  side_part.set(names::kId, side_id);
  engine.create_element(cf::text_of(side_id), side_part, ElementType::Side, side_name);
}

void build_scenario(Deduction& engine, const Dict& situation_data, Dict& scen, const Dict& situ) {
  if (!scen.contains("ScenarioID")) return;
  scen.erase("SideInfo");
  if (const Dict* info = situ.find_dict("SituationInfo")) scen.update(*info);
  if (situation_data.non_empty("Events")) scen.update(situation_data.at_dict("Events"));
  // Read here: what was merged into the scenario may have brought another one.
  engine.create_element(cf::text_of(scen.at("ScenarioID")), scen, ElementType::Scenario);
}

}  // namespace

void Deduction::initial_all_units(const Dict& situation_data) {
  Dict scen = situation_data.at_dict("ScenarioInfo");
  const Dict situ = situation_data.at_dict("Situation");
  for (auto [side_id, record] : sides_info.as_dict()) {
    side_id2name.set(side_id, entry_dict(side_id, record).at("Name"));
  }

  // Shared, not copied: situations show names for ids of sides.
  for (const auto& [side, player] : players) player->side_names = side_id2name;

  FriendViews friend_views;
  for (auto [side_id, side_situation] : situ.at_dict("SituationSides")) {
    const Value* side_name = side_id2name.find(side_id);
    if (side_name == nullptr) continue;
    if (agents_side_config.contains(*side_name)) {
      build_side(*this, side_id, side_name->to_text(), entry_dict(side_id, side_situation), scen, friend_views);
    } else if (friend_side_set.contains(side_id.to_text())) {
      friend_views.set(side_id.to_text(),
                       get_side_initial_situation(side_name->to_text(), entry_dict(side_id, side_situation)));
    }
  }
  share_initial_contacts(*this, friend_views);
  build_scenario(*this, situation_data, scen, situ);
}

std::vector<std::string> Deduction::unreported_sides() const {
  std::vector<std::string> sides;
  for (const auto& [side, player] : players) {
    const bool is_reported = std::any_of(side_id2name.begin(), side_id2name.end(), [&, &own = player](const auto& it) {
      return element_of(*this, it.key) == own.get();
    });
    if (!is_reported) sides.emplace_back(side);
  }
  return sides;
}

void Deduction::set_all_side_data() {
  for (const auto& [own_side, player] : players) {
    player->current_players = {};
    for (const auto& [side, other] : players) {
      if (player->get_attribute("Side") != Value(side)) player->current_players.set(side, other.get());
    }
  }
}

}  // namespace tessra
