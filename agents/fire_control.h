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

/// What a class of units is used against.
struct Role {
  std::string_view class_name;
  std::vector<ContactType> targets;  ///< the most wanted first
  double reach = 0;                  ///< how far it goes for a target, metres
};

/// Gives armed units without a target the nearest contact their role is meant for. Shared by the sample agents, which
/// differ in their roles.
class FireControl {
 public:
  /// `shooters` is how many units are sent against one contact.
  FireControl(std::vector<Role> roles, int shooters) : roles_(std::move(roles)), shooters_(shooters) {}

  /// From here on only the units and targets the user allows. Throws `KindError` for settings of the wrong kind.
  void configure(const Value& client_info) { settings_ = ClientSettings(client_info); }
  const ClientSettings& settings() const { return settings_; }

  /// Lets every allowed unit fire at hostile contacts on its own.
  void free_weapons(const Situation& situation) const;
  /// Orders the attacks for this decision.
  void engage(const Situation& situation);
  /// Forgets the episode.
  void reset() {
    attempts_.clear();
    lost_contacts_.clear();
  }

 private:
  void give_up_what_was_refused(const Situation& situation);
  void engage_unit(GameUnit& unit, const Role& role, const std::vector<Contact>& targets);
  const Role* role_of(const GameUnit& unit) const;
  /// The contacts that are, or may be, enemies whose place is known, and that the user allows.
  std::vector<Contact> targets_in(const Situation& situation) const;

  std::vector<Role> roles_;
  int shooters_;
  ClientSettings settings_;
  std::map<std::string, int, std::less<>> assigned_;  // unit behind a contact → units on it, of this decision
  std::map<std::pair<std::string, std::string>, int> attempts_;  // unit and contact → orders given
  std::set<std::string, std::less<>> lost_contacts_;             // that the service knows no more
};

}  // namespace tessra
