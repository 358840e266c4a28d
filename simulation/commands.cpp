#include "simulation/commands.h"

#include "simulation/orders.h"

namespace tessra::sim {

namespace {

struct Command {
  const char* name;
  const char* arguments;
  void (*run)(World&, const CommandArguments&);
};

constexpr Command kCommands[] = {
    {"ChangeSpeed", "SPEED", change_speed},
    {"PlotCourse", "SIDE UNIT COURSE", plot_course},
    {"SetSpeed", "SIDE UNIT SPEED", set_speed},
    {"SetAltitude", "SIDE UNIT ALTITUDE", set_altitude},
    {"SetRadar", "SIDE UNIT ON", set_radar},
    {"Attack", "SIDE UNIT CONTACT WEAPON QUANTITY", attack},
    {"CancelAttack", "SIDE UNIT", cancel_attack},
    {"SetWeaponControl", "SIDE UNIT CONTROL", set_weapon_control},
    {"ReturnToBase", "SIDE UNIT", return_to_base},
    {"AddPatrolMission", "SIDE NAME ZONE", add_patrol_mission},
    {"AddStrikeMission", "SIDE NAME TARGETS", add_strike_mission},
    {"DeleteMission", "SIDE NAME", delete_mission},
    {"AssignUnit", "SIDE UNIT MISSION", assign_unit},
    {"UnassignUnit", "SIDE UNIT", unassign_unit},
};

std::vector<std::string> command_names() {
  std::vector<std::string> names;
  for (const Command& command : kCommands) names.emplace_back(command.name);
  return names;
}

}  // namespace

void run_command(World& world, const std::string& text) {
  const CommandCall call = read_command(text, command_names());
  const CommandArguments arguments(call.arguments);
  for (const Command& command : kCommands) {
    if (call.name != command.name) continue;
    arguments.allow_only(command.arguments);
    command.run(world, arguments);
  }
}

}  // namespace tessra::sim
