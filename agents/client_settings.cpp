#include "agents/client_settings.h"

namespace tessra {

namespace {

/// A list of ids or names; empty if absent, which means no restriction.
std::set<std::string, std::less<>> names(const Dict& settings, std::string_view key) {
  std::set<std::string, std::less<>> result;
  if (!settings.contains(key)) return result;
  for (const Value& name : settings.at_list(key)) result.insert(name.to_text());
  return result;
}

}  // namespace

ClientSettings::ClientSettings(const Value& client_info) {
  const Dict* settings = client_info.if_dict();
  if (settings == nullptr) return;
  units_ = names(*settings, "units");
  targets_ = names(*settings, "targets");
  if (settings->contains("decision_interval")) decision_interval_ = settings->at_real("decision_interval");
}

bool ClientSettings::allows_unit(std::string_view id, const Value& name) const {
  return units_.empty() || units_.contains(id) || units_.contains(name.to_text());
}

bool ClientSettings::allows_target(const Contact& contact) const {
  return targets_.empty() || targets_.contains(contact.id()) || targets_.contains(contact.name().value_or("")) ||
         targets_.contains(contact.actual_unit().value_or(""));
}

}  // namespace tessra
