#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Tessra/base/ordered_map.h"
#include "Tessra/entitys/agent.h"
#include "Tessra/entitys/element.h"
#include "Tessra/entitys/names_index.h"
#include "Tessra/entitys/situation.h"

namespace tessra {

class Scenario;

/// Elements of one kind or of a whole registry, by guid (missions of a side: by name).
using ElementTable = OrderedMap<std::shared_ptr<Element>>;
using AgentList = std::vector<std::shared_ptr<Agent>>;

/// The player of a side: it holds the side's agents and the side's part of the situation model, and is itself the
/// side's element, so that the side's attributes (`TotalScore`, `Contacts`, `KeyMsg`, …) are read from it.
///
/// The engine fills and empties the tables; agents read them through `get_situation`.
class RuleAgentBase : public Element {
 public:
  explicit RuleAgentBase(std::string side_name);

  std::string_view class_name() const override { return "RuleAgentBase"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();

  /// The side as agents see it; refers to the player's own tables and is valid until `reset`.
  const tessra::Situation& get_situation() const { return situation_; }

  void set_time_elapse(double seconds) { time_elapsed_ = seconds; }
  void set_simulate_time(std::string text) { simulate_time_ = std::move(text); }
  void set_scenario_duration(Value duration) { duration_ = std::move(duration); }
  /// Simulated seconds of the episode, the scenario clock as text at the episode's start, and the scenario's duration.
  double time_elapsed() const { return time_elapsed_; }
  const std::string& simulate_time() const { return simulate_time_; }
  const Value& scenario_duration() const { return duration_; }

  /// Brings `units_of_name` up to date with the side tables. The last of equal names wins. After changing a table
  /// directly, not by `add_unit` or `delete_element`, call `units_of_name.note_anything()` first.
  void update_units_of_names();

  /// Adds a unit to the side table of its type, replacing one with the same guid. The type must be one of a unit.
  void add_unit(const Value& guid, tessra::ElementType type, const std::shared_ptr<Element>& unit);

  /// Removes an element from its side table; a mission by `unit_name`, everything else by `guid`. Returns the ids the
  /// registry must drop.
  std::vector<std::string> delete_element(std::string_view guid, tessra::ElementType type,
                                          std::string_view unit_name = "");

  /// The side table of an element type, or null when that type has none.
  ElementTable* side_table(tessra::ElementType type);

  /// Back to what the constructor made: new tables and attributes. Keeps `agents_list`.
  void reset();

  /// The side's agents; the player owns them.
  std::shared_ptr<AgentList> agents_list = std::make_shared<AgentList>();
  std::int64_t simulate_timestamp = 0;
  std::shared_ptr<Scenario> scenario;
  /// Side id → side name, of all sides that the engine knows; shared with it.
  Dict side_names;

  /// The other players by side name; not owned, filled on request of the host.
  OrderedMap<RuleAgentBase*> current_players;

  // Side tables.

  ElementTable missions_obj;
  ElementTable groups;
  ElementTable aircrafts;
  ElementTable ships;
  ElementTable submarines;
  ElementTable satellites;
  ElementTable facilitys;
  ElementTable weapons;
  NamesIndex units_of_name;

  /// Of the package that was sent last.
  std::vector<RefusedOrder> refused_orders;

 private:
  /// The tables of units, in the order in which they are searched for names.
  std::array<const ElementTable*, 7> unit_tables() const;

  std::string side_name_;  // what `reset` goes back to; a record may overwrite the attributes
  double time_elapsed_ = 0;
  std::string simulate_time_;
  Value duration_;
  tessra::Situation situation_;
};

}  // namespace tessra
