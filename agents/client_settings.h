#pragma once

#include <set>
#include <string>
#include <string_view>

#include "Tessra/base/value.h"
#include "Tessra/entitys/contact.h"

namespace tessra {

/// A user's settings for an agent, which may change while it plays (`client_info`): `units`, ids or names of the units
/// it may order; `targets`, ids or names of the contacts it may attack, or ids of the actual units; `decision_interval`
/// in seconds. Absent settings do not restrict anything.
class ClientSettings {
 public:
  ClientSettings() = default;
  /// Throws `KindError` naming a setting of the wrong kind.
  explicit ClientSettings(const Value& client_info);

  bool allows_unit(std::string_view id, const Value& name) const;
  bool allows_target(const Contact& contact) const;
  /// 0 if not set.
  double decision_interval() const { return decision_interval_; }

 private:
  std::set<std::string, std::less<>> units_, targets_;
  double decision_interval_ = 0;
};

}  // namespace tessra
