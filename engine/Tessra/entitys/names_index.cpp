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
  if (stale_ || names_set_ != Element::names_set()) return rebuild(tables);
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
  names_set_ = Element::names_set();
  std::size_t units = 0;
  for (const ElementTable* table : tables) units += table->size();
  places_.reserve(units);
  holders_.reserve(units);
  for (std::size_t table = 0; table < tables.size(); ++table) {
    std::vector<const std::shared_ptr<Element>*> of_table;
    of_table.reserve(tables[table]->size());
    for (const auto& [guid, unit] : *tables[table]) of_table.push_back(&unit);
    insert_all(of_table, table);
  }
}

void NamesIndex::insert_all(std::span<const std::shared_ptr<Element>* const> units, std::size_t table) {
  // Units lie far apart: some are fetched, and their names are read, before the first of them is inserted.
  constexpr std::size_t kTogether = 16;
  std::vector<Holders::Sought> sought;
  while (!units.empty()) {
    const auto some = units.first(std::min(kTogether, units.size()));
    for (const auto* unit : some) __builtin_prefetch(unit->get());
    Value names[kTogether];
    sought.clear();
    for (std::size_t at = 0; at < some.size(); ++at) {
      names[at] = name_of(**some[at]);
      if (names[at].is_string()) sought.push_back({names[at].as_text(), KeyRef(names[at]).hash()});
    }
    holders_.fetch(sought);
    for (std::size_t at = 0; at < some.size(); ++at) insert(*some[at], names[at], next_order(table));
    units = units.subspan(some.size());
  }
}

void NamesIndex::insert(const std::shared_ptr<Element>& unit, const Value& name, Order order) {
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
