#include "Tessra/entitys/names_index.h"

#include <algorithm>

#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/element.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

namespace {

Value name_of(const Element& unit) { return unit.attributes().get(names::kName); }

}  // namespace

const std::shared_ptr<Element>* NamesIndex::find(std::string_view name) const {
  const auto* holders = holders_.find(name);
  return holders != nullptr ? &holders->back().unit : nullptr;
}

const std::shared_ptr<Element>& NamesIndex::at(std::string_view name) const { return holders_.at(name).back().unit; }

NamesIndex::operator ElementTable() const {
  std::vector<std::pair<Order, std::string_view>> order;
  for (const auto& [name, holders] : holders_) order.emplace_back(holders.front().order, name);
  std::ranges::sort(order);
  ElementTable table;
  for (const auto& [first, name] : order) table.set(name, at(name));
  return table;
}

void NamesIndex::note(Change change, std::size_t table, std::shared_ptr<Element> unit) {
  if (!stale_) events_.push_back({change, table, std::move(unit)});
}

void NamesIndex::note_renamed(const Element& unit) {
  if (!stale_ && places_.contains(&unit)) renamed_.push_back(&unit);
}

void NamesIndex::refresh(std::span<const ElementTable* const> tables) {
  if (stale_ || *is_renamed_) return rebuild(tables);
  // Names first: a renamed unit may be among those that go, and is no longer known after that.
  for (const Element* unit : renamed_) {
    const auto known = places_.find(unit);
    if (known == places_.end()) continue;
    const Order order = known->second.order;
    if (const auto held = take_out(known->second)) insert(held, name_of(*held), order);
  }
  for (const Event& event : events_) {
    if (event.change == Change::added) {
      insert(event.unit, name_of(*event.unit), next_order(event.table));
    } else if (const auto known = places_.find(event.unit.get()); known != places_.end()) {
      take_out(known->second);
      places_.erase(known);
    }
  }
  renamed_.clear();
  events_.clear();
}

void NamesIndex::rebuild(std::span<const ElementTable* const> tables) {
  clear();
  stale_ = false;
  for (std::size_t table = 0; table < tables.size(); ++table) {
    for (const auto& [guid, unit] : *tables[table]) insert(unit, name_of(*unit), next_order(table));
  }
}

void NamesIndex::insert(const std::shared_ptr<Element>& unit, const Value& name, Order order) {
  unit->watch_name(is_renamed_);
  if (!name.truthy()) {
    stale_ = true;  // it may get a name later, and its place must be found then
    places_.erase(unit.get());
    return;
  }
  const Value text = cf::text_of(name);
  places_[unit.get()] = {order, text};
  auto* holders = holders_.find(text.as_text());
  if (holders == nullptr) holders = &holders_.set(text, {});
  const auto place = std::ranges::upper_bound(*holders, order, {}, &Holder::order);
  holders->insert(place, {order, unit});
}

std::shared_ptr<Element> NamesIndex::take_out(const Place& place) {
  auto* holders = holders_.find(place.name.as_text());
  const auto holder = std::ranges::find(*holders, place.order, &Holder::order);
  std::shared_ptr<Element> unit = std::move(holder->unit);
  holders->erase(holder);
  if (holders->empty()) holders_.erase(place.name.as_text());
  return unit;
}

}  // namespace tessra
