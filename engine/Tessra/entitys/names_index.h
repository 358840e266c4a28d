#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Tessra/base/ordered_map.h"

namespace tessra {

class Element;
using ElementTable = OrderedMap<std::shared_ptr<Element>>;

/// A side's units by name, as they were at the last `refresh`. The last of equal names wins: the one that stands last
/// in the last table.
///
/// Building it anew at every update would take longer than the update itself (docs/performance.md). So the player notes
/// which units came, went or changed their name, and only those are looked at. Per name the index keeps all units that
/// have it, ordered by where they stand in the side tables, so that the next one is known when one goes.
class NamesIndex {
 public:
  /// Null when no unit has the name.
  const std::shared_ptr<Element>* find(std::string_view name) const;
  /// Throws `KeyError` naming the name.
  const std::shared_ptr<Element>& at(std::string_view name) const;
  bool contains(std::string_view name) const { return find(name) != nullptr; }
  std::size_t size() const { return holders_.size(); }
  bool empty() const { return size() == 0; }
  /// A table of all names, ordered by their first unit. Sorts, so not for every step.
  operator ElementTable() const;

  void clear() { *this = NamesIndex(); }

  // Changes of the side tables since the last `refresh`, in their order.

  void note_added(std::size_t table, std::shared_ptr<Element> unit) { note(Change::added, table, std::move(unit)); }
  void note_removed(std::shared_ptr<Element> unit) { note(Change::removed, 0, std::move(unit)); }
  void note_renamed(const Element& unit);
  /// For any other change: the next `refresh` rebuilds the index.
  void note_anything() { stale_ = true; }

  /// Brings the index up to date with these tables.
  void refresh(std::span<const ElementTable* const> tables);

 private:
  enum class Change { added, removed };
  struct Event {
    Change change;
    std::size_t table;
    std::shared_ptr<Element> unit;
  };
  /// Position of a unit: its table in the highest byte, below it a number that grows within the table.
  using Order = std::uint64_t;
  struct Holder {
    Order order;
    std::shared_ptr<Element> unit;
  };
  using Holders = OrderedMap<std::vector<Holder>>;
  struct Place {
    Order order;
    Value name;
  };

  void note(Change change, std::size_t table, std::shared_ptr<Element> unit);
  void rebuild(std::span<const ElementTable* const> tables);
  void insert(const std::shared_ptr<Element>& unit, const Value& name, Order order);
  std::shared_ptr<Element> take_out(const Place& place);
  Order next_order(std::size_t table) { return Order{table} << 56 | ++last_number_; }

  Holders holders_;
  std::unordered_map<const Element*, Place> places_;
  std::vector<Event> events_;
  std::vector<const Element*> renamed_;
  Order last_number_ = 0;
  bool stale_ = true;
  std::shared_ptr<bool> is_renamed_ = std::make_shared<bool>(false);  // a unit got its name from an agent
};

}  // namespace tessra
