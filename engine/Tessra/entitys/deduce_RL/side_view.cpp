// A side's record comes in three parts: basic information (`Side`), the live state (`SideReal`) and positions
// (`SidePosition`). The operations here join them per unit and per contact into the view that agents receive. The view
// shares its dictionaries with the record, so joining changes the record: it extends some of them and empties others.

#include <fmt/printf.h>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/deduce_RL/table_walks.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

namespace {

/// Takes the inner live record out of a unit's live record.
std::optional<Dict> take_active_unit(Dict& live) {
  const Dict* found = live.find_dict(names::kActiveUnit);
  if (found == nullptr) return std::nullopt;
  Dict inner = *found;
  live.erase(names::kActiveUnit);
  return inner;
}

/// The sides of contacts arrive as ids and are shown as names; an unknown id stays as it is.
void name_contact_sides(Dict& contacts, const Dict& side_id2name) {
  for (auto [contact_id, contact] : contacts) {
    Value* side = entry_dict(contact_id, contact).find(names::kSide);
    if (side == nullptr || !(side->is_string() || side->is_integer())) continue;
    if (const Value* name = side_id2name.find(*side)) *side = *name;
  }
}

/// Makes room for the units of all categories. From then on their places stay what they are.
void make_room(const Dict& active, Dict& units) {
  std::size_t most = units.size();
  for (auto [category, live_table] : active) {
    if (const Dict* table = live_table.if_dict()) most += table->size();
  }
  units.reserve(most);
}

std::string contact_name(const Dict& contact) {
  const Value* name = contact.find("Name");
  return name != nullptr ? name->to_text() : "No Name";
}

}  // namespace

// ---- Initial situation ------------------------------------------------------------------------------------------

SideView Deduction::get_side_initial_situation(std::string_view side_name, const Dict& side_info,
                                               bool need_save_initial) {
  const Dict side = part_or_empty(side_info, "Side");
  Dict real = part_or_empty(side_info, "SideReal");
  const Dict position = part_or_empty(side_info, "SidePosition");

  SideView view;
  if (const Dict* basic = side.find_dict("ActiveUnitsInfo")) view.units = *basic;
  if (Dict* active = real.find_dict("ActiveUnits")) {
    if (need_save_initial) make_room(*active, init_units);
    for (auto [category, live_table] : *active) {
      if (classname2element(category) == nullptr) continue;
      join_initial_category({side_name, category, entry_dict(category, live_table), position, need_save_initial},
                            view.units);
    }
  }
  if (real.non_empty("Contacts")) {
    view.contacts = real.at_dict("Contacts");
    if (const Dict* places = position.find_dict("Contacts")) join_initial_contacts(side_name, *places, view.contacts);
  }
  name_contact_sides(view.contacts, side_id2name);
  return view;
}

void Deduction::join_initial_category(const InitialCategory& given, Dict& units) {
  Dict positions;
  if (const Dict* found = given.position.find_dict(given.category)) {
    positions = *found;
  } else {
    log_or_print(LogLevel::error, fmt::sprintf("初始化态势出错！类别-%s-在推演方-%s-实时动态信息中存在但没有位置!",
                                               given.category.to_text(), given.side_name));
  }
  const std::vector<Value*> places = positions.find_all(given.live_table);
  std::size_t at = 0;
  const auto join = [&](const Value& unit_id, Value& live_record, Value* known) {
    Value* const place = places[at++];
    if (known == nullptr) {
      log_or_print(LogLevel::error,
                   fmt::sprintf("初始化态势出错！单元-%s-在推演方-%s-实时动态信息中存在但没有基本信息!",
                                unit_id.to_text(), given.side_name));
      return;
    }
    Dict& unit = entry_dict(unit_id, *known);
    Dict live = std::move(entry_dict(unit_id, live_record));
    if (auto inner = take_active_unit(live)) unit.update(*std::move(inner));
    if (place != nullptr) {
      join_initial_position(given, unit_id, unit, entry_dict(unit_id, *place));
    } else {
      log_or_print(LogLevel::error, fmt::sprintf("初始化态势出错！单元-%s-在推演方-%s-实时动态信息中存在但没有位置!",
                                                 unit_id.to_text(), given.side_name));
    }
    unit.update(std::move(live));
  };
  visit_found(given.live_table, units.find_all(given.live_table), join);
}

void Deduction::join_initial_position(const InitialCategory& given, const Value& unit_id, Dict& unit, Dict& place) {
  unit.update(place);
  if (!unit.contains(names::kUnitType)) {
    if (given.category.is_text("Group")) {
      unit.set(names::kUnitType, 0);
    } else {
      log_or_print(LogLevel::error, fmt::sprintf("初始化态势出错！类别-%s-单元-%s-在推演方-%s-没有UnitType!",
                                                 given.category.to_text(), unit_id.to_text(), given.side_name));
    }
  }
  if (!given.save_position) return;
  const bool moves =
      given.category.is_text("Aircraft") || given.category.is_text("Ship") || given.category.is_text("Submarine");
  place.set("Type", moves ? 1 : 0);
  init_units.set(unit_id, place);
}

