#include "agents/strike_agent.h"

namespace tessra {

namespace {

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

StrikeAgent::StrikeAgent(std::string side_name) : Agent(std::move(side_name)), fire_control_(strike_roles(), 2) {}

void StrikeAgent::initial(const Situation& situation) { fire_control_.free_weapons(situation); }

void StrikeAgent::step(double /*time_elapsed*/, const Situation& situation) { fire_control_.engage(situation); }

}  // namespace tessra
