#include "bench/situations.h"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <string_view>

#include "Tessra/base/json_write.h"
#include "tests/support/record_tree.h"

namespace tessra::bench {

namespace {

using testing::branch;

constexpr std::int64_t kStart = 1'700'000'000'000;

struct Category {
  const char* name;
  int type;
};
constexpr Category kCategories[] = {{"Aircraft", 1}, {"Ship", 2}, {"Submarine", 3}, {"Facility", 4}};
constexpr const char* kMissionCategories[] = {"Strike", "Patrol", "Support", "CargoTransfer"};
constexpr const char* kSideNames[] = {"红方", "蓝方", "绿方"};  // the first and the last are friends

/// A unit, contact or mission: its id and whether it still exists.
struct Item {
  std::string id;
  std::size_t kind = 0;  // index of its category
  bool alive = true;
  double lon = 0;
};

struct Side {
  std::string id, name;
  std::vector<Item> units, contacts, missions;
};

class Generator {
 public:
  explicit Generator(const SituationOptions& options) : options_(options), bits_(options.seed) {
    for (std::size_t i = 0; i < std::size(kSideNames); ++i) {
      Side& side = sides_.emplace_back(Side{guid(), kSideNames[i], {}, {}, {}});
      const int units = options.units / 3 + (static_cast<int>(i) < options.units % 3 ? 1 : 0);
      for (int n = 0; n < units; ++n) add(side.units, std::size(kCategories));
      for (int n = 0; n < std::max(2, units / 20); ++n) add(side.missions, std::size(kMissionCategories));
    }
    for (Side& side : sides_) {
      for (std::size_t n = 0; n < side.units.size() / 2; ++n) add(side.contacts, 1);
    }
  }

  Situations run() {
    Situations made;
    for (const Side& side : sides_) made.sides.set(side.id, Dict{{"Name", side.name}, {"Friend", friends_of(side)}});
    made.initial = write_json(initial());
    for (int number = 1; number <= options_.updates; ++number) made.updates.push_back(write_json(update(number)));
    for (const Side& side : sides_) {
      auto& contacts = made.own_contacts.emplace_back(side.name, std::vector<std::string>()).second;
      for (const Item& contact : side.contacts) {
        if (contact.alive) contacts.push_back(contact.id);
      }
      for (const Item& unit : side.units) {
        if (unit.alive) made.longitudes.emplace_back(unit.id, unit.lon);
      }
      for (const Item& mission : side.missions) made.elements += mission.alive ? 1 : 0;
    }
    made.elements += made.longitudes.size();
    return made;
  }

 private:
  // Random values.

  std::size_t below(std::size_t end) { return bits_() % end; }
  bool happens(double share) { return static_cast<double>(bits_() >> 11) * 0x1p-53 < share; }
  /// Rounded to `digits` decimals, like the numbers of a service.
  double real(int low, int high, int digits = 1) {
    double scale = 1;
    for (; digits > 0; --digits) scale *= 10;
    return (low * scale + static_cast<double>(below(static_cast<std::size_t>((high - low) * scale)))) / scale;
  }
  std::string guid() {
    const std::uint64_t high = bits_();
    const std::uint64_t low = bits_();
    return fmt::format("{:08x}-{:04x}-{:04x}-{:04x}-{:012x}", high >> 32, (high >> 16) & 0xFFFF, high & 0xFFFF,
                       low >> 48, low & 0xFFFF'FFFF'FFFF);
  }
  Item& add(std::vector<Item>& items, std::size_t kinds) { return items.emplace_back(Item{guid(), below(kinds)}); }
  /// A random item, or null if the one drawn no longer exists.
  Item* some(std::vector<Item>& items) {
    Item& item = items[below(items.size())];
    return item.alive ? &item : nullptr;
  }

  List friends_of(const Side& side) {
    if (!options_.friends) return {};
    if (side.name == sides_[0].name) return {sides_[2].id};
    if (side.name == sides_[2].name) return {sides_[0].id};
    return {};
  }

