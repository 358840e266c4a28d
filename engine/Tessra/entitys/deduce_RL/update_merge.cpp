#include <fmt/printf.h>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/deduce_RL/table_walks.h"
#include "Tessra/entitys/field_names.h"
#include "Tessra/entitys/gameenvs/utils.h"

namespace tessra {

void Deduction::parse_update_situation(const Value& situation_data) {
  if (!situation_data.truthy()) return;
  const Dict& update = situation_data.as_dict();
  if (update.non_empty("IsEnd")) {
    log_only(LogLevel::info, "receive end situation!");
    deduce_is_end = true;
  }
  const Dict deletions = deletion_share(update);

  const Dict scen = part_or_empty(update, "ScenarioInfo");
  const Dict situ = part_or_empty(update, "Situation");
  Dict side_situations = part_or_empty(situ, "SituationSides");
  if (!side_situations.empty()) {
    FriendViews friend_views;
    for (auto [side_id, side_situation] : side_situations) {
      merge_side(side_id, entry_dict(side_id, side_situation), scen, friend_views);
    }
    share_updated_contacts(friend_views);
    work_on("");
  }
  update_scenario_new(update);
  parse_delete_situation(deletions);
}

void Deduction::merge_side(const Value& side_id, const Dict& side_situation, const Dict& scen,
                           FriendViews& friend_views) {
  const Value* known_name = side_id2name.find(side_id);
  if (known_name == nullptr) return;
  const std::string side_name = known_name->to_text();
  const bool is_friend = friend_side_set.contains(side_id.to_text());
  const auto* found = players.find(side_name);
  if (found == nullptr) {
    if (is_friend) friend_views.set(side_id.to_text(), get_side_update_situation(side_name, side_situation));
    return;
  }
  work_on(side_name);
  RuleAgentBase& player = **found;
  Dict side_part = part_or_empty(side_situation, "Side");
  Dict real_part = part_or_empty(side_situation, "SideReal");

  const Dict current_contacts = player.get_dict("Contacts");
  SideView view = get_side_update_situation(side_name, side_situation, &current_contacts);
  // Friends get the view as it is now. The merge leaves its records as they are, but for what is new in them or adopted
  // from them, which goes on to change with the model: so it adopts copies instead.
  if (is_friend) friend_views.set(side_id.to_text(), {view.units, view.contacts});
  const cf::Adopt adopt = is_friend ? cf::Adopt::copied : cf::Adopt::shared;
  merge_units(side_name, view, adopt);
  side_part.erase("ActiveUnitsInfo");
  merge_missions(side_name, side_part);
  real_part.erase("ActiveUnits");

  // A part that is empty gives way to the next one: the side's record is then that part itself.
  const auto join = [&side_part](const Dict& part) {
    if (side_part.empty()) {
      side_part = part;
    } else {
      side_part.update(part);
    }
  };
  if (!real_part.empty()) join(real_part);
  if (const Dict* descriptor = side_descriptor(scen, side_id)) join(*descriptor);
  if (side_situation.non_empty("SideVitalChange")) side_part.update(side_situation.at_dict("SideVitalChange"));
  side_part.set("Contacts", view.contacts);
  update_element_info(player, side_part, adopt);

  if (const Dict* messages = side_situation.find_dict(utils::side_key_msg))
    merge_key_messages(player, side_name, *messages);
}

void Deduction::merge_units(std::string_view side_name, SideView& view, cf::Adopt adopt) {
  const std::vector<Element*> found = elements_of(view.units, view.known);
  visit_found(view.units, found, [&](const Value& unit_id, Value& info, Element* element) {
    if (element == nullptr) element = element_of(unit_id);  // the ids 1 and "1" are one unit, which may be new
    if (element != nullptr) {
      update_element_info(*element, entry_dict(unit_id, info), adopt);
      // Nobody reads the record again: it ends while it is near, instead of being fetched for that once more.
      if (adopt == cf::Adopt::shared) info = Value();
    } else if (crt_delete_units.contains(unit_id.to_text())) {
      log_only(LogLevel::info, [&] {
        const Dict& record = entry_dict(unit_id, info);
        const std::string first_key = record.empty() ? "No" : (*record.begin()).key.to_text();
        return fmt::sprintf("更新态势出错！推演中在推演方-%s-单元-%s删除后又有信息-%s-收到!", side_name,
                            unit_id.to_text(), first_key);
      });
    } else {
      merge_new_unit(side_name, unit_id, cf::adopted(info, adopt));
    }
  });
}

void Deduction::merge_new_unit(std::string_view side_name, const Value& unit_id, Value info) {
  entry_dict(unit_id, info).set(names::kId, unit_id);
  const Value* code = info.as_dict().find(names::kUnitType);
  if (code == nullptr) {
    log_or_print(LogLevel::error, fmt::sprintf("更新态势出错！推演中新单元-%s-在推演方-%s-没有基本信息的UnitType!",
                                               unit_id.to_text(), side_name));
  } else if (const auto type = unit_element_type(*code)) {
    create_element(cf::text_of(unit_id), std::move(info), *type, side_name);
  } else {
    log_or_print(LogLevel::error, fmt::sprintf("更新态势出错！推演中在推演方-%s-新单元-%s-UnitType异常值:%d!",
                                               side_name, unit_id.to_text(), whole_number(*code)));
  }
}

void Deduction::merge_missions(std::string_view side_name, Dict& side_part) {
  Dict* by_category = side_part.find_dict("Missions");
  if (by_category == nullptr) return;
  for (auto [category, missions] : *by_category) {
    const ElementType* type = classname2element(category);
    if (type == nullptr) continue;
    for (auto [guid, info] : entry_dict(category, missions)) {
      flatten_mission(entry_dict(guid, info));
      if (auto* const element = element_of(guid)) {
        update_element_info(*element, info.as_dict());
      } else {
        create_element(cf::text_of(guid), std::move(info), *type, side_name);
      }
    }
  }
  side_part.erase("Missions");
}

void Deduction::merge_key_messages(RuleAgentBase& player, std::string_view side_name, const Dict& messages) {
  Dict all_messages = player.get_dict("KeyMsg");
  Dict contacts = player.get_dict("Contacts");
  for (auto [raw_type, list] : messages) {
    const std::optional<std::int64_t> type = message_type(raw_type, side_name);
    if (!type) continue;
    if (*type == utils::NEW_CONTACT_TYPE) {
      add_new_contacts(contacts, messages.at_list(raw_type));
    } else if (*type == utils::CONTACT_DETECT_RECORD) {
      add_detection_records(contacts, messages.at_list(raw_type));
    }
    if (List* earlier = all_messages.find_list(*type)) {
      earlier->extend(messages.at_list(raw_type));
    } else {
      all_messages.set(*type, list);
    }
  }
}

std::optional<std::int64_t> Deduction::message_type(const Value& raw_type, std::string_view side_name) const {
  if (!raw_type.is_string()) return raw_type.as_integer();
  try {
    const std::int64_t type = raw_type.to_integer();
    log_only(LogLevel::info, [&] { return fmt::sprintf("side %s receive: msg_type:%d to int", side_name, type); });
    return type;
  } catch (const ConversionError& error) {
    log_or_print(LogLevel::error, fmt::sprintf("事件类型转换整数出错, side %s receive: msg_type:%s, error:%s",
                                               side_name, raw_type.to_text(), error.what()));
    return std::nullopt;
  }
}

void Deduction::add_new_contacts(Dict& contacts, const List& messages) {
  for (const Value& message : messages) {
    const Value id = entry_dict(utils::NEW_CONTACT_TYPE, message).get("ID");
    if (id.truthy() && !contacts.contains(id)) contacts.set(id, message);
  }
}

void Deduction::add_detection_records(Dict& contacts, const List& messages) {
  constexpr std::size_t kKept = 10;
  for (const Value& message : messages) {
    const List* detections = entry_dict(utils::CONTACT_DETECT_RECORD, message).find_list("LastDetectionList");
    if (detections == nullptr) continue;
    for (const Value& detection : *detections) {
      const Value id = entry_dict("LastDetectionList", detection).get("ContactID");
      if (!id.truthy()) continue;
      Dict* contact = contacts.find_dict(id);
      if (contact == nullptr) continue;
      if (List* record = contact->find_list("Record")) {
        if (record->size() == kKept) record->truncate(kKept - 1);
        record->insert_front(detection);
      } else {
        contact->set("Record", List{detection});
      }
    }
  }
}

}  // namespace tessra
