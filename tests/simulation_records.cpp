#include <fstream>
#include <iterator>
#include <set>

#include "simulation_fixture.h"

namespace tessra::sim {
namespace {

/// Tables whose keys are ids: entries may come and go. Everything else keeps the fields it began with.
bool is_table(const std::string& key, const std::string& parent) {
  static const std::set<std::string> kTables = {"ActiveUnitsInfo", "Contacts", "WeaponRecs", "TargetList"};
  return kTables.contains(key) || parent == "ActiveUnits" || parent == "SidePosition" || parent == "Missions";
}

/// Reads records as a client does: merges what changed, then removes what is reported deleted.
class Reader {
 public:
  explicit Reader(const Dict& initial) : model_(initial.deep_copy()) {}

  void read(const Dict& update) {
    const Dict shared_with_nobody = update.deep_copy();
    merge(model_, shared_with_nobody, "top", false);
    const Dict* situation = update.find_dict("Situation");
    if (situation == nullptr) return;
    for (const auto& [id, side] : situation->at_dict("SituationSides")) forget_deleted(id, side.as_dict());
  }

  Dict model() const { return model_; }
  /// Fields that an update brought to something that was there before without them.
  std::set<std::string> strangers;
  int deletions = 0;

 private:
  void merge(Dict& old, const Dict& changes, const std::string& key, bool open) {
    for (const auto& [field, value] : changes) {
      const std::string name(field.as_text());
      if (name == "mapdel" || name == "IsEnd" || name == "SideKeyMsg") continue;
      if (!old.contains(name) && !open) strangers.insert(key + "/" + name);
      if (old.contains(name) && value.is_dict()) {
        // What is known of a contact grows.
        const bool contact = name.find("-contact#") != std::string::npos && key == "Contacts";
        merge(old.at_dict(name), value.as_dict(), name, contact || is_table(name, key));
      } else {
        old.set(name, value);
      }
    }
    const Dict* gone = changes.find_dict("mapdel");
    if (gone == nullptr) return;
    for (const auto& [table, entry] : *gone) {
      for (const Value& id : entry.as_dict().at_list("v")) deletions += old.at_dict(table).erase(id) ? 1 : 0;
    }
  }

  /// Units and contacts are reported deleted once and leave every table.
  void forget_deleted(const Value& side_id, const Dict& side) {
    Dict& known = model_.at_dict("Situation").at_dict("SituationSides").at_dict(side_id);
    const Dict* real = side.find_dict("SideReal");
    if (real == nullptr) return;
    forget(*real, "Contacts", known.at_dict("SidePosition").at_dict("Contacts"));
    const Dict* units = real->find_dict("ActiveUnits");
    if (units == nullptr) return;
    for (const auto& [category, positions] : known.at_dict("SidePosition")) {
      forget(*units, category, positions.as_dict());
      forget(*units, category, known.at_dict("Side").at_dict("ActiveUnitsInfo"));
    }
  }

  static void forget(const Dict& changes, const Value& table, Dict& from) {
    const Dict* deletions = changes.find_dict("mapdel");
    const Dict* entry = deletions != nullptr ? deletions->find_dict(table) : nullptr;
    if (entry == nullptr) return;
    for (const Value& id : entry->at_list("v")) from.erase(id);
  }

