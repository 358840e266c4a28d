#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Tessra/base/ordered_map.h"
#include "Tessra/base/value.h"
#include "Tessra/entitys/contact.h"

namespace tessra {

class Element;
class GameUnit;
class Mission;
class RuleAgentBase;

/// An order that the service refused.
struct RefusedOrder {
  std::string command;  ///< its text, truncated if long
  std::string reason;   ///< the service's explanation
};

/// What an agent sees: its side's units, missions, contacts and messages, and what friends share. It refers to the
/// player's tables and copies nothing. Valid until the next episode starts.
class Situation {
 public:
  using Table = OrderedMap<std::shared_ptr<Element>>;

  explicit Situation(RuleAgentBase& player) : player_(player) {}
  Situation(const Situation&) = delete;
  Situation& operator=(const Situation&) = delete;

  // Units and missions by id (missions by name), in the order they were reported.

  const Table& aircrafts() const;
  const Table& ships() const;
  const Table& submarines() const;
  const Table& satellites() const;
  const Table& facilitys() const;
  const Table& weapons() const;
  const Table& groups() const;
  const Table& missions() const;

  /// The unit of any kind with this id or name; null if the side has none.
  std::shared_ptr<GameUnit> unit(std::string_view id) const;
  std::shared_ptr<GameUnit> unit_named(std::string_view name) const;
  /// The mission with this name; null if the side has none.
  std::shared_ptr<Mission> mission(std::string_view name) const;

  /// Contact id → contact (`Name`, `Type`, `Lon`, `Lat`, `ActualUnitID`, `IDStatus`, `Age`, …), including those of
  /// friends. A friend's contact stays here after the friend has lost it: its `Age` no longer grows, and attacks on it
  /// are refused.
  Dict contacts() const;
  /// The same with typed accessors; the contact with this id, empty if there is none.
  std::vector<Contact> contact_list() const;
  std::optional<Contact> contact(std::string_view id) const;
  /// False if the contact is known to belong to a side that is not hostile.
  bool may_be_enemy(const Contact& contact) const;
  /// Message type → list of messages since the start of the episode.
  Dict messages() const;
  /// The side's posture toward others: side id → posture. Empty if the service does not report it.
  Dict postures() const;
  /// The side's posture toward another, given by name or id (a contact's `Side`): 0 neutral, 1 friendly, 2 unfriendly,
  /// 3 hostile, 4 unknown; empty if the service does not report it.
  std::optional<std::int64_t> posture_toward(const Value& other) const;
  /// Friend side name → unit id → unit record.
  Dict friend_units() const;

  /// The side's orders that the service refused in the last package, which holds those of the previous decision. Empty
  /// if the service does not report them.
  const std::vector<RefusedOrder>& refused_orders() const;

  /// Simulated seconds since the start of the scenario, and its duration as reported by the service.
  double time_elapsed() const;
  const Value& duration() const;

 private:
  RuleAgentBase& player_;
};

}  // namespace tessra
