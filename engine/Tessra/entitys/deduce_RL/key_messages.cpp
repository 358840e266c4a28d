#include "Tessra/entitys/deduce_RL/key_messages.h"

#include <fmt/printf.h>

#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/gameenvs/utils.h"

namespace tessra {

namespace {

std::optional<std::int64_t> message_type(const Deduction& engine, const Value& raw_type, std::string_view side_name) {
  if (!raw_type.is_string()) return raw_type.as_integer();
  try {
    const std::int64_t type = raw_type.to_integer();
    log_only(engine, LogLevel::info,
             [&] { return fmt::sprintf("side %s receive: msg_type:%d to int", side_name, type); });
    return type;
  } catch (const ConversionError& error) {
    log_or_print(engine, LogLevel::error,
                 fmt::sprintf("事件类型转换整数出错, side %s receive: msg_type:%s, error:%s", side_name,
                              raw_type.to_text(), error.what()));
    return std::nullopt;
  }
}

void add_new_contacts(Dict& contacts, const List& messages) {
  for (const Value& message : messages) {
    const Value id = entry_dict(utils::NEW_CONTACT_TYPE, message).get("ID");
    if (id.truthy() && !contacts.contains(id)) contacts.set(id, message);
  }
}

void add_detection_records(Dict& contacts, const List& messages) {
  constexpr std::size_t kKept = 10;  // detections per contact, the most recent first
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

}  // namespace

void merge_key_messages(const Deduction& engine, RuleAgentBase& player, std::string_view side_name,
                        const Dict& messages) {
  Dict all_messages = player.get_dict("KeyMsg");
  Dict contacts = player.get_dict("Contacts");
  for (auto [raw_type, list] : messages) {
    const std::optional<std::int64_t> type = message_type(engine, raw_type, side_name);
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

}  // namespace tessra
