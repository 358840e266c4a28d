#pragma once

// The effects of commands. Every order validates everything before it changes anything.

#include "simulation/command_arguments.h"
#include "simulation/world.h"

namespace tessra::sim {

/// The side whose name is SIDE. Throws `CommandError`.
std::size_t ordered_side(const World& world, const CommandArguments& arguments);
/// The living unit UNIT of that side, or the members of the group UNIT. Throws `CommandError`.
std::vector<std::size_t> ordered_units(const World& world, const CommandArguments& arguments);

void change_speed(World& world, const CommandArguments& arguments);
void plot_course(World& world, const CommandArguments& arguments);
void set_speed(World& world, const CommandArguments& arguments);
void set_altitude(World& world, const CommandArguments& arguments);
void set_radar(World& world, const CommandArguments& arguments);
void attack(World& world, const CommandArguments& arguments);
void cancel_attack(World& world, const CommandArguments& arguments);
void set_weapon_control(World& world, const CommandArguments& arguments);
void return_to_base(World& world, const CommandArguments& arguments);
void add_patrol_mission(World& world, const CommandArguments& arguments);
void add_strike_mission(World& world, const CommandArguments& arguments);
void delete_mission(World& world, const CommandArguments& arguments);
void assign_unit(World& world, const CommandArguments& arguments);
void unassign_unit(World& world, const CommandArguments& arguments);

}  // namespace tessra::sim
