#include "agents/strike_agent.h"

namespace tessra {

namespace {

std::vector<Role> strike_roles() {
  return {
      {"Strike aircraft", {kFacilityContact, kShipContact}, 400'000},
      {"Fighter", {kAircraftContact}, 200'000},
      {"Destroyer", {kShipContact, kSubmarineContact, kAircraftContact}, 130'000},
      {"Frigate", {kShipContact, kSubmarineContact, kAircraftContact}, 120'000},
      {"Missile boat", {kShipContact}, 120'000},
      {"Submarine", {kShipContact, kSubmarineContact}, 60'000},
      {"Coastal missile battery", {kShipContact}, 170'000},
      {"Sea patrol aircraft", {kSubmarineContact}, 80'000},
  };
}

}  // namespace

StrikeAgent::StrikeAgent(std::string side_name) : Agent(std::move(side_name)), fire_control_(strike_roles(), 2) {}

void StrikeAgent::initial(const Situation& situation) { fire_control_.free_weapons(situation); }

void StrikeAgent::step(double /*time_elapsed*/, const Situation& situation) { fire_control_.engage(situation); }

}  // namespace tessra
