#include "tests/support/record_mutator.h"

#include <fmt/format.h>

#include <vector>

#include "Tessra/base/json_read.h"

namespace tessra::testing {

namespace {

constexpr const char* kServiceKeys[] = {"mapdel",   "v",       "ID",           "Name",       "Side",    "UnitType",
                                        "Contacts", "Mission", "ActiveUnit",   "Doctrine",   "WRA",     "Friend",
                                        "Time",     "IsEnd",   "ActualUnitID", "ScenarioID", "IDStatus"};

Value nested(int depth) {
  Value value = 1;
  for (int level = 0; level < depth; ++level) value = level % 2 == 0 ? Value(Dict{{"v", value}}) : Value(List{value});
  return value;
}

Dict wide(int count) {
  Dict dict;
  for (int i = 0; i < count; ++i) dict.set(fmt::format("key-{}", i), i);
  return dict;
}

/// Values that fit few places of a record: other kinds, extreme numbers, empty and deep and wide containers.
std::vector<Value> odd_values() {
  const Value odd =
      read_json(R"([null, true, false, 0, -1, 7, 9223372036854775807, -9223372036854775808, 3.5, 1e300, "",
      "text", "12", [], [1, "two"], [{"ID": []}, null, [3]], {}, {"": null}, {"v": 1}, {"mapdel": [1], "x": {"v": {}}}])");
  std::vector<Value> values = {nested(200), wide(2000)};
  for (const Value& value : odd.as_list()) values.push_back(value);
  return values;
}

}  // namespace

std::string RecordMutator::mutate(Dict record) const {
  Value at = record;
  std::string place;
  while (true) {
    // A list or dictionary is changed itself now and then, and mostly entered.
    if (List* list = at.is_list() ? &at.as_list() : nullptr) {
      const auto index = static_cast<std::size_t>(below_(static_cast<int>(list->size())));
      const Value next = list->at(index);
      const bool inner = (next.is_dict() || next.is_list()) && next.truthy();
      place += fmt::format("[{}]", index);
      if (!inner || below_(4) == 0) return place + mutate_item(*list, index);
      at = next;
    } else {
      Dict& dict = at.as_dict();
      if (dict.empty()) return "nothing to change";
      const Value key = key_of(dict);
      const Value next = dict.at(key);
      const bool inner = (next.is_dict() || next.is_list()) && next.truthy();
      place += "." + key.to_text();
      if (!inner || below_(6) == 0) return place + mutate_entry(dict, key, record);
      at = next;
    }
  }
}

std::string RecordMutator::mutate_entry(Dict& dict, const Value& key, const Dict& record) const {
  const int way = below_(6);
  const Value before = dict.at(key);
  const Value fresh = way == 2 ? taken_from(record) : odd_value();
  const char* const neighbour = kServiceKeys[below_(std::size(kServiceKeys))];
  if (way < 2) dict.erase(key);
  if (way == 0) return " is gone";
  const Value place = way == 1 ? Value(7) : way == 3 ? Value(neighbour) : key;
  dict.set(place, way == 1 ? before : fresh);
  return fmt::format(": {} is {:.60}", place.to_text(), dict.at(place).to_text());
}

std::string RecordMutator::mutate_item(List& list, std::size_t index) const {
  list.at(index) = odd_value();
  return fmt::format(" is {:.60}", list.at(index).to_text());
}

Value RecordMutator::odd_value() const {
  const std::vector<Value> values = odd_values();
  return values[static_cast<std::size_t>(below_(static_cast<int>(values.size())))];
}

Value RecordMutator::key_of(const Dict& dict) const {
  int left = below_(static_cast<int>(dict.size()));
  for (auto [key, value] : dict) {
    if (left-- == 0) return key;
  }
  return {};
}

Value RecordMutator::taken_from(const Dict& record) const {
  Value at = record;
  while (at.is_dict() && !at.as_dict().empty()) {
    Value key = key_of(at.as_dict());
    if (below_(5) == 0) return key;
    at = Value(at.as_dict().at(key));
    if (below_(4) == 0) break;
  }
  return at.deep_copy();
}

}  // namespace tessra::testing