  // Parts of records. A change carries each field with probability `share`; a share of 1 makes the complete record.

  template <class MakeValue>
  void put(Dict& record, std::string_view field, double share, MakeValue&& value) {
    if (share >= 1 || happens(share)) record.set(field, value());
  }

  Dict basic(const Item& unit, double share) {
    Dict record;
    put(record, "Name", share >= 1 ? 1 : 0.02, [&] {
      return fmt::format("{} {}", kCategories[unit.kind].name,
                         below(std::size_t{10} * static_cast<std::size_t>(options_.units)));
    });
    if (share >= 1) {
      record.set("UnitType", kCategories[unit.kind].type);
      record.set("ClassName", fmt::format("{} mark {}", kCategories[unit.kind].name, below(40)));
      record.set("DBID", below(5000));
      record.set("Length", real(5, 300));
      record.set("Crew", below(300));
      record.set("MaxSpeed", real(5, 700));
      record.set("Value", real(1, 500));
      record.set("BaseID", guid());
    }
    put(record, "MissionName", share, [&] { return fmt::format("mission {}", below(40)); });
    put(record, "GroupID", share, [&] { return happens(0.3) ? guid() : std::string(); });
    put(record, "WeaponControl", share, [&] { return happens(0.5) ? "free" : "tight"; });
    put(record, "Proficiency", share, [&] { return below(5); });
    put(record, "Doctrine", share >= 1 ? 1 : 0.1, [&] { return doctrine(share); });
    return record;
  }

  Dict doctrine(double share) {
    Dict record{{"Posture", below(4)}, {"EMCON", "active"}};
    const Dict targets{{"2001", Dict{{"Quantity", below(8)}}}};
    record.set("WRA", Dict{{fmt::format("{}", 100 + below(3)), targets}});
    if (share < 1) record.set("mapdel", Dict{{"WRA", deletion({fmt::format("{}", 100 + below(3))})}});
    return record;
  }

  Dict live(const Item& unit, double share) {
    Dict record;
    put(record, "Status", share, [&] { return happens(0.5) ? "OnMission" : "Returning"; });
    put(record, "Fuel", share, [&] { return real(0, 100); });
    put(record, "Damage", share, [&] { return real(0, 100); });
    put(record, "Radar", share, [&] { return happens(0.5); });
    put(record, "Throttle", share, [&] { return below(5); });
    put(record, "FuelState", share, [&] { return below(4); });
    put(record, "WeaponState", share, [&] { return below(6); });
    put(record, "TargetID", share, [&] { return happens(0.3) ? guid() : std::string(); });
    put(record, "Course", share, [&] {
      List course;
      for (auto left = below(3); left > 0; --left)
        course.push_back(Dict{{"Lon", real(110, 130, 6)}, {"Lat", real(15, 30, 6)}});
      return course;
    });
    put(record, "ActiveUnit", share, [&] { return inner(unit, share); });
    return record;
  }

