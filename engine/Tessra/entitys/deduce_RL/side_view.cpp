// A side's record comes in three parts: basic information (`Side`), the live state (`SideReal`) and positions
// (`SidePosition`). The operations here join them per unit and per contact into the view that agents receive. The view
// shares its dictionaries with the record, so joining changes the record: it extends some of them and empties others.
//
// An initial record is complete, and what is missing in it is reported. An update carries what changed: parts may be
// missing, and only a unit or contact that is new to the side must come with everything it needs.

#include <fmt/printf.h>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/element_lookup.h"
#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"
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

/// A unit without a type is a group where groups stand; elsewhere that is a mistake, which `report` tells.
template <class Report>
void default_unit_type(Dict& unit, const Value& category, const Report& report) {
  if (unit.contains(names::kUnitType)) return;
  if (category.is_text("Group")) {
    unit.set(names::kUnitType, 0);
  } else {
    report();
  }
}

/// The sides of contacts arrive as ids and are shown as names; an unknown id stays as it is.
void name_contact_sides(Dict& contacts, const Dict& side_id2name) {
  for (auto [contact_id, contact] : contacts) {
    Value* side = entry_dict(contact_id, contact).find(names::kSide);
    if (side == nullptr || !(side->is_string() || side->is_integer())) continue;
    if (const Value* name = side_id2name.find(*side)) *side = *name;
  }
}

std::string contact_name(const Dict& contact) {
  const Value* name = contact.find("Name");
  return name != nullptr ? name->to_text() : "No Name";
}

/// What both joins know of the side.
class SideJoin {
 public:
  SideJoin(Deduction& engine, std::string_view side_name, const Dict& side_info)
      : engine_(engine),
        side_name_(side_name),
        basic_(part_or_empty(side_info, "Side")),
        real_(part_or_empty(side_info, "SideReal")),
        position_(part_or_empty(side_info, "SidePosition")) {
    if (const Dict* units = basic_.find_dict("ActiveUnitsInfo")) view_.units = *units;
  }

 protected:
  /// Visits the live records of each category of units: `visit(category, table)`.
  template <class Visit>
  void for_each_category(Visit&& visit) {
    Dict* active = real_.find_dict("ActiveUnits");
    if (active == nullptr) return;
    for (auto [category, table] : *active) {
      if (classname2element(category) != nullptr) visit(category, entry_dict(category, table));
    }
  }
  template <class... Arguments>
  void report(const char* form, const Arguments&... arguments) const {
    log_or_print(engine_, LogLevel::error, fmt::sprintf(form, arguments...));
  }

  Deduction& engine_;
  std::string_view side_name_;
  Dict basic_, real_, position_;
  SideView view_;
};

// ---- Initial situation ------------------------------------------------------------------------------------------

class InitialJoin : private SideJoin {
 public:
  using SideJoin::SideJoin;

  SideView run(bool save_positions) {
    for_each_category([&](const Value& category, Dict& live) { join_category(category, live, save_positions); });
    if (real_.non_empty("Contacts")) {
      view_.contacts = real_.at_dict("Contacts");
      if (const Dict* places = position_.find_dict("Contacts")) join_contacts(*places);
    }
    name_contact_sides(view_.contacts, engine_.side_id2name);
    return view_;
  }

 private:
  void join_category(const Value& category, Dict& live_table, bool save_positions) {
    Dict* places = position_.find_dict(category);
    if (places == nullptr) {
      report("初始化态势出错！类别-%s-在推演方-%s-实时动态信息中存在但没有位置!", category.to_text(), side_name_);
    }
    for (auto [unit_id, record] : live_table) {
      Value* known = view_.units.find(unit_id);
      if (known == nullptr) {
        report("初始化态势出错！单元-%s-在推演方-%s-实时动态信息中存在但没有基本信息!", unit_id.to_text(), side_name_);
        continue;
      }
      Dict& unit = entry_dict(unit_id, *known);
      Dict live = std::move(entry_dict(unit_id, record));
      if (auto inner = take_active_unit(live)) unit.update(*std::move(inner));
      if (Value* place = places != nullptr ? places->find(unit_id) : nullptr) {
        join_position(category, unit_id, unit, entry_dict(unit_id, *place), save_positions);
      } else {
        report("初始化态势出错！单元-%s-在推演方-%s-实时动态信息中存在但没有位置!", unit_id.to_text(), side_name_);
      }
      unit.update(std::move(live));
    }
  }

