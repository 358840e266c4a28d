// Reads and validates scenario files. Everything is checked here, with the place in the file, so that the simulation
// itself can rely on valid references and values.

#include "simulation/scenario.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "simulation/checked_json.h"

namespace tessra::sim {

namespace {

constexpr int kMaxDuration = 7 * 86'400;

/// Reads one scenario file. Ids are collected first, so that references may precede the definitions.
class ScenarioReader {
 public:
  explicit ScenarioReader(const std::filesystem::path& path)
      : file_(CheckedJson::file(path)), scenario_(std::make_shared<Scenario>()) {
    file_.allow_only({"id", "title", "start", "duration", "visibility", "platforms", "sides", "agents"});
    read_head(path.parent_path());
    gather_ids();
    check_agents();
    for (const CheckedJson& json : file_.list("sides")) scenario_->sides.push_back(read_side(json));
    if (scenario_->sides.empty()) file_.fail("sides: a scenario needs sides");
  }

  std::shared_ptr<const Scenario> result() const { return scenario_; }

 private:
  void read_head(const std::filesystem::path& folder) {
    scenario_->id = file_.text("id");
    scenario_->title = file_.text("title");
    scenario_->start = file_.integer("start", 0, std::int64_t{1} << 52);
    scenario_->duration = static_cast<int>(file_.integer("duration", 1, kMaxDuration));
    scenario_->visibility = file_.real_or("visibility", 0, 1, 1);
    for (const CheckedJson& name : file_.list("platforms")) scenario_->catalog.read(folder / name.text());
  }

  void gather_ids() {
    // One set for the whole file: ids of sides, units, groups and missions must not collide either.
    add_id(file_, all_ids_);
    for (const CheckedJson& side : file_.list("sides")) {
      const std::string side_id = side.text("id");
      add_id(side, all_ids_);
      side_ids_.insert(side_id);
      // Orders and configurations refer to sides by name.
      if (!side_names_.insert(side.text("name")).second) side.at("name").fail("another side has this name");
      for (const CheckedJson& unit : side.list("units")) {
        add_id(unit, all_ids_);
        side_of_unit_[unit.text("id")] = side_id;
      }
      for (const CheckedJson& group : side.list("groups")) add_id(group, all_ids_);
      for (const CheckedJson& mission : side.list("missions")) add_id(mission, all_ids_);
    }
  }

  /// Checks only that the sides exist and each agent has a class. Whether the class exists depends on the program that
  /// plays the scenario.
  void check_agents() const {
    for (const auto& [side, agents] : file_.entries("agents")) {
      if (!side_names_.contains(side)) agents.fail("the scenario has no such side");
      for (const auto& [name, agent] : file_.at("agents").entries(side)) agent.text("class");
    }
  }

  static void add_id(const CheckedJson& json, std::set<std::string>& ids) {
    if (json.text("id").find('#') != std::string::npos)
      json.at("id").fail("'#' is reserved for ids made in an episode");
    if (!ids.insert(json.text("id")).second) json.at("id").fail("is used twice");
  }

  SideSetup read_side(const CheckedJson& json) {
    json.allow_only({"id", "name", "postures", "known", "reference_points", "units", "groups", "missions"});
    SideSetup side;
    side.id = json.text("id");
    side.name = json.text("name");
    for (const auto& [other, posture] : json.entries("postures")) {
      if (!side_ids_.contains(other) || other == side.id) posture.fail("is not another side");
      side.postures[other] = static_cast<int>(posture.integer(0, 4));
    }
    side.known = foreign_units(json, "known", side.id);
    for (const CheckedJson& point : json.list("reference_points")) {
      point.allow_only({"id", "name", "lat", "lon"});
      side.reference_points.push_back({point.text("id"), point.text("name"), read_place(point)});
    }
    for (const CheckedJson& unit : json.list("units")) side.units.push_back(read_unit(unit, side.id));
    check_bases(json, side);
    for (const CheckedJson& group : json.list("groups")) side.groups.push_back(read_group(group, side.id));
    for (const CheckedJson& mission : json.list("missions")) side.missions.push_back(read_mission(mission, side));
    return side;
  }

  static Place read_place(const CheckedJson& json) { return {json.real("lat", -89, 89), json.real("lon", -180, 180)}; }

  static WeaponControl read_control(const CheckedJson& json) {
    const std::string text = json.text_or("control", "tight");
    if (text == "free") return WeaponControl::free;
    if (text == "hold") return WeaponControl::hold;
    if (text != "tight") json.at("control").fail("must be free, tight or hold");
    return WeaponControl::tight;
  }

