#include "Tessra/entitys/element.h"

#include "Tessra/entitys/field_names.h"
#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

Element::Element(Value guid, const Value& name, const Value& side, tessra::ElementType type) : guid_(std::move(guid)) {
  initialise_attributes(name, side, type);
}

void Element::initialise_attributes(const Value& name, const Value& side, tessra::ElementType type) {
  attributes_ = Dict{{names::kName, name}, {names::kSide, side}, {names::kElementType, static_cast<int>(type)}};
}

bool Element::has_attribute(const KeyRef& name) const {
  if (attributes_.contains(name)) return true;
  const Field* field = known_fields().find(name.text());
  return field != nullptr && field->has_default;
}

bool Element::may_have_attribute(const KeyRef& name) const {
  return attributes_.contains(name) || known_fields().find(name.text()) != nullptr;
}

Value Element::get_attribute(const KeyRef& name) {
  if (const Value* stored = attributes_.find(name)) return *stored;
  const Field* field = known_fields().find(name.text());
  if (field == nullptr || !field->has_default) {
    throw KeyError(std::string(class_name()) + " '" + guid_.to_text() + "' has no attribute '" + name.to_text() + "'");
  }
  Value value = default_value(field->kind);
  if (value.is_list() || value.is_dict()) attributes_.set(name, value);
  return value;
}

Dict Element::get_dict(const KeyRef& name) {
  const Value value = get_attribute(name);
  if (!value.is_dict()) {
    throw KindError(std::string(class_name()) + " attribute '" + name.to_text() + "': expected dictionary, found " +
                    std::string(kind_name(value.kind())));
  }
  return value.as_dict();
}

tessra::ElementType Element::element_type() const {
  return static_cast<tessra::ElementType>(attributes_.at_integer(names::kElementType));
}

std::shared_ptr<GameServer> Element::game_server() const {
  return attributes_.at(names::kGameServer).as_host<GameServer>();
}

}  // namespace tessra
