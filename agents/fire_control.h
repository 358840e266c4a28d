#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/situation.h"
#include "agents/client_settings.h"

namespace tessra {

/// How units of a class are used.
struct Role {
  std::string_view class_name;
  std::vector<ContactType> targets;  ///< in order of preference
  double reach = 0;                  ///< greatest distance to a target, metres
};

/// Assigns armed units without a target to the nearest contact that suits their role. Used by the sample agents, which
/// differ in their roles.
class FireControl {
 public:
  /// `shooters` is the number of units sent against one contact.
  FireControl(std::vector<Role> roles, int shooters) : roles_(std::move(roles)), shooters_(shooters) {}

  /// Restricts units and targets to those the user allows. Throws `KindError` for settings of the wrong kind.
  void configure(const Value& client_info) { settings_ = ClientSettings(client_info); }
  const ClientSettings& settings() const { return settings_; }

  /// Lets every allowed unit fire at hostile contacts on its own.
  void free_weapons(const Situation& situation) const;
  /// Orders the attacks for this decision.
  void engage(const Situation& situation);
  /// Call before the next episode.
  void reset() {
    attempts_.clear();
    lost_contacts_.clear();
  }

 private:
  void give_up_what_was_refused(const Situation& situation);
  void engage_unit(GameUnit& unit, const Role& role, const std::vector<Contact>& targets);
  const Role* role_of(const GameUnit& unit) const;
  /// The contacts that may be enemies, have a known position, and are allowed by the user.
  std::vector<Contact> targets_in(const Situation& situation) const;

  std::vector<Role> roles_;
  int shooters_;
  ClientSettings settings_;
  std::map<std::string, int, std::less<>> assigned_;  // actual unit of a target → shooters, in this decision
  std::map<std::pair<std::string, std::string>, int> attempts_;  // unit and contact → orders given
  std::set<std::string, std::less<>> lost_contacts_;             // contacts the service no longer knows
};

}  // namespace tessra