  UnitSetup read_unit(const CheckedJson& json, const std::string& side_id) const {
    json.allow_only(
        {"id", "name", "platform", "lat", "lon", "height", "heading", "base", "at_base", "radar", "control"});
    UnitSetup unit;
    unit.id = json.text("id");
    unit.name = json.text("name");
    const std::string platform = json.text("platform");
    const auto found = scenario_->catalog.platforms.find(platform);
    if (found == scenario_->catalog.platforms.end()) {
      json.at("platform").fail(fmt::format("there is no platform '{}'", platform));
    }
    unit.platform = &found->second;
    unit.place = read_place(json);
    unit.height =
        json.real_or("height", unit.platform->min_height, unit.platform->max_height, unit.platform->cruise_height);
    unit.heading = json.real_or("heading", 0, 360, 0);
    if (json.has("base")) unit.base = own_unit(json.at("base"), side_id);
    unit.at_base = json.boolean_or("at_base", false);
    if (unit.at_base && unit.base.empty()) json.at("at_base").fail("needs a base");
    unit.radar = json.boolean_or("radar", false);
    unit.control = read_control(json);
    return unit;
  }

  /// A base must be a facility or a ship, other than the unit itself, and not be at a base: bases do not nest.
  static void check_bases(const CheckedJson& json, const SideSetup& side) {
    const std::vector<CheckedJson> units = json.list("units");
    for (std::size_t i = 0; i < units.size(); ++i) {
      const std::string& base_id = side.units[i].base;
      if (base_id.empty()) continue;
      const auto base =
          std::find_if(side.units.begin(), side.units.end(), [&](const UnitSetup& unit) { return unit.id == base_id; });
      const bool fits = base->platform->kind == UnitKind::facility || base->platform->kind == UnitKind::ship;
      if (!fits || base->at_base || base_id == side.units[i].id) units[i].at("base").fail("cannot be a base");
    }
  }

  std::string own_unit(const CheckedJson& json, const std::string& side_id) const {
    const auto owner = side_of_unit_.find(json.text());
    if (owner == side_of_unit_.end() || owner->second != side_id) json.fail("is not a unit of this side");
    return owner->first;
  }

  std::vector<std::string> own_units(const CheckedJson& json, std::string_view key, const std::string& side_id) const {
    std::vector<std::string> ids;
    for (const CheckedJson& item : json.list(key)) ids.push_back(own_unit(item, side_id));
    return ids;
  }

  std::vector<std::string> foreign_units(const CheckedJson& json, std::string_view key,
                                         const std::string& side_id) const {
    std::vector<std::string> ids;
    for (const CheckedJson& item : json.list(key)) {
      const auto owner = side_of_unit_.find(item.text());
      if (owner == side_of_unit_.end() || owner->second == side_id) item.fail("is not a unit of another side");
      ids.push_back(owner->first);
    }
    return ids;
  }

  GroupSetup read_group(const CheckedJson& json, const std::string& side_id) {
    json.allow_only({"id", "name", "members"});
    GroupSetup group{json.text("id"), json.text("name"), own_units(json, "members", side_id)};
    if (group.members.empty()) json.fail("a group needs members");
    for (const CheckedJson& member : json.list("members")) {
      if (!grouped_.insert(member.text()).second) member.fail("is already in a group");
    }
    return group;
  }

  MissionSetup read_mission(const CheckedJson& json, const SideSetup& side) {
    json.allow_only({"id", "name", "kind", "zone", "targets", "units"});
    MissionSetup mission;
    mission.id = json.text("id");
    mission.name = json.text("name");
    mission.kind = read_mission_kind(json.at("kind"));
    for (const CheckedJson& corner : json.list("zone")) mission.zone.push_back(read_place(corner));
    mission.targets = foreign_units(json, "targets", side.id);
    mission.units = own_units(json, "units", side.id);
    for (const MissionSetup& other : side.missions) {
      if (other.name == mission.name) json.at("name").fail("another mission of the side has this name");
    }
    if (mission.kind == MissionKind::strike) {
      check_known(json, mission, side);
    } else if (mission.zone.empty()) {
      json.fail("zone: a patrol or support mission needs a zone");
    }
    return mission;
  }

  static MissionKind read_mission_kind(const CheckedJson& json) {
    const std::string text = json.text();
    if (text == "strike") return MissionKind::strike;
    if (text == "support") return MissionKind::support;
    if (text != "patrol") json.fail("must be strike, patrol or support");
    return MissionKind::patrol;
  }

  /// A strike's targets must be known units: missions refer to contacts, which only known units have at the start.
  static void check_known(const CheckedJson& json, const MissionSetup& mission, const SideSetup& side) {
    if (mission.targets.empty()) json.fail("targets: a strike mission needs targets");
    for (const CheckedJson& target : json.list("targets")) {
      if (std::find(side.known.begin(), side.known.end(), target.text()) == side.known.end()) {
        target.fail("is not among the side's known units");
      }
    }
  }

  CheckedJson file_;
  std::shared_ptr<Scenario> scenario_;
  std::set<std::string> all_ids_;
  std::set<std::string> side_ids_;
  std::set<std::string> side_names_;
  std::set<std::string> grouped_;
  std::map<std::string, std::string> side_of_unit_;
};

}  // namespace

std::shared_ptr<const Scenario> read_scenario(const std::filesystem::path& path) {
  return ScenarioReader(path).result();
}

}  // namespace tessra::sim