void Deduction::join_initial_contacts(std::string_view side_name, const Dict& places, Dict& contacts) {
  for (auto [contact_id, contact] : contacts) {
    if (const Dict* place = places.find_dict(contact_id)) {
      entry_dict(contact_id, contact).update(*place);
    } else {
      log_or_print(LogLevel::error, fmt::sprintf("初始化态势出错！情报-%s-在推演方-%s-实时动态信息中存在但没有位置!",
                                                 contact_name(entry_dict(contact_id, contact)), side_name));
    }
  }
}

// ---- Update situation -------------------------------------------------------------------------------------------

SideView Deduction::get_side_update_situation(std::string_view side_name, const Dict& side_info,
                                              const Dict* crt_contacts) {
  const Dict side = part_or_empty(side_info, "Side");
  Dict real = part_or_empty(side_info, "SideReal");
  Dict position = part_or_empty(side_info, "SidePosition");

  SideView view;
  if (const Dict* basic = side.find_dict("ActiveUnitsInfo")) view.units = *basic;
  if (Dict* active = real.find_dict("ActiveUnits")) {
    make_room(*active, view.units);
    for (auto [category, live_table] : *active) {
      if (classname2element(category) == nullptr) continue;
      join_update_category({side_name, category, entry_dict(category, live_table), position, crt_contacts != nullptr},
                           view);
    }
  }
  join_update_positions(position, view.units);
  if (real.non_empty("Contacts")) view.contacts = real.at_dict("Contacts");
  if (Dict* places = position.find_dict("Contacts")) {
    join_update_contacts(side_name, *places, crt_contacts, view.contacts);
  }
  name_contact_sides(view.contacts, side_id2name);
  return view;
}

void Deduction::join_update_category(const UpdateCategory& given, SideView& view) {
  Dict& units = view.units;
  const Dict* positions = given.position.find_dict(given.category);
  std::vector<Element*> known;
  if (given.may_be_new) known = elements_of(given.live_table);
  std::size_t at = 0;
  visit_fetched(given.live_table, fetch_held, [&](const Value& unit_id, Value& live_record) {
    Element* const element = given.may_be_new ? known[at++] : nullptr;
    const bool is_new = given.may_be_new && element == nullptr;
    const auto note_known = [&](const Value& entry) {
      if (element == nullptr) return;
      view.known.resize(std::max(view.known.size(), units.place(entry) + 1));
      view.known[units.place(entry)] = element;
    };
    Dict live = std::move(entry_dict(unit_id, live_record));
    if (Value* entry = units.find(unit_id)) {
      note_known(*entry);
      Dict& unit = entry_dict(unit_id, *entry);
      if (auto inner = take_active_unit(live)) unit.update(*std::move(inner));
      if (is_new && (positions == nullptr || !positions->contains(unit_id))) {
        log_or_print(LogLevel::error, fmt::sprintf("更新态势出错！新单元-%s-在推演方-%s-实时动态信息中存在但没有位置!",
                                                   unit_id.to_text(), given.side_name));
      }
      unit.update(std::move(live));
      if (is_new) default_unit_type(given, unit_id, unit);
    } else if (is_new) {
      log_or_print(LogLevel::error,
                   fmt::sprintf("更新态势出错！新单元-%s-在推演方-%s-实时动态信息中存在但没有基本信息!",
                                unit_id.to_text(), given.side_name));
    } else if (auto inner = take_active_unit(live)) {
      inner->update(std::move(live));
      note_known(units.set(unit_id, *std::move(inner)));
    } else {
      note_known(units.set(unit_id, std::move(live)));
    }
  });
}

void Deduction::default_unit_type(const UpdateCategory& given, const Value& unit_id, Dict& unit) {
  if (unit.contains(names::kUnitType)) return;
  if (given.category.is_text("Group")) {
    unit.set(names::kUnitType, 0);
  } else {
    log_or_print(LogLevel::error, fmt::sprintf("更新态势出错！新单元-%s-类别-%s-在推演方-%s-没有UnitType!",
                                               unit_id.to_text(), given.category.to_text(), given.side_name));
  }
}

void Deduction::join_update_positions(Dict& position, Dict& units) {
  const auto fetch_unit = [&units](const Value& unit_id, const Value& /*place*/) {
    if (const Dict* unit = fields_of(units.find(unit_id))) unit->fetch();
  };
  for (auto [category, table] : position) {
    if (category.is_text("Contacts") || category.is_name(names::kMapdel)) continue;
    visit_fetched(entry_dict(category, table), fetch_unit, [&](const Value& unit_id, Value& place) {
      if (Dict* unit = units.find_dict(unit_id)) {
        unit->update(std::move(entry_dict(unit_id, place)));
      } else {
        units.set(unit_id, place);
      }
    });
  }
}

void Deduction::join_update_contacts(std::string_view side_name, Dict& places, const Dict* crt_contacts,
                                     Dict& contacts) {
  if (crt_contacts != nullptr) {
    for (auto [contact_id, contact] : contacts) {
      if (crt_contacts->contains(contact_id) || places.contains(contact_id)) continue;
      log_or_print(LogLevel::error,
                   fmt::sprintf("更新态势出错！新情报-%s-在推演方-%s-实时动态信息中存在但没有基本信息!",
                                contact_name(entry_dict(contact_id, contact)), side_name));
    }
  }
  for (auto [contact_id, place] : places) {
    if (Dict* contact = contacts.find_dict(contact_id)) {
      contact->update(std::move(entry_dict(contact_id, place)));
    } else {
      contacts.set(contact_id, place);
    }
  }
}

}  // namespace tessra
