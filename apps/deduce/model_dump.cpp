// Converts the engine's model to plain dictionaries. Sets are sorted, so that dumps are reproducible.

#include "apps/deduce/model_dump.h"

#include <algorithm>
#include <set>

namespace tessra::app {

namespace {

/// Some attributes are hidden: the service client is a host object, and others are dumped elsewhere.
Dict attributes_without(const Element& element, std::initializer_list<std::string_view> left_out) {
  Dict shown;
  for (auto [name, value] : element.attributes()) {
    const bool hidden = name.is_string() && std::ranges::find(left_out, name.as_text()) != left_out.end();
    if (!hidden) shown.set(name, value);
  }
  return shown;
}

List ids(const ElementTable& table) {
  List list;
  for (const auto& [id, element] : table) list.push_back(id);
  return list;
}

List sorted(const TextSet& set) {
  List list;
  for (const std::string& text : std::set<std::string>(set.begin(), set.end())) list.push_back(text);
  return list;
}

Dict guids_by_key(const ElementTable& table) {
  Dict dict;
  for (const auto& [key, element] : table) dict.set(key, element->guid());
  return dict;
}

/// A table of the player; empty if it was never stored.
Value stored(const RuleAgentBase& player, std::string_view name) {
  const Value* value = player.attributes().find(name);
  return value != nullptr ? *value : Value(Dict());
}

Dict dump_player(const RuleAgentBase& player) {
  return {{"attributes", attributes_without(player, {"_game_server", "Contacts", "KeyMsg", "friend_side_units"})},
          {"Contacts", stored(player, "Contacts")},
          {"KeyMsg", stored(player, "KeyMsg")},
          {"friend_side_units", stored(player, "friend_side_units")},
          {"missions_obj", guids_by_key(player.missions_obj)},
          {"groups", ids(player.groups)},
          {"aircrafts", ids(player.aircrafts)},
          {"ships", ids(player.ships)},
          {"submarines", ids(player.submarines)},
          {"satellites", ids(player.satellites)},
          {"facilitys", ids(player.facilitys)},
          {"weapons", ids(player.weapons)},
          {"units_of_name", guids_by_key(player.units_of_name)}};
}

}  // namespace

Dict dump_elements(const Deduction& engine) {
  Dict dump;
  for (const auto& [guid, element] : engine.elements) {
    const bool is_player = dynamic_cast<const RuleAgentBase*>(element.get()) != nullptr;
    dump.set(guid, Dict{{"class", element->class_name()},
                        {"attributes", is_player ? Dict() : attributes_without(*element, {"_game_server", "escort"})}});
  }
  return dump;
}

Dict dump_players(const Deduction& engine) {
  Dict dump;
  for (const auto& [side, player] : engine.players) dump.set(side, dump_player(*player));
  return dump;
}

Dict dump_engine(const Deduction& engine) {
  return {
      {"current_round", engine.current_round},
      {"step_index", engine.step_index},
      {"time_elapsed", engine.time_elapsed},
      {"start_game_time_elapsed", engine.start_game_time_elapsed ? Value(*engine.start_game_time_elapsed) : Value()},
      {"simulate_time", engine.simulate_time},
      {"simulate_timestamp", engine.simulate_timestamp},
      {"deduce_is_end", engine.deduce_is_end},
      {"error_room_flag", engine.error_room_flag},
      {"side_id2name", engine.side_id2name},
      {"sides_info", engine.sides_info},
      {"friend_side_set", sorted(engine.friend_side_set)},
      {"friend_side_contacts", engine.friend_side_contacts},
      {"init_units", engine.init_units},
      {"crt_delete_units", sorted(engine.crt_delete_units)},
      {"agent_names", engine.agent_names}};
}

}  // namespace tessra::app
