#include "Tessra/entitys/field_table.h"

namespace tessra {

FieldTable::FieldTable(const FieldTable* base, std::initializer_list<Field> fields) {
  if (base != nullptr) fields_ = base->fields_;
  fields_.insert(fields_.end(), fields);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    places_[fields_[i].name] = i;
    Name known(fields_[i].name);  // interns it, without counting as a name learned from records
  }
}

const Field* FieldTable::find(std::string_view name) const {
  const auto place = places_.find(name);
  return place != places_.end() ? &fields_[place->second] : nullptr;
}

Value default_value(Kind kind) {
  switch (kind) {
    case Kind::boolean:
      return false;
    case Kind::integer:
      return 0;
    case Kind::real:
      return 0.0;
    case Kind::string:
      return "";
    case Kind::list:
      return List();
    case Kind::dictionary:
      return Dict();
    case Kind::none:
    case Kind::host:
      return {};
  }
  return {};
}

}  // namespace tessra