  Dict model_;
};

/// The strait with weapons free on both sides, so that much happens.
Simulation battle(std::uint64_t seed) {
  Simulation simulation = play_shipped("strait", 30, seed);
  free_weapons(simulation, 0);
  free_weapons(simulation, 1);
  order(simulation, "AddPatrolMission({SIDE='红方',NAME='go',ZONE={{LON=150.2,LAT=20},{LON=150.3,LAT=20.1}}})");
  order(simulation, "AssignUnit({SIDE='红方',UNIT='<Red surface group>',MISSION='go'})");
  order(simulation, "AssignUnit({SIDE='红方',UNIT='<red-fighter-5>',MISSION='go'})");
  return simulation;
}

/// What each unit and contact of a side must have; returns how many weapons there are.
int check_parts(const Dict& record) {
  const Dict& positions = record.at_dict("SidePosition");
  const Dict& basics = record.at_dict("Side").at_dict("ActiveUnitsInfo");
  std::size_t live = 0;
  int weapons = 0;
  for (const auto& [category, units] : record.at_dict("SideReal").at_dict("ActiveUnits")) {
    for (const auto& [unit, data] : units.as_dict()) {
      EXPECT_TRUE(positions.at_dict(category).at_dict(unit).contains("Lon")) << unit;
      const Dict& basic = basics.at_dict(unit);
      EXPECT_TRUE(basic.non_empty("Name") && !basic.contains("Side") && !basic.contains("ElementType")) << unit;
      weapons += basic.at_integer("UnitType") == 6 ? 1 : 0;
      ++live;
    }
  }
  EXPECT_EQ(basics.size(), live);
  for (const auto& [contact, data] : record.at_dict("SideReal").at_dict("Contacts")) {
    EXPECT_TRUE(data.as_dict().contains("Type") && positions.at_dict("Contacts").at_dict(contact).contains("Lon"));
  }
  return weapons;
}

/// Adds the ids that a record reports deleted from a table.
void collect_deleted(const Dict* record, const char* table, std::set<std::string>& ids) {
  const Dict* deletions = record != nullptr ? record->find_dict("mapdel") : nullptr;
  const Dict* entry = deletions != nullptr ? deletions->find_dict(table) : nullptr;
  if (entry == nullptr) return;
  for (const Value& id : entry->at_list("v")) ids.insert(std::string(id.as_text()));
}

/// The dictionary at the end of a path, null when it is cut short.
const Dict* follow(const Dict* record, std::initializer_list<std::string> path) {
  for (const std::string& key : path) record = record != nullptr ? record->find_dict(key) : nullptr;
  return record;
}

/// Field names of a record; keys that are ids are passed over.
void collect_fields(const Value& value, bool ids, const std::string& parent, std::set<std::string>& fields) {
  if (const List* list = value.if_list()) {
    for (const Value& item : *list) collect_fields(item, false, parent, fields);
  }
  const Dict* dict = value.if_dict();
  if (dict == nullptr) return;
  static const std::set<std::string> kById = {"SideInfo", "Postures", "SituationSides", "ReferencePoints",
                                              "Mounts",   "Sensors",  "FuelRecs",       "SideKeyMsg"};
  for (const auto& [key, inner] : *dict) {
    const std::string name(key.as_text());
    if (!ids) fields.insert(name);
    collect_fields(inner, !ids && (kById.contains(name) || is_table(name, parent)), ids ? "" : name, fields);
  }
}

TEST(Records, of_an_episode_add_up_to_the_full_one_lack_no_part_delete_in_one_place_and_are_documented) {
  Simulation simulation = battle(3);
  const Dict initial = simulation.initial_situation();
  Reader reader(initial);
  int weapons = 0;
  std::set<std::string> deleted, fields;
  collect_fields(initial, false, "", fields);
  while (!simulation.ended()) {
    if (simulation.world().now == 1200) {
      ASSERT_TRUE(simulation.execute({"DeleteMission({SIDE='红方',NAME='go'})"}).empty());
    }
    simulation.advance();
    const Dict update = simulation.step_situation();
    collect_fields(update, false, "", fields);
    for (const auto& [id, side] : update.at_dict("Situation").at_dict("SituationSides")) {
      const Dict* positions = follow(&side.as_dict(), {"SidePosition"});
      const Dict* basic = follow(&side.as_dict(), {"Side", "mapdel", "ActiveUnitsInfo"});
      EXPECT_TRUE(basic == nullptr && (positions == nullptr || !positions->contains("mapdel")));
      for (const char* category : {"Aircraft", "Ship", "Submarine", "Facility"}) {
        collect_deleted(follow(&side.as_dict(), {"SideReal", "ActiveUnits"}), category, deleted);
      }
    }
    reader.read(update);
    for (const auto& [id, side] : reader.model().at_dict("Situation").at_dict("SituationSides")) {
      weapons += check_parts(side.as_dict());
    }
  }
  EXPECT_TRUE(reader.strangers.empty()) << ::testing::PrintToString(reader.strangers);
  EXPECT_GT(simulation.world().destroyed.size(), 5U);
  EXPECT_GT(reader.deletions, 20);
  EXPECT_GT(weapons, 0);
  EXPECT_TRUE(reader.model() == simulation.initial_situation());
  const std::vector<std::string>& lost = simulation.world().destroyed;
  EXPECT_EQ(deleted, (std::set<std::string>(lost.begin(), lost.end())));

  std::ifstream file(std::filesystem::path(TESSRA_SOURCE_DIR) / "docs/records.md");
  const std::string page((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_GT(fields.size(), 60U);
  for (const std::string& field : fields) {
    EXPECT_TRUE(page.find('`' + field + '`') != std::string::npos) << field << " is not in docs/records.md";
  }
}

TEST(Records, new_contacts_and_detections_are_told_once_an_advance) {
  Simulation simulation = play(scenario_json({unit_json("ship", "Destroyer", 20, 150, {{"radar", true}})},
                                             {unit_json("jet", "Fighter", 20, 151)}),
                               60);
  simulation.initial_situation();
  simulation.advance();
  const auto messages = [&simulation] {
    return simulation.step_situation()
        .at_dict("Situation")
        .at_dict("SituationSides")
        .at_dict("red")
        .at_dict("SideKeyMsg");
  };
  const Dict first = messages();
  const Dict& message = first.at_list("3").at(0).as_dict();
  EXPECT_TRUE(message.at_text("ID") == "red-contact#1" && message.contains("Type") && message.contains("Lon"));
  const List& detections = first.at_list("7").at(0).as_dict().at_list("LastDetectionList");
  ASSERT_EQ(detections.size(), 1U);
  EXPECT_EQ(detections.at(0).as_dict().at_text("ContactID"), "red-contact#1");
  EXPECT_NEAR(detections.at(0).as_dict().at_real("Range"), 104'647, 5000);
  simulation.advance();
  EXPECT_FALSE(messages().contains("3"));
}

}  // namespace
}  // namespace tessra::sim
