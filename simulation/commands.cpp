#include "simulation/commands.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "Tessra/base/utf8.h"
#include "simulation/order_limits.h"
#include "simulation/orders.h"

namespace tessra::sim {

namespace {

/// A known command: its name, the arguments it accepts, and its effect.
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

void run_command(World& world, const CommandCall& call) {
  const auto* command = std::ranges::find_if(kCommands, [&](const Command& known) { return call.name == known.name; });
  if (command == std::end(kCommands)) {
    throw CommandError(fmt::format("there is no command '{}'", quoted_name(call.name)));
  }
  const CommandArguments arguments(call.arguments);
  arguments.allow_only(command->arguments);
  command->run(world, arguments);
}

/// One side's part of a package.
struct Share {
  std::size_t orders = 0;
  std::size_t first_fault = 0;  // index of the refusal that represents all excess orders
};

/// Runs one package of commands.
class Package {
 public:
  explicit Package(World& world) : world_(world), shares_(world.sides.size() + 1) {}

  void run(const std::string& text);
  std::vector<CommandFault> take_faults();

 private:
  /// The part of this side, or the last one for commands without a valid side.
  Share& share_of(std::string_view side);
  void refuse(const std::string& text, const std::string& side, std::string reason) {
    faults_.push_back({number_, excerpt(text, kMaxQuotedOrder), excerpt(side, kMaxNameBytes), std::move(reason)});
  }

  World& world_;
  int number_ = 0;
  std::vector<Share> shares_;
  std::vector<CommandFault> faults_;
};

Share& Package::share_of(std::string_view side) {
  const auto named = [&](const SideState& state) { return state.setup->name == side; };
  return shares_[static_cast<std::size_t>(std::ranges::find_if(world_.sides, named) - world_.sides.begin())];
}

void Package::run(const std::string& text) {
  ++number_;
  std::optional<CommandCall> call;
  std::string side;
  std::string reason;
  try {
    call = read_command(text);
    const Value named = call->arguments.get("SIDE");
    if (named.is_string()) side = named.as_text();
  } catch (const CommandError& error) {
    reason = error.what();
  }
  // Unreadable commands count too: they cost as much as others.
  Share& share = share_of(side);
  if (++share.orders > kMaxPackageOrders) {
    // A single refusal for all: a flood of orders must not cause a flood of refusals.
    if (share.orders == kMaxPackageOrders + 1) {
      share.first_fault = faults_.size();
      refuse(text, side, "");
    }
    return;
  }
  try {
    if (call) run_command(world_, *call);
  } catch (const CommandError& error) {
    reason = error.what();
  }
  if (!reason.empty()) refuse(text, side, std::move(reason));
}

std::vector<CommandFault> Package::take_faults() {
  for (const Share& share : shares_) {
    if (share.orders <= kMaxPackageOrders) continue;
    faults_[share.first_fault].reason =
        fmt::format("more than {} orders of a side in one package: this and {} more have no effect", kMaxPackageOrders,
                    share.orders - kMaxPackageOrders - 1);
  }
  return std::move(faults_);
}

}  // namespace

std::vector<CommandFault> run_package(World& world, const std::vector<std::string>& texts) {
  Package package(world);
  for (const std::string& text : texts) package.run(text);
  return package.take_faults();
}

}  // namespace tessra::sim
