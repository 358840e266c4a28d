// What the tree's memory promises: any depth, any thread, shared keys that nobody notices.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "support/by_parser.h"

namespace tessra {
namespace {

/// A tree of so many levels, of lists and dictionaries in turn.
Value tower(int levels) {
  Value tower = 1;
  for (int level = 0; level < levels; ++level) tower = level % 2 == 0 ? Value(List{tower}) : Value(Dict{{"in", tower}});
  return tower;
}

TEST(Tree, MayBeDeepButIsFollowedOnlySoFar) {
  const Value deep = tower(1'000'000);  // its end must not overflow the stack
  const Value twin = tower(kMaxDepth + 1);
  EXPECT_THROW(deep.deep_copy(), LimitError);
  EXPECT_THROW(deep.to_text(), LimitError);
  EXPECT_THROW(static_cast<void>(twin == tower(kMaxDepth + 1)), LimitError);
  EXPECT_EQ(tower(kMaxDepth), tower(kMaxDepth).deep_copy());
}

/// A host object with a tree of its own, which ends while the tree ends that holds the object.
struct Holder {
  ~Holder() {
    tower(3);
    ++*ended;
  }
  Value tree;
  int* ended;
};

TEST(Tree, EndsWhatHostObjectsHoldWhileItEnds) {
  int ended = 0;
  const auto holder = [&ended](Value tree) { return std::make_shared<Holder>(Holder{std::move(tree), &ended}); };
  {
    const Value shared = tower(3);
    List list;
    for (int i = 0; i < 30; ++i) list.push_back(Dict{{"a", shared}, {"b", holder(List{shared, holder(tower(20))})}});
    ended = 0;  // those of the temporaries
  }
  EXPECT_EQ(ended, 60);
  Value chain = 1;
  for (int i = 0; i < 200'000; ++i) chain = List{holder(std::move(chain))};
  ended = 0;
  chain = Value();  // must not overflow the stack
  EXPECT_EQ(ended, 200'000);
}

TEST(Tree, LeavesEmptyContainersWhereItWasMovedFrom) {
  Dict dict{{"a", 1}};
  List list{1, 2};
  EXPECT_EQ(Dict(std::move(dict)).size() + List(std::move(list)).size(), 3u);
  // NOLINTBEGIN(bugprone-use-after-move): what is left is what is looked at
  EXPECT_TRUE(dict.empty() && list.empty() && dict.find("a") == nullptr && dict.begin() == dict.end());
  EXPECT_EQ(dict, Dict());
  dict.set("b", 2);
  list.push_back(3);
  EXPECT_EQ(Value(List{dict, list}).to_text(), "[{'b': 2}, [3]]");
  // NOLINTEND(bugprone-use-after-move)
}

/// Names of many lengths, some of which differ at their very end.
std::string field_name(std::size_t number) {
  const char* const begins[] = {"f", "x1234567", "FieldOfSixteenOr", "LongNameThatDiffersOnlyInItsLastLetters"};
  return begins[number % 4] + std::to_string(number / 4);
}

std::string unit_id(std::size_t number) { return "unit-of-the-record-" + std::to_string(number); }

/// A record whose units have many fields or a few of them, each another choice, some twice. Some refer to other units.
std::string record_text(std::mt19937_64& random) {
  std::string record;
  for (std::size_t number = 0; number < 60; ++number) {
    std::string unit;
    const std::uint64_t left_out = number % 4 == 0 ? 11 : 4;
    for (std::size_t field = 0; field < 30; ++field) {
      if (random() % 12 < left_out) continue;
      std::string value = std::to_string(random() % 9);
      if (field % 5 == 0) value = "{\"" + (random() % 3 == 0 ? unit_id(random() % 60) : "x") + "\":" + value + "}";
      unit += (unit.empty() ? "\"" : ",\"") + field_name(random() % 20 == 0 ? 0 : field) + "\":" + value;
    }
    record += (record.empty() ? "\"" : ",\"") + unit_id(random() % 20 == 0 ? 0 : number) + "\":{" + unit + "}";
  }
  return "{" + record + "}";
}

TEST(Tree, ReadsRecordsOfAnyFieldsAlikeWithAFreshReaderAndAUsedOne) {
  std::mt19937_64 random(5);
  JsonReader used;
  for (int i = 0; i < 40; ++i) {
    const std::string text = record_text(random);
    const std::string expected = write_json(*by_parser(text));
    const Value tree = used.read(text);
    EXPECT_EQ(write_json(tree), expected);
    EXPECT_EQ(write_json(read_json(text)), expected);
    for (auto [unit, record] : tree.as_dict()) {
      for (auto [field, value] : record.as_dict()) ASSERT_EQ(record.as_dict().find(field.as_text()), &value);
    }
  }
}

/// A key that recurs in a record becomes a name at some point, which may be between two of the same dictionary.
TEST(Tree, KeysThatComeTwiceAreOneWhileTheyBecomeNames) {
  for (int before = 0; before < 40; ++before) {
    std::string name = "FieldThatIsMetAgainAndAgain";
    name += std::string(static_cast<std::size_t>(before) / 10 + 1, 'a') + std::to_string(before % 10);
    std::string text = "{\"list\":[";
    for (int i = 0; i < before; ++i) text += "{\"" + name + "\":0},";
    text += "0],\"twice\":{\"" + name + "\":1,\"" + name + "\":2}}";
    const Value tree = read_json(text);
    EXPECT_EQ(write_json(tree.as_dict().at("twice")), "{\"" + name + "\":2}") << before;
  }
}

/// A dictionary beside the slow and obvious form of it.
struct Twins {
  Dict dict;
  std::vector<std::pair<std::string, int>> plain;

  void set(const std::string& key, int value) {
    const auto known = std::ranges::find(plain, key, &std::pair<std::string, int>::first);
    if (known != plain.end()) {
      known->second = value;
    } else {
      plain.emplace_back(key, value);
    }
  }
  void check() const {
    std::string expected;
    for (const auto& [key, value] : plain)
      expected += (expected.empty() ? "" : ",") + ('"' + key + "\":") + std::to_string(value);
    ASSERT_EQ(write_json(dict), "{" + expected + "}");
    ASSERT_EQ(dict.size(), plain.size());
    std::size_t last = 0;
    for (const auto& [key, value] : plain) {
      ASSERT_EQ(dict.at_integer(key), value);
      const std::size_t place = dict.place(dict.at(key));
      ASSERT_TRUE(last == 0 || place > last);
      last = place;
    }
  }
};

/// Records read along one another's fields, some of which they lack, are written to, merged, copied and cut down.
TEST(Tree, RecordsWithoutSomeOfTheirFieldsAreLikeAnyOther) {
  std::mt19937_64 random(9);
  const auto some_key = [&] {
    return random() % 8 == 0 ? "id-" + std::to_string(random() % 30) : field_name(random() % 30);
  };
  JsonReader reader;
  for (int round = 0; round < 60; ++round) {
    std::vector<Twins> all;
    for (auto [unit, record] : reader.read(record_text(random)).as_dict()) {
      Twins& twins = all.emplace_back(Twins{record.as_dict(), {}});
      for (auto [field, value] : twins.dict) {
        value = static_cast<int>(random() % 100);
        twins.set(std::string(field.as_text()), static_cast<int>(value.as_integer()));
      }
    }
    for (int step = 0; step < 300; ++step) {
      Twins& twins = all[random() % all.size()];
      const Twins& other = all[random() % all.size()];
      const std::string key = some_key();
      switch (random() % 9) {
        case 0:
        case 1:
          twins.dict.set(key, step);
          twins.set(key, step);
          break;
        case 2:
        case 3:
          ASSERT_EQ(twins.dict.erase(key), std::erase_if(twins.plain, [&](auto& entry) { return entry.first == key; }));
          break;
        case 4:
          if (random() % 2 == 0) {
            twins.dict.update(other.dict);
          } else {
            twins.dict.update(other.dict.shallow_copy());  // nobody else holds it: its values are moved
          }
          for (const auto& [name, value] : std::vector(other.plain)) twins.set(name, value);
          break;
        case 5:
          twins = Twins{random() % 2 == 0 ? other.dict.shallow_copy() : other.dict.deep_copy(), other.plain};
          break;
        case 6:
          twins.dict.merge(other.dict, [&](const Value& name, Value* stored, const Value& value) {
            // What is remembered of how keys stand to each other gives way to others meanwhile.
            all[random() % all.size()].dict.shallow_copy().merge(other.dict, [](const auto&...) {});
            ASSERT_EQ(stored, twins.dict.find(name.as_text()));
            twins.dict.set(name, value);
          });
          for (const auto& [name, value] : std::vector(other.plain)) twins.set(name, value);
          break;
        case 7: {
          std::vector<Value*> expected;
          for (const auto& [name, value] : other.plain) expected.push_back(twins.dict.find(name));
          ASSERT_EQ(twins.dict.find_all(other.dict), expected);
          break;
        }
        default:
          if (random() % 20 == 0) twins = Twins();
      }
      twins.check();
    }
  }
}

/// A large dictionary is searched for many keys at once as for one after the other.
TEST(Tree, ManyKeysAreFoundAtOnce) {
  Dict held, asked;
  for (int i = 0; i < 3000; ++i) held.set("unit-" + std::to_string(i) + "-of-the-model", i);
  for (int i = 0; i < 3000; i += 7) held.erase("unit-" + std::to_string(i) + "-of-the-model");
  for (int i = 2990; i < 3010; ++i) asked.set("unit-" + std::to_string(i) + "-of-the-model", i);
  for (int i = 0; i < 40; ++i) asked.set(i, i);
  asked.erase(3);
  const std::vector<Value*> found = held.find_all(asked);
  ASSERT_EQ(found.size(), asked.size());
  std::size_t at = 0;
  for (auto [key, value] : asked) EXPECT_EQ(found[at++], held.find(key)) << key;
  EXPECT_EQ(std::ranges::count_if(found, [](const Value* value) { return value != nullptr; }), 9);
  EXPECT_EQ(Dict().find_all(asked), std::vector<Value*>(asked.size()));
  EXPECT_TRUE(held.find_all(Dict()).empty());
}

}  // namespace
}  // namespace tessra
