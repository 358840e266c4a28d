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

/// An order without effect.
struct RefusedOrder {
  std::string command;  ///< its text, of a long one the beginning
  std::string reason;   ///< what the service says is wrong with it
};

/// What an agent sees: its side's units, missions, contacts and messages, and what friends share. Everything refers
/// to the player's tables; nothing is copied. Valid until the next episode starts.
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

  /// The unit with this id or this name, of whatever kind; null when the side has none.
  std::shared_ptr<GameUnit> unit(std::string_view id) const;
  std::shared_ptr<GameUnit> unit_named(std::string_view name) const;
  /// The mission with this name; null when the side has none.
  std::shared_ptr<Mission> mission(std::string_view name) const;

  /// Contact id → contact (`Name`, `Type`, `Lon`, `Lat`, `ActualUnitID`, `IDStatus`, `Age`, …), friends' included. A
  /// friend's contact stays here after the friend has lost it: its `Age` then stands still, and an attack is refused.
  Dict contacts() const;
  /// The same, with their fields by name; the contact with this id, empty when there is none.
  std::vector<Contact> contact_list() const;
  std::optional<Contact> contact(std::string_view id) const;
  /// False when it is known to be of a side that this one does not hold for hostile.
  bool may_be_enemy(const Contact& contact) const;
  /// Message type → list of messages since the episode's start.
  Dict messages() const;
  /// What the side thinks of the others: side id → posture. Empty when the service does not tell.
  Dict postures() const;
  /// What the side thinks of another, given by name or id (a contact's `Side`): 0 neutral, 1 friendly, 2 unfriendly,
  /// 3 hostile, 4 unknown; none when the service does not tell.
  std::optional<std::int64_t> posture_toward(const Value& other) const;
  /// Friend side name → unit id → unit record.
  Dict friend_units() const;

  /// What the service refused of the side's orders since the last package was sent: those of the decision before this
  /// one. Empty when the service does not tell.
  const std::vector<RefusedOrder>& refused_orders() const;

  /// Simulated seconds since the scenario's start, and the scenario's duration as the service gives it.
  double time_elapsed() const;
  const Value& duration() const;

 private:
  RuleAgentBase& player_;
};

}  // namespace tessra
