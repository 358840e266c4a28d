// A side's first contact on each unit, against walking the contacts.

#include "Tessra/entitys/deduce_RL/first_contacts.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace tessra {
namespace {

const Dict* first_by_walking(const Dict& contacts, const Value& unit_id) {
  for (auto [id, contact] : contacts) {
    const Value* actual = contact.as_dict().find("ActualUnitID");
    if (actual != nullptr && *actual == unit_id) return &contact.as_dict();
  }
  return nullptr;
}

TEST(FirstContacts, stumble_over_what_is_no_contact) {
  Dict contacts{{"c1", 5}};
  EXPECT_THROW(FirstContacts(contacts).on("u1"), KindError);
}

TEST(FirstContacts, agree_with_walking_the_table_whatever_is_merged_and_adopted) {
  std::mt19937_64 random(3);
  // Few units, so that contacts share them and turn from one to another; one is no text.
  const auto some_unit = [&]() -> Value {
    const auto number = random() % 8;
    return number == 0 ? Value(1.0) : Value("unit-" + std::to_string(number));
  };
  for (int round = 0; round < 50; ++round) {
    Dict contacts;
    for (int i = 0; i < 40; ++i) contacts.set("old-" + std::to_string(i), Dict{{"ActualUnitID", some_unit()}});
    // Gaps, which the first of those that are adopted close in some rounds.
    for (int gone = 0; gone < round; ++gone) contacts.erase("old-" + std::to_string(random() % 40));
    FirstContacts first(contacts);
    for (int step = 0; step < 40; ++step) {
      const Dict fresh = random() % 3 == 0 ? Dict{{"Age", 1}} : Dict{{"ActualUnitID", some_unit()}};
      const std::string id = (random() % 2 == 0 ? "old-" : "new-") + std::to_string(random() % 10);
      if (Dict* held = contacts.find_dict(id)) {
        first.merge(id, *held, fresh);
      } else {
        first.adopt(id, fresh);
      }
      ASSERT_TRUE(contacts.contains(id));
      const Value asked = some_unit();
      const Dict* found = first.on(asked);
      const Dict* expected = first_by_walking(contacts, asked);
      ASSERT_EQ(found != nullptr, expected != nullptr);
      if (found != nullptr) {
        ASSERT_TRUE(found->is(*expected));
      }
    }
  }
}

}  // namespace
}  // namespace tessra
