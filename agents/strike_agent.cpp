#include "agents/strike_agent.h"

namespace tessra {

namespace {

/// Longer reaches than the patrol agent's: strike aircraft must get to the enemy's facilities.
std::vector<Role> strike_roles() {
  using enum ContactType;
  return {
      {"Strike aircraft", {facility, ship}, 400'000},
      {"Fighter", {aircraft}, 200'000},
      {"Destroyer", {ship, submarine, aircraft}, 130'000},
      {"Frigate", {ship, submarine, aircraft}, 120'000},
      {"Missile boat", {ship}, 120'000},
      {"Submarine", {ship, submarine}, 60'000},
      {"Coastal missile battery", {ship}, 170'000},
      {"Sea patrol aircraft", {submarine}, 80'000},
  };
}

}  // namespace

StrikeAgent::StrikeAgent(std::string side_name) : FightingAgent(std::move(side_name), strike_roles(), 2) {}

}  // namespace tessra