  Dict inner(const Item&, double share) {
    Dict record;
    put(record, "OODA", share, [&] { return real(0, 60); });
    put(record, "Stress", share, [&] { return below(100); });
    put(record, "LastContact", share, [&] { return static_cast<std::int64_t>(kStart + below(100'000)); });
    put(record, "Mounts", share, [&] { return mounts(share); });
    put(record, "Sensors", share, [&] { return sensors(share); });
    put(record, "FuelRecs", share, [&] {
      Dict tank{{"CurrentQuantity", below(9000)}};
      if (share >= 1) tank.set("MaxQuantity", 9000.0);
      return Dict{{"f1", tank}};
    });
    put(record, "AI", share, [&] {
      Dict logic{{"Mode", below(3)}};
      if (share >= 1) logic.set("TargetList", Dict{{"t1", Dict{{"Quantity", 1}}}, {"t2", Dict{{"Quantity", 2}}}});
      if (share < 1 && happens(0.1)) logic.set("mapdel", Dict{{"TargetList", deletion({"t1"})}});
      return logic;
    });
    if (share < 1 && happens(0.02)) record.set("mapdel", Dict{{"Sensors", deletion({"s2"})}});
    return record;
  }

  Dict mounts(double share) {
    Dict weapon{{"CurrentLoad", below(8)}};
    if (share >= 1) weapon.update(Dict{{"WeaponName", "missile"}, {"MaxLoad", 8}, {"Range", 40'000.0}});
    Dict mount{{"WeaponRecs", Dict{{"w1", weapon}}}};
    if (share >= 1) mount.update(Dict{{"Name", "launcher"}, {"Status", 0}});
    if (share < 1 && happens(0.05)) mount.set("mapdel", Dict{{"WeaponRecs", deletion({"w1"})}});
    return {{"m1", mount}};
  }

  Dict sensors(double share) {
    Dict first{{"Active", happens(0.5)}};
    if (share < 1) return {{"s1", first}};
    first.update(Dict{{"Name", "radar"}, {"Range", 180'000.0}});
    return {{"s1", first}, {"s2", Dict{{"Name", "camera"}, {"Range", 9000.0}, {"Active", true}}}};
  }

  Dict position(Item& item, double share) {
    Dict record;
    put(record, "Lon", share, [&] { return item.lon = real(110, 130, 6); });
    put(record, "Lat", share, [&] { return real(15, 30, 6); });
    put(record, "Alt", share, [&] { return real(0, 12'000); });
    put(record, "Heading", share, [&] { return real(0, 360); });
    put(record, "Speed", share, [&] { return real(0, 300); });
    put(record, "Pitch", share, [&] { return real(-30, 30); });
    put(record, "Roll", share, [&] { return real(-60, 60); });
    put(record, "DesiredHeading", share, [&] { return real(0, 360); });
    put(record, "DesiredSpeed", share, [&] { return real(0, 300); });
    put(record, "DesiredAlt", share, [&] { return real(0, 12'000); });
    return record;
  }

  Dict contact(const Side& side, double share) {
    Dict record;
    put(record, "Name", share, [&] { return fmt::format("Contact {}", below(10'000)); });
    put(record, "Type", share, [&] { return below(5); });
    put(record, "ActualUnitID", share >= 1 ? 1 : 0.02,
        [&] { return enemy_of(side).units[below(enemy_of(side).units.size())].id; });
    put(record, "IDStatus", share, [&] { return below(5); });
    put(record, "Age", share, [&] { return below(30); });
    put(record, "Side", share, [&] { return enemy_of(side).id; });
    put(record, "ClassName", share, [&] { return fmt::format("class {}", below(40)); });
    put(record, "Emissions", share, [&] {
      Dict emissions{{"e1", Dict{{"Range", real(0, 500)}}}};
      if (share >= 1) emissions.set("e2", Dict{{"Range", real(0, 500)}});
      return emissions;
    });
    if (share < 1 && happens(0.05)) record.set("mapdel", Dict{{"Emissions", deletion({"e2"})}});
    return record;
  }
  const Side& enemy_of(const Side& side) { return &side == &sides_[1] ? sides_[0] : sides_[1]; }

  Dict mission(const Item& item, double share) {
    Dict record{{"Status", below(3)}};
    Dict inner{{"Flight", Dict{{fmt::format("f{}", below(4)), Dict{{"Leader", guid()}}}}}};
    if (share >= 1) {
      record.set("Name", "mission " + item.id);
      record.set("MountsToUnload", Dict{{"m1", 1}, {"m2", 2}});
      inner.set("Zone", List{Dict{{"Lon", 120.5}, {"Lat", 20.5}}, Dict{{"Lon", 121.5}, {"Lat", 21.5}}});
    } else {
      inner.set("mapdel", Dict{{"Flight", deletion({"f1"})}});
    }
    record.set("Mission", inner);
    return record;
  }

  static Dict deletion(std::initializer_list<Value> ids) { return {{"v", List(ids)}}; }
  static void list_deletion(Dict record, std::string_view name, const std::string& id) {
    Dict entry = branch(record, {"mapdel", name});
    if (entry.empty()) entry.set("v", List());
    entry.at("v").as_list().push_back(id);
  }

  // Parts of a side's record.

  void put_unit(Dict record, Item& unit, double share, double basic_share) {
    const char* category = kCategories[unit.kind].name;
    if (share >= 1 || happens(basic_share))
      branch(record, {"Side", "ActiveUnitsInfo"}).set(unit.id, basic(unit, share));
    branch(record, {"SideReal", "ActiveUnits", category}).set(unit.id, live(unit, share));
    branch(record, {"SidePosition", category}).set(unit.id, position(unit, std::max(share, 0.9)));
  }

  void put_contact(Dict record, const Side& side, Item& item, double share) {
    branch(record, {"SideReal", "Contacts"}).set(item.id, contact(side, share));
    branch(record, {"SidePosition", "Contacts"}).set(item.id, position(item, share));
  }

  void put_mission(Dict record, const Item& item, double share) {
    branch(record, {"Side", "Missions", kMissionCategories[item.kind]}).set(item.id, mission(item, share));
  }

  // Whole records.

  Dict initial() {
    Dict info;
    for (const Side& side : sides_) info.set(side.id, Dict{{"Name", side.name}, {"Awareness", 1}});
    Dict record{{"ScenarioInfo", Dict{{"ScenarioID", "benchmark"},
                                      {"Time", kStart},
                                      {"StartTime", kStart},
                                      {"Duration", 3600},
                                      {"SideInfo", info}}}};
    const Dict idle{{"n1", Dict{{"Value", 1}}}, {"n2", Dict{{"Value", 2}}}};
    record.set("Situation", Dict{{"SituationInfo", Dict{{"NonActiveUnits", Dict{{"Aircraft", idle}}}}}});
    record.set("Events", Dict{{"SimEvents", Dict{{"e1", Dict{{"Value", 1}}}}},
                              {"EventTriggers", Dict{{"Time", Dict{{"x1", Dict{{"Value", 1}}}}}}}});
    for (Side& side : sides_) {
      Dict whole;
      for (Item& unit : side.units) put_unit(whole, unit, 1, 1);
      for (const Item& item : side.missions) put_mission(whole, item, 1);
      for (Item& item : side.contacts) put_contact(whole, side, item, 1);
      branch(whole, {"Side"}).set("ReferencePoints", Dict{{"r1", Dict{{"Lon", 120.5}}}, {"r2", Dict{{"Lon", 121.5}}}});
      branch(whole, {"SideReal"}).set("WeaponSalvos", Dict{{"s1", Dict{{"Shooters", Dict{{"u1", 1}, {"u2", 1}}}}}});
      whole.set("SideVitalChange", Dict{{"TotalScore", 0.0}});
      branch(record, {"Situation", "SituationSides"}).set(side.id, whole);
    }
    return record;
  }

  Dict update(int number) {
    Dict record{{"ScenarioInfo", Dict{{"Time", kStart + std::int64_t{1000} * number}}}};
    branch(record, {"Situation"}).set("SituationInfo", Dict{{"Visibility", real(0, 1, 2)}});
    for (Side& side : sides_) branch(record, {"Situation", "SituationSides"}).set(side.id, changed_side(side));
    branch(record, {"Events"}).set("SimEvents", Dict{{"e1", Dict{{"Value", number}}}});
    if (number % 10 == 0) {
      list_deletion(branch(record, {"Situation", "SituationInfo", "NonActiveUnits"}), "Aircraft", "n1");
      list_deletion(branch(record, {"Events"}), "SimEvents", "e2");
      list_deletion(branch(record, {"Events", "EventTriggers"}), "Time", "x1");
    }
    return record;
  }

  /// Never exactly 1, which means complete records.
  double field_share() const { return std::min(options_.field_share, 1 - 1e-12); }

  Dict changed_side(Side& side) {
    Dict record;
    for (Item& unit : side.units) {
      if (unit.alive && happens(options_.change_share)) put_unit(record, unit, field_share(), 0.3);
    }
    for (Item& item : side.contacts) {
      if (item.alive && happens(options_.change_share)) put_contact(record, side, item, field_share());
    }
    for (const Item& item : side.missions) {
      if (item.alive && happens(options_.change_share)) put_mission(record, item, 0.5);
    }
    // As many units and contacts appear as vanish, so that the size of the model stays constant.
    const std::size_t turnover = 1 + side.units.size() / 300;
    for (std::size_t n = 0; n < turnover; ++n) {
      delete_unit(record, side);
      put_unit(record, add(side.units, std::size(kCategories)), 1, 1);
      if (Item* gone = some(side.contacts)) {
        gone->alive = false;
        list_deletion(branch(record, {happens(0.5) ? "SideReal" : "SidePosition"}), "Contacts", gone->id);
      }
      put_contact(record, side, add(side.contacts, 1), 1);
    }
    put_rest(record, side);
    return record;
  }

  void delete_unit(Dict record, Side& side) {
    Item* unit = some(side.units);
    if (unit == nullptr) return;
    unit->alive = false;
    const char* category = kCategories[unit->kind].name;
    const std::size_t places = 1 + below(7);  // one of the three places, or several
    if ((places & 1) != 0) list_deletion(branch(record, {"Side"}), "ActiveUnitsInfo", unit->id);
    if ((places & 2) != 0) list_deletion(branch(record, {"SideReal", "ActiveUnits"}), category, unit->id);
    if ((places & 4) != 0) list_deletion(branch(record, {"SidePosition"}), category, unit->id);
  }

  /// The parts that occur once per side: scores, tables, key messages, and deletions from tables and missions.
  void put_rest(Dict record, Side& side) {
    record.set("SideVitalChange", Dict{{"TotalScore", real(-100, 100)}});
    branch(record, {"SideReal"}).set("WeaponSalvos", Dict{{"s1", Dict{{"Shooters", Dict{{"u2", 1}}}}}});
    list_deletion(branch(record, {"SideReal", "WeaponSalvos", "s1"}), "Shooters", "u1");
    list_deletion(branch(record, {"Side"}), "ReferencePoints", "r1");
    for (const Item& item : side.missions) {
      if (!item.alive || std::string_view(kMissionCategories[item.kind]) != "CargoTransfer") continue;
      list_deletion(branch(record, {"Side", "Missions", "Cargo", item.id}), "MountsToUnload", "m1");
      break;
    }
    if (happens(0.2)) {
      if (Item* gone = some(side.missions)) {
        gone->alive = false;
        list_deletion(branch(record, {"Side", "Missions"}), kMissionCategories[gone->kind], gone->id);
        // A deleted mission must not be reported in the same record.
        if (Dict* told = branch(record, {"Side", "Missions"}).find_dict(kMissionCategories[gone->kind]))
          told->erase(gone->id);
      }
    }
    List detections;
    for (int n = 0; n < 5; ++n) {
      const Item& seen = side.contacts[below(side.contacts.size())];
      detections.push_back(Dict{{"ContactID", seen.id}, {"Range", real(0, 300'000)}});
    }
    record.set("SideKeyMsg", Dict{{"7", List{Dict{{"LastDetectionList", detections}}}}});
  }

  SituationOptions options_;
  std::mt19937_64 bits_;  // its sequence is fixed by the standard, unlike the distributions of the library
  std::vector<Side> sides_;
};

}  // namespace

Situations make_situations(const SituationOptions& options) { return Generator(options).run(); }

}  // namespace tessra::bench
