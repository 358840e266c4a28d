#include "tests/support/generated_sides.h"

#include <fmt/format.h>

namespace tessra::testing {

namespace {

constexpr std::pair<const char*, int> kUnitCategories[] = {
    {"Aircraft", 1}, {"Ship", 2}, {"Submarine", 3}, {"Facility", 4}, {"Satellite", 7}, {"Weapon", 6}, {"Group", 0}};
constexpr const char* kMissionCategories[] = {"Strike", "Patrol",       "Support",       "Ferry",
                                              "Mining", "MineClearing", "CargoTransfer", "Unheard"};
constexpr int kMissionsPerSide = 10;

}  // namespace

Cast::Cast(const GeneratorOptions& options) : options_(options) {
  for (int i = 0; i < options.sides; ++i) {
    const char* const camps[] = {"红方", "蓝方"};
    GeneratedSide side{fmt::format("side-{}", i), i < 2 ? camps[i] : fmt::format("第{}方", i), {}, {}, {}};
    for (int n = 0; n < options.units_per_side; ++n) {
      GeneratedUnit& unit = add_unit(side);
      if (options.gaps) make_odd(unit, n % 13);
    }
    if (!options.gaps) side.units.back().parts = GeneratedUnit::kBasic;
    for (int n = 0; n < kMissionsPerSide; ++n) add_mission(side);
    for (int n = 0; n < options.contacts_per_side; ++n) add_contact(side);
    sides.push_back(std::move(side));
  }
}

GeneratedUnit& Cast::add_unit(GeneratedSide& side) const {
  const std::size_t number = side.units.size();
  const auto& [category, type] = kUnitCategories[number % std::size(kUnitCategories)];
  return side.units.emplace_back(GeneratedUnit{.id = fmt::format("{}-unit-{}", side.id, number),
                                               .category = category,
                                               .name = fmt::format("{} {}", category, number % 21),  // some twice
                                               .type = type});
}

void Cast::make_odd(GeneratedUnit& unit, int way) {
  const Value odd_types[] = {5, Value(), 9, 1.0};
  if (way >= 1 && way <= 4) unit.type = odd_types[way - 1];
  if (way == 5) unit.name = "";
  if (way == 6) unit.name = Value();
  if (way == 7) unit.category = "Unheard";
  if (way == 8) unit.parts = GeneratedUnit::kAll - GeneratedUnit::kBasic;
  if (way == 9) unit.parts = GeneratedUnit::kAll - GeneratedUnit::kPosition;
  if (way == 10) unit.parts = GeneratedUnit::kPosition;
  if (way == 11) unit.parts = GeneratedUnit::kBasic;
  if (way == 12) unit.has_inner = false;
}

GeneratedMission& Cast::add_mission(GeneratedSide& side) const {
  const std::size_t number = side.missions.size();
  return side.missions.emplace_back(GeneratedMission{fmt::format("{}-mission-{}", side.id, number),
                                                     kMissionCategories[number % std::size(kMissionCategories)]});
}

GeneratedContact& Cast::add_contact(GeneratedSide& side) const {
  const std::size_t number = side.contacts.size();
  const int camp = side.id.back() % 2;  // every third contact is known to all friends under one id
  return side.contacts.emplace_back(GeneratedContact{number % 3 == 0 ? fmt::format("contact-{}-{}", camp, number)
                                                                     : fmt::format("{}-contact-{}", side.id, number)});
}

Dict Cast::config() const {
  Dict rules;
  for (int i = 0; i < options_.agent_sides && i < options_.sides; ++i) {
    rules.set(sides[i].name, Dict{{fmt::format("agent-{}", i), Dict{{"class", "idle"}}}});
  }
  return {{"game_server", Dict{{"simulate", Dict{{"scenario", "generated"}}}, {"server", Dict()}}},
          {"rule_config", rules}};
}

Dict Cast::sides_info() const {
  Dict info;
  for (std::size_t i = 0; i < sides.size(); ++i) {
    List friend_ids;
    for (std::size_t j = 0; j < sides.size(); ++j) {
      if (friends(i, j)) friend_ids.push_back(sides[j].id);
    }
    info.set(sides[i].id, Dict{{"Name", sides[i].name}, {"Friend", friend_ids}});
  }
  return info;
}

}  // namespace tessra::testing
