// What agents are given beside the tables: typed contacts, reach, distances, and what happened to own units.

#include "Tessra/entitys/agent_base.h"
#include "Tessra/entitys/aircraft.h"
#include "Tessra/entitys/geo.h"
#include "Tessra/entitys/ship.h"
#include "Tessra/entitys/unit_watch.h"
#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

TEST(Helpers, distances_and_bearings_are_those_of_the_ellipsoid) {
  EXPECT_NEAR(distance_between({0, 0}, {0, 90}), 10'001'965.729, 0.01);
  EXPECT_NEAR(distance_between({179.5, 0}, {-179.5, 0}), 111'319.491, 0.01);
  EXPECT_DOUBLE_EQ(bearing_between({0, 0}, {-1, 0}), 270);
  EXPECT_DOUBLE_EQ(bearing_between({150, 20}, {150, 20}), 0);
  const GeoPoint beyond = place_beyond({150, 20}, 30, 50'000);
  EXPECT_NEAR(distance_between({150, 20}, beyond), 50'000, 1e-6);
  EXPECT_NEAR(bearing_between({150, 20}, beyond), 30, 1e-9);
}

TEST(Helpers, a_contact_s_unknown_fields_are_empty) {
  RuleAgentBase player("红方");
  player.set_attribute("Contacts",
                       json("{'c1': {'Name': 'Contact 1', 'Type': 1, 'Lon': 150.5, 'Lat': 20, 'Age': 7,"
                            "'IDStatus': 2, 'Side': 's2', 'Uncertainty': 250.5}, 'c2': {'Lon': 1, 'Age': null}}"));
  player.set_attribute("Postures", json("{'s2': 3}"));
  const Situation& situation = player.get_situation();
  const std::vector<Contact> contacts = situation.contact_list();
  ASSERT_EQ(contacts.size(), 2U);
  const Contact& known = contacts[0];
  EXPECT_TRUE(known.id() == "c1" && known.name() == "Contact 1" && known.type() == ContactType::aircraft);
  EXPECT_TRUE(known.position()->lon == 150.5 && known.position()->lat == 20);
  EXPECT_TRUE(known.age() == 7 && known.id_status() == 2 && known.uncertainty() == 250.5);
  EXPECT_TRUE(situation.may_be_enemy(known));
  player.set_attribute("Postures", json("{'s2': 0}"));
  EXPECT_FALSE(situation.may_be_enemy(known)) << "a neutral";
  const Contact& bare = contacts[1];
  EXPECT_FALSE(bare.name() || bare.type() || bare.position() || bare.age() || bare.id_status() || bare.side());
  EXPECT_TRUE(situation.may_be_enemy(bare));
  player.get_dict("Contacts").at_dict("c1").set("Age", "old");
  EXPECT_THROW(known.age(), KindError) << "a contact reads the record as it is";
  EXPECT_EQ(situation.contact("c1")->side(), "s2");
  EXPECT_FALSE(situation.contact("c3"));
}

class OwnUnits : public ::testing::Test {
 protected:
  template <class Unit>
  std::shared_ptr<Unit> add(const std::string& id, ElementType type) {
    const GameUnit::CreationKey key("红方");
    auto unit = std::make_shared<Unit>(id, "unit " + id, "红方");
    player_.add_unit(id, type, unit);
    return unit;
  }

  RuleAgentBase player_{"红方"};
};

TEST_F(OwnUnits, reach_is_that_of_loaded_weapons_and_of_sensors_that_are_on) {
  const auto unit = add<Aircraft>("a", ElementType::Aircraft);
  EXPECT_EQ(unit->weapon_reach(ContactType::ship), 0) << "nothing has arrived yet";
  EXPECT_EQ(unit->sensor_reach(), 0);
  unit->attributes().update(json(R"({'ClassName': 'Fighter', 'Mounts': {'n': {}, 'm': {'WeaponRecs': {
      '1': {'CurrentLoad': 2, 'Range': 40000.0, 'Targets': [1, 2]}, '2': {'CurrentLoad': 0, 'Range': 90000.0, 'Targets': [2]},
      '3': {'CurrentLoad': 1, 'Range': 60000, 'Targets': [1]}, '4': {'CurrentLoad': 1}}}},
      'Sensors': {'r': {'Active': false, 'Range': 200000.0}, 'v': {'Active': true, 'Range': 20000.0}, 'w': {}}})"));
  EXPECT_EQ(unit->platform(), "Fighter");
  EXPECT_EQ(unit->weapon_reach(ContactType::aircraft), 60'000);
  EXPECT_EQ(unit->weapon_reach(ContactType::ship), 40'000);
  EXPECT_EQ(unit->weapon_reach(ContactType::submarine), 0);
  EXPECT_EQ(unit->sensor_reach(), 20'000);
}

TEST_F(OwnUnits, losses_and_hits_are_told_once) {
  const auto jet = add<Aircraft>("a", ElementType::Aircraft);
  const auto ship = add<Ship>("s", ElementType::Ship);
  jet->set_attribute("ClassName", "Fighter");
  ship->set_attribute("Damage", 10.0);
  UnitWatch watch;
  const Situation& situation = player_.get_situation();
  EXPECT_TRUE(watch.observe(situation).hits.empty()) << "what was so before is no event";
  ship->set_attribute("Damage", 35.0);
  add<Ship>("t", ElementType::Ship)->set_attribute("Damage", 50.0);
  player_.delete_element("a", ElementType::Aircraft);
  const UnitWatch::Events events = watch.observe(situation);
  ASSERT_EQ(events.hits.size(), 1U);
  EXPECT_TRUE(events.hits[0].id == "s" && events.hits[0].damage_before == 10 && events.hits[0].damage == 35);
  ASSERT_EQ(events.losses.size(), 1U);
  const auto& loss = events.losses[0];
  EXPECT_TRUE(loss.id == "a" && loss.name == "unit a" && loss.platform == "Fighter");
  ship->set_attribute("Damage", 20.0);  // repaired
  const UnitWatch::Events none = watch.observe(situation);
  EXPECT_TRUE(none.hits.empty() && none.losses.empty());
  watch.reset();
  player_.reset();
  EXPECT_TRUE(watch.observe(situation).losses.empty());
}

}  // namespace
}  // namespace tessra::testing
