#include "services/situation_checks.h"

#include <fmt/format.h>

#include <algorithm>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"

namespace tessra {

namespace {

constexpr const char* kCategories[] = {"Group", "Aircraft", "Ship", "Submarine", "Facility", "Weapon", "Satellite"};

bool is_deletion(const Value& key) { return key.is_text("mapdel"); }

/// Units stand in the table of their category.
bool has_unit(const Dict& categories, const Value& id) {
  return std::ranges::any_of(kCategories,
                             [&](const char* category) { return part_or_empty(categories, category).contains(id); });
}

std::string shown(const Dict& record, const char* key) {
  const Value* value = record.find(key);
  return value != nullptr ? fmt::format("{} {}", kind_name(value->kind()), value->to_text()) : "nothing";
}

bool is_or_absent(const Dict& record, const char* key, Kind kind) {
  const Value* value = record.find(key);
  return value == nullptr || value->kind() == kind;
}

bool is_side(const Value& side) {
  const Dict* entry = side.if_dict();
  return entry != nullptr && entry->get("Name").is_string() && entry->get("Friend").is_list();
}

}  // namespace

void SituationChecks::look_through(const std::function<void()>& checks) {
  guarded(checks, [&](const std::exception_ptr& error) { find("parts of the right kinds", error_text(error)); });
}

bool SituationChecks::is_new(const std::string& side_id, const Value& id) {
  return known_.insert(side_id + "/" + id.to_text()).second;
}

void SituationChecks::take_sides(const Value& sides) {
  call_ = "set_data_receive()";
  if (!sides.is_dict() || sides.as_dict().empty()) return find("a dictionary with at least one side", sides.to_text());
  for (auto [id, side] : sides.as_dict()) sides_.insert(id.to_text());
  for (auto [id, side] : sides.as_dict()) {
    if (!is_side(side)) {
      find("`Name`, a text, and `Friend`, a list, of each side", side.to_text());
      continue;
    }
    for (const Value& other : side.as_dict().at_list("Friend")) {
      if (!sides_.contains(other.to_text())) find("ids of sides in `Friend`", other.to_text());
    }
  }
}

bool SituationChecks::take_initial(const Value& record) {
  call_ = "get_init_situation()";
  if (!has_sides(record)) {
    find("`ScenarioInfo`, and a side under `Situation` / `SituationSides`", record.to_text());
    return false;
  }
  look_through([&] {
    const Dict& scenario = record.as_dict().at_dict("ScenarioInfo");
    for (const char* field : {"ScenarioID", "Time", "StartTime", "Duration"}) {
      if (!scenario.contains(field)) find(fmt::format("`ScenarioInfo` / `{}`", field), "nothing");
    }
    check_times(scenario);
    check_sides(record.as_dict());
  });
  return true;
}

void SituationChecks::take_update(const Value& record) {
  call_ = "get_step_situation()";
  look_through([&] {
    const Dict& update = record.as_dict();
    check_times(part_or_empty(update, "ScenarioInfo"));
    if (!is_or_absent(update, "IsEnd", Kind::boolean)) find("`IsEnd`, true or false", shown(update, "IsEnd"));
    check_sides(update);
  });
}

void SituationChecks::check_times(const Dict& scenario) {
  for (const char* field : {"Time", "StartTime", "Duration"}) {
    if (is_or_absent(scenario, field, Kind::integer)) continue;
    find(fmt::format("`ScenarioInfo` / `{}`, an integer", field), shown(scenario, field));
  }
}

void SituationChecks::check_sides(const Dict& record) {
  for (auto [id, entry] : part_or_empty(part_or_empty(record, "Situation"), "SituationSides")) {
    const std::string side_id = id.to_text();
    if (!sides_.contains(side_id)) find("no sides but those that `set_data_receive` names", "'" + side_id + "'");
    const Dict& side = entry_dict(id, entry);
    const Dict placed = part_or_empty(side, "SidePosition");
    meet_units(side_id, side);
    check_unit_records(side_id, part_or_empty(part_or_empty(side, "SideReal"), "ActiveUnits"));
    check_unit_records(side_id, placed);
    meet_contacts(side_id, side);
    check_contact_places(side_id, part_or_empty(placed, "Contacts"));
  }
}

void SituationChecks::meet_units(const std::string& side_id, const Dict& side) {
  const Dict live = part_or_empty(part_or_empty(side, "SideReal"), "ActiveUnits");
  const Dict placed = part_or_empty(side, "SidePosition");
  for (auto [id, entry] : part_or_empty(part_or_empty(side, "Side"), "ActiveUnitsInfo")) {
    if (is_deletion(id) || !is_new(side_id, id)) continue;
    const Dict& unit = entry_dict(id, entry);
    if (!unit.get("Name").is_string()) find("`Name`, a text, of every new unit", shown(unit, "Name"));
    if (!unit.get("UnitType").is_integer() || !unit_element_type(unit.get("UnitType"))) {
      find("`UnitType`, one of the integers in docs/service.md, of every new unit", shown(unit, "UnitType"));
    }
    if (!has_unit(live, id) || !has_unit(placed, id)) {
      find("the live and the position record of a new unit, in the record that introduces it",
           fmt::format("not both of '{}' of side '{}'", id.to_text(), side_id));
    }
  }
}

/// The live records or the positions.
void SituationChecks::check_unit_records(const std::string& side_id, const Dict& categories) {
  for (const char* category : kCategories) {
    for (auto [id, entry] : part_or_empty(categories, category)) {
      if (is_deletion(id)) continue;
      if (!known_.contains(side_id + "/" + id.to_text())) {
        find("basic information about a unit before its other records, or with them",
             fmt::format("none about '{}' of side '{}'", id.to_text(), side_id));
      }
      check_place(entry_dict(id, entry));
    }
  }
}

void SituationChecks::meet_contacts(const std::string& side_id, const Dict& side) {
  const Dict placed = part_or_empty(part_or_empty(side, "SidePosition"), "Contacts");
  for (auto [id, entry] : part_or_empty(part_or_empty(side, "SideReal"), "Contacts")) {
    if (is_deletion(id) || !is_new(side_id, id)) continue;
    const Dict& contact = entry_dict(id, entry);
    if (!contact.get("Type").is_integer()) find("`Type`, an integer, of every new contact", shown(contact, "Type"));
    if (!contact.contains("Lon") && !part_or_empty(placed, id).contains("Lon")) {
      find("`Lon` of every new contact, in the record that introduces it", "none of '" + id.to_text() + "'");
    }
  }
}

void SituationChecks::check_contact_places(const std::string& side_id, const Dict& places) {
  for (auto [id, place] : places) {
    if (is_deletion(id)) continue;
    if (!known_.contains(side_id + "/" + id.to_text())) {
      find("a contact under `SideReal` / `Contacts` before its positions, or with them", "'" + id.to_text() + "'");
    }
    check_place(entry_dict(id, place));
  }
}

void SituationChecks::check_place(const Dict& place) {
  for (const char* field : {"Lon", "Lat"}) {
    if (!is_or_absent(place, field, Kind::real)) find(fmt::format("`{}`, a real", field), shown(place, field));
  }
}

}  // namespace tessra
