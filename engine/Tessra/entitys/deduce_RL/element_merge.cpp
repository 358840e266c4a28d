// The two ways a record gets into an element: assignment at creation, which takes everything, and the merge of an
// update, which only takes attributes the element may have.

#include "Tessra/entitys/deduce_RL/element_merge.h"

#include <fmt/format.h>

#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

namespace {

/// The rule of an update for one attribute: dictionaries keep what the record does not carry, except for navigators.
void merge_attribute(const Value& name, Value& attribute, const Value& fresh, cf::Adopt adopt) {
  if (fresh.is_dict() && attribute.is_dict() && !name.is_name(names::kNavigator)) {
    cf::merge_dict(attribute.as_dict(), fresh.as_dict(), adopt);
  } else {
    attribute = cf::adopted(fresh, adopt);
  }
}

/// Tells the players that the element's name may be another one.
void note_renamed(const EpisodeState& engine, const Element& element) {
  for (const auto& [side, player] : engine.players) player->units_of_name.note_renamed(element);
}

std::string unknown_attribute(const Element& element, const Value& name, const Value& value) {
  return fmt::format("type {} have no attribute {}, value {}", element.class_name(), name.to_text(),
                     kind_name(value.kind()));
}

}  // namespace

void Deduction::set_element_info(Element& element_obj, Value info_dict) {
  if (FIRST_TEST) {
    for (auto [name, value] : info_dict.as_dict()) {
      if (element_obj.may_have_attribute(name)) {
        element_obj.set_attribute(name, value);
      } else if (!name.is_name(names::kMapdel)) {
        log_only(*this, LogLevel::error,
                 [&, &name = name, &value = value] { return unknown_attribute(element_obj, name, value); });
      }
    }
    return;
  }
  if (Dict* info = info_dict.if_dict()) {
    element_obj.attributes().update(std::move(*info));
    note_renamed(*this, element_obj);
  } else {
    log_only(*this, LogLevel::error, "info_dict is not a dict");
  }
}

void Deduction::update_element_info(Element& element_obj, const Dict& info_dict) {
  merge_element_info(*this, element_obj, info_dict, cf::Adopt::shared);
}

void merge_element_info(Deduction& engine, Element& element, const Dict& info, cf::Adopt adopt) {
  if (info.contains(names::kName)) note_renamed(engine, element);
  element.attributes().merge(info, [&](const Value& name, Value* stored, const Value& value) {
    if (stored != nullptr) {
      merge_attribute(name, *stored, value, adopt);
    } else if (element.has_attribute(name)) {
      // Its default may be a dictionary, which is stored when it is read.
      Value attribute = element.get_attribute(name);
      merge_attribute(name, attribute, value, adopt);
      element.set_attribute(name, attribute);
    } else if (element.may_have_attribute(name)) {
      element.set_attribute(name, cf::adopted(value, adopt));
    } else if (!name.is_name(names::kMapdel)) {
      log_only(engine, LogLevel::error, [&] { return unknown_attribute(element, name, value); });
    }
  });
}

}  // namespace tessra
