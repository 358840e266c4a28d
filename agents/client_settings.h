#pragma once

#include <set>
#include <string>
#include <string_view>

#include "Tessra/base/value.h"
#include "Tessra/entitys/contact.h"

namespace tessra {

/// What a user tells an agent before or while it plays (`client_info`): `units`, ids or names of the units it may
/// order; `targets`, ids or names of the contacts it may attack, or ids of the units behind them; `decision_interval`
/// in seconds. What is absent sets no bound.
class ClientSettings {
 public:
  ClientSettings() = default;
  /// Throws `KindError` naming the setting when one has the wrong kind.
  explicit ClientSettings(const Value& client_info);

  bool allows_unit(std::string_view id, const Value& name) const;
  bool allows_target(const Contact& contact) const;
  /// 0 when the user set none.
  double decision_interval() const { return decision_interval_; }

 private:
  std::set<std::string, std::less<>> units_, targets_;
  double decision_interval_ = 0;
};

}  // namespace tessra