  void join_position(const Value& category, const Value& unit_id, Dict& unit, Dict& place, bool save_position) {
    unit.update(place);
    default_unit_type(unit, category, [&] {
      report("初始化态势出错！类别-%s-单元-%s-在推演方-%s-没有UnitType!", category.to_text(), unit_id.to_text(),
             side_name_);
    });
    if (!save_position) return;
    const bool moves = category.is_text("Aircraft") || category.is_text("Ship") || category.is_text("Submarine");
    place.set("Type", moves ? 1 : 0);
    engine_.init_units.set(unit_id, place);
  }

  void join_contacts(const Dict& places) {
    for (auto [contact_id, contact] : view_.contacts) {
      if (const Dict* place = places.find_dict(contact_id)) {
        entry_dict(contact_id, contact).update(*place);
      } else {
        report("初始化态势出错！情报-%s-在推演方-%s-实时动态信息中存在但没有位置!",
               contact_name(entry_dict(contact_id, contact)), side_name_);
      }
    }
  }
};

// ---- Update situation -------------------------------------------------------------------------------------------

class UpdateJoin : private SideJoin {
 public:
  using SideJoin::SideJoin;

  SideView run(const Dict* current_contacts) {
    for_each_category(
        [&](const Value& category, Dict& live) { join_category(category, live, current_contacts != nullptr); });
    join_positions();
    if (real_.non_empty("Contacts")) view_.contacts = real_.at_dict("Contacts");
    if (Dict* places = position_.find_dict("Contacts")) join_contacts(*places, current_contacts);
    name_contact_sides(view_.contacts, engine_.side_id2name);
    return view_;
  }

 private:
  void join_category(const Value& category, Dict& live_table, bool may_be_new) {
    std::vector<Element*> known;
    if (may_be_new) known = elements_of(engine_, live_table);
    std::size_t at = 0;
    for (auto [unit_id, record] : live_table) {
      const bool is_new = may_be_new && known[at++] == nullptr;
      Dict live = std::move(entry_dict(unit_id, record));
      if (Value* entry = view_.units.find(unit_id)) {
        Dict& unit = entry_dict(unit_id, *entry);
        if (auto inner = take_active_unit(live)) unit.update(*std::move(inner));
        if (is_new) require_position(category, unit_id);
        unit.update(std::move(live));
        if (is_new) require_type(category, unit_id, unit);
      } else if (is_new) {
        report("更新态势出错！新单元-%s-在推演方-%s-实时动态信息中存在但没有基本信息!", unit_id.to_text(), side_name_);
      } else {
        Dict unit;
        if (auto inner = take_active_unit(live)) unit.update(*std::move(inner));
        unit.update(std::move(live));
        view_.units.set(unit_id, std::move(unit));
      }
    }
  }

  void require_position(const Value& category, const Value& unit_id) const {
    const Dict* places = position_.find_dict(category);
    if (places != nullptr && places->contains(unit_id)) return;
    report("更新态势出错！新单元-%s-在推演方-%s-实时动态信息中存在但没有位置!", unit_id.to_text(), side_name_);
  }

  void require_type(const Value& category, const Value& unit_id, Dict& unit) const {
    default_unit_type(unit, category, [&] {
      report("更新态势出错！新单元-%s-类别-%s-在推演方-%s-没有UnitType!", unit_id.to_text(), category.to_text(),
             side_name_);
    });
  }

  void join_positions() {
    for (auto [category, table] : position_) {
      if (category.is_text("Contacts") || category.is_name(names::kMapdel)) continue;
      for (auto [unit_id, place] : entry_dict(category, table)) {
        if (Dict* unit = view_.units.find_dict(unit_id)) {
          unit->update(std::move(entry_dict(unit_id, place)));
        } else {
          view_.units.set(unit_id, place);
        }
      }
    }
  }

  void join_contacts(Dict& places, const Dict* current_contacts) {
    if (current_contacts != nullptr) {
      for (auto [contact_id, contact] : view_.contacts) {
        if (current_contacts->contains(contact_id) || places.contains(contact_id)) continue;
        report("更新态势出错！新情报-%s-在推演方-%s-实时动态信息中存在但没有基本信息!",
               contact_name(entry_dict(contact_id, contact)), side_name_);
      }
    }
    for (auto [contact_id, place] : places) {
      if (Dict* contact = view_.contacts.find_dict(contact_id)) {
        contact->update(std::move(entry_dict(contact_id, place)));
      } else {
        view_.contacts.set(contact_id, place);
      }
    }
  }
};

}  // namespace

SideView Deduction::get_side_initial_situation(std::string_view side_name, const Dict& side_info,
                                               bool need_save_initial) {
  return InitialJoin(*this, side_name, side_info).run(need_save_initial);
}

SideView Deduction::get_side_update_situation(std::string_view side_name, const Dict& side_info,
                                              const Dict* crt_contacts) {
  return UpdateJoin(*this, side_name, side_info).run(crt_contacts);
}

}  // namespace tessra
