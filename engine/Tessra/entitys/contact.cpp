#include "Tessra/entitys/contact.h"

namespace tessra {

std::optional<std::string_view> Contact::text(const KeyRef& field) const {
  const Value* value = record_.find(field);
  if (value == nullptr || value->is_none()) return {};
  return record_.at_text(field);
}

std::optional<double> Contact::number(const KeyRef& field) const {
  const Value* value = record_.find(field);
  if (value == nullptr || value->is_none()) return {};
  return record_.at_real(field);
}

std::optional<ContactType> Contact::type() const {
  if (!number("Type")) return {};
  return static_cast<ContactType>(record_.at_integer("Type"));
}

std::optional<int> Contact::id_status() const {
  if (!number("IDStatus")) return {};
  return static_cast<int>(record_.at_integer("IDStatus"));
}

std::optional<GeoPoint> Contact::position() const {
  const auto lon = number("Lon");
  const auto lat = number("Lat");
  if (!lon || !lat) return {};
  return GeoPoint{*lon, *lat};
}

}  // namespace tessra
