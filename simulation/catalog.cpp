// Reads and validates platform files.

#include "simulation/catalog.h"

#include <fmt/format.h>

#include "simulation/checked_json.h"

namespace tessra::sim {

namespace {

// Generous bounds: they catch typing errors and keep the arithmetic finite, not judge what is realistic.
constexpr double kMaxMetres = 5e6;
constexpr double kMaxSpeed = 5000;
constexpr int kMaxSeconds = 86'400;

template <class T>
struct Word {
  std::string_view text;
  T meaning;
};

constexpr Word<UnitKind> kKindWords[] = {{"aircraft", UnitKind::aircraft},
                                         {"ship", UnitKind::ship},
                                         {"submarine", UnitKind::submarine},
                                         {"facility", UnitKind::facility}};
constexpr Word<SensorKind> kSensorWords[] = {{"radar", SensorKind::radar},
                                             {"visual", SensorKind::visual},
                                             {"sonar", SensorKind::sonar},
                                             {"listener", SensorKind::listener}};

template <class T, std::size_t count>
T meaning_of(const CheckedJson& json, const Word<T> (&words)[count]) {
  const std::string text = json.text();
  for (const Word<T>& word : words) {
    if (word.text == text) return word.meaning;
  }
  json.fail(fmt::format("'{}' is not a known value", text));
}

KindSet read_targets(const CheckedJson& json) {
  KindSet targets;
  for (const CheckedJson& item : json.list("targets")) targets.add(meaning_of(item, kKindWords));
  return targets;
}

int seconds(const CheckedJson& json, std::string_view key) {
  return static_cast<int>(json.integer(key, 1, kMaxSeconds));
}

SensorType read_sensor(const std::string& name, const CheckedJson& json) {
  json.allow_only(
      {"kind", "range", "look_seconds", "chance", "targets", "bearing_error", "range_error", "height_error"});
  SensorType sensor;
  sensor.name = name;
  sensor.kind = meaning_of(json.at("kind"), kSensorWords);
  sensor.range = json.real("range", 1, kMaxMetres);
  sensor.look_seconds = seconds(json, "look_seconds");
  sensor.chance = json.real("chance", 0, 1);
  sensor.bearing_error = json.real_or("bearing_error", 0, 45, 0);
  sensor.range_error = json.real_or("range_error", 0, 0.3, 0);
  sensor.height_error = json.real_or("height_error", 0, 10'000, 0);
  sensor.targets = read_targets(json);
  return sensor;
}

WeaponType read_weapon(const std::string& name, const CheckedJson& json) {
  json.allow_only({"range", "speed", "height", "hit_chance", "damage", "reload_seconds", "salvo", "targets"});
  WeaponType weapon;
  weapon.name = name;
  weapon.range = json.real("range", 1, kMaxMetres);
  weapon.speed = json.real("speed", 1, kMaxSpeed);
  weapon.height = json.real_or("height", -1000, 50'000, 0);
  weapon.hit_chance = json.real("hit_chance", 0, 1);
  weapon.damage = json.real("damage", 0, 1e6);
  weapon.reload_seconds = seconds(json, "reload_seconds");
  weapon.salvo = static_cast<int>(json.integer("salvo", 1, 100));
  weapon.targets = read_targets(json);
  return weapon;
}

/// The table entry named by a text; `what` is the kind of entry for the error message.
template <class Table>
const typename Table::mapped_type* look_up(const Table& table, const CheckedJson& json, std::string_view what) {
  const std::string name = json.text();
  const auto found = table.find(name);
  if (found == table.end()) json.fail(fmt::format("there is no {} '{}'", what, name));
  return &found->second;
}

MountType read_mount(const CheckedJson& json, const Catalog& catalog) {
  json.allow_only({"name", "weapons"});
  MountType mount;
  mount.name = json.text("name");
  for (const CheckedJson& load : json.list("weapons")) {
    load.allow_only({"weapon", "count"});
    mount.loads.push_back(
        {look_up(catalog.weapons, load.at("weapon"), "weapon"), static_cast<int>(load.integer("count", 1, 10'000))});
  }
  if (mount.loads.empty()) json.fail("a mount needs weapons");
  return mount;
}

/// Each value bounds the next: no platform cruises faster than its maximum or higher than its ceiling.
void read_motion(const CheckedJson& json, Platform& platform) {
  platform.max_speed = json.real_or("max_speed", 0, kMaxSpeed, 0);
  platform.cruise_speed = json.real_or("cruise_speed", 0, platform.max_speed, platform.max_speed);
  platform.climb_rate = json.real_or("climb_rate", 0, 1000, 0);
  platform.min_height = json.real_or("min_height", -1000, 50'000, 0);
  platform.max_height = json.real_or("max_height", platform.min_height, 50'000, platform.min_height);
  platform.cruise_height = json.real_or("cruise_height", platform.min_height, platform.max_height, platform.max_height);
  platform.fuel = json.real_or("fuel", 0, 1e9, 0);
  platform.burn = json.real_or("burn", 0, 1e6, 0);
  platform.turnaround = static_cast<int>(json.real_or("turnaround", 0, kMaxSeconds, 0));
}

Platform read_platform(const std::string& name, const CheckedJson& json, const Catalog& catalog) {
  json.allow_only({"kind", "max_speed", "cruise_speed", "climb_rate", "min_height", "max_height", "cruise_height",
                   "fuel", "burn", "turnaround", "mast", "signature", "evasion", "damage_points", "value", "sensors",
                   "mounts"});
  Platform platform;
  platform.class_name = name;
  platform.kind = meaning_of(json.at("kind"), kKindWords);
  read_motion(json, platform);
  platform.mast = json.real_or("mast", 0, 1000, 0);
  platform.signature = json.real_or("signature", 0, 10, 1);
  platform.evasion = json.real_or("evasion", 0, 1, 0);
  platform.damage_points = json.real("damage_points", 1, 1e6);
  platform.value = json.real("value", 0, 1e6);
  for (const CheckedJson& sensor : json.list("sensors")) {
    platform.sensors.push_back(look_up(catalog.sensors, sensor, "sensor"));
  }
  for (const CheckedJson& mount : json.list("mounts")) platform.mounts.push_back(read_mount(mount, catalog));
  return platform;
}

/// A second definition is an error, since otherwise the order of files would decide which one holds.
template <class Table, class Item>
void add_new(Table& table, const std::string& name, const CheckedJson& json, Item item) {
  if (!table.emplace(name, std::move(item)).second) json.fail("is already defined");
}

}  // namespace

std::string_view category_of(UnitKind kind) {
  switch (kind) {
    case UnitKind::aircraft:
      return "Aircraft";
    case UnitKind::ship:
      return "Ship";
    case UnitKind::submarine:
      return "Submarine";
    case UnitKind::facility:
      return "Facility";
    case UnitKind::weapon:
      return "Weapon";
    case UnitKind::group:
      break;
  }
  return "Group";
}

void Catalog::read(const std::filesystem::path& path) {
  const CheckedJson file = CheckedJson::file(path);
  file.allow_only({"sensors", "weapons", "platforms"});
  // Platforms last: they refer to sensors and weapons, also of this file.
  for (const auto& [name, json] : file.entries("sensors")) add_new(sensors, name, json, read_sensor(name, json));
  for (const auto& [name, json] : file.entries("weapons")) add_new(weapons, name, json, read_weapon(name, json));
  for (const auto& [name, json] : file.entries("platforms")) {
    add_new(platforms, name, json, read_platform(name, json, *this));
  }
}

}  // namespace tessra::sim
