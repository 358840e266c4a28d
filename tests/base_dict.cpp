// Dictionaries, lists and ordered maps: order, sharing, keys, merging, and random work against plain models.

#include "Tessra/base/dict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "Tessra/base/ordered_map.h"
#include "Tessra/base/value.h"

namespace tessra {
namespace {

using testing::AllOf;
using testing::HasSubstr;

std::string keys_of(const Dict& dict) {
  std::string keys;
  for (auto [key, value] : dict) keys += key.to_text() + ' ';
  return keys;
}

TEST(Dict, ComparesWithoutOrderAndIsErasedWhileWalked) {
  Dict dict{{"a", 1}, {"b", 2}, {"c", 3}, {"a", 4}};
  EXPECT_TRUE(dict["d"].is_none());
  EXPECT_EQ(dict, (Dict{{"d", Value()}, {"c", 3}, {"b", 2}, {"a", 4}}));
  for (auto [key, value] : dict) {
    if (key != "d") dict.erase(key);
  }
  EXPECT_EQ(keys_of(dict), "d ");
}

TEST(Dict, CopiesOfTheHandleShareTheDictionary) {
  Dict dict{{"inner", Dict{{"n", 1}}}};
  const Dict same = dict, shallow = dict.shallow_copy();
  dict.at_dict("inner").set("n", 2);
  dict.set("more", 1);
  EXPECT_TRUE(same.is(dict) && !shallow.is(dict) && shallow.at_dict("inner").is(dict.at_dict("inner")));
  EXPECT_EQ(Value(shallow).to_text(), "{'inner': {'n': 2}}");
}

TEST(Dict, NumbersAreKeysByValue) {
  Dict dict{{1, "one"}, {"1", "text"}};
  for (const Value& key : {Value(1), Value(1.0), Value(true)}) EXPECT_EQ(dict.at_text(key), "one");
  dict.set(Value(true), "still one");
  EXPECT_EQ(Value(dict).to_text(), "{1: 'still one', '1': 'text'}");
  EXPECT_TRUE(dict.erase(Value("1")));
  EXPECT_EQ(dict.find(std::int64_t{1} << 32), nullptr);
  for (const Value& key : {Value(), Value(1.5), Value(List{}), Value(Dict{}), Value(HUGE_VAL), Value(0x1p63)}) {
    EXPECT_THROW(dict.contains(key), KindError) << key;
  }
  EXPECT_THROW(dict.contains(UINT64_MAX), ConversionError);
}

TEST(Dict, TypedReadingNamesTheKeyAndTheKinds) {
  Dict dict{{"Speed", 3.5}, {"Name", "Falcon"}, {"List", List{1}}, {"Zero", 0}, {7, true}};
  const auto says = [](const char* key, const char* wanted, const char* found) {
    return testing::ThrowsMessage<KindError>(AllOf(HasSubstr(key), HasSubstr(wanted), HasSubstr(found)));
  };
  EXPECT_THAT([&] { dict.at_text("Speed"); }, says("Speed", "string", "real"));
  EXPECT_THAT([&] { dict.at_integer("Speed"); }, says("Speed", "integer", "real"));
  EXPECT_THAT([&] { dict.at_real("Name"); }, says("Name", "real", "string"));
  EXPECT_THAT([&] { dict.find_dict("List"); }, says("List", "dictionary", "list"));
  EXPECT_THAT([&] { dict.find_list("Name"); }, says("Name", "list", "string"));
  EXPECT_THAT([&] { dict.at_dict(7); }, says("7", "dictionary", "boolean"));
  EXPECT_THAT([&] { dict.at("Course"); }, testing::ThrowsMessage<KeyError>(HasSubstr("Course")));
  EXPECT_EQ(dict.find_dict("Course"), nullptr);
  EXPECT_TRUE(dict.get("Course").is_none());
  EXPECT_EQ(dict.at_real(7) + dict.at_real("Speed"), 4.5);
  EXPECT_TRUE(dict.non_empty("List") && !dict.non_empty("Zero") && !dict.non_empty("Course"));
}

TEST(Dict, UpdateMovesOnlyWhatNobodyElseHolds) {
  const Name lon("Lon");
  const Name inner("Inner");
  const Dict shared{{"x", 1}};
  Dict unit{{Name("Name"), "u"}};
  Dict part{{lon, 1.5}, {inner, shared}};
  const Dict held = part;
  unit.update(std::move(part));
  EXPECT_TRUE(part.empty());  // NOLINT(bugprone-use-after-move): what is left is what is looked at
  EXPECT_EQ(Value(held).to_text(), "{'Lon': 1.5, 'Inner': {'x': 1}}");
  Dict other{{Name("Name"), "v"}};
  other.update(held.shallow_copy());
  for (const Dict& joined : {unit, other}) EXPECT_TRUE(joined.at_dict(inner).is(shared));
  EXPECT_EQ(keys_of(other), "Name Lon Inner ");
}

TEST(Dict, UpdateFromADictionaryItHoldsAndOverwrites) {
  Dict dict{{"Mission", Dict{{"Mission", "gone"}, {"Name", "CAP"}, {"Status", 1}}}};
  dict.update(dict.at_dict("Mission"));
  EXPECT_EQ(Value(dict).to_text(), "{'Mission': 'gone', 'Name': 'CAP', 'Status': 1}");
}

TEST(Dict, PointersHoldUntilTheNextInsertion) {
  for (const int size : {5, 200}) {
    Dict dict;
    for (int i = 0; i < size; ++i) dict.set(std::to_string(i), i);
    const Value* kept = dict.find("4");
    for (int i = 0; i < size; ++i) {
      if (i != 4) dict.erase(std::to_string(i));
    }
    dict.set("4", "same place");
    EXPECT_EQ(kept, dict.find("4"));
    EXPECT_EQ(*kept, "same place");
    for (int i = 0; i < 3 * size; ++i) dict.set("n" + std::to_string(i), i);  // squeezes out the dead
    EXPECT_EQ(dict.size(), 3u * size + 1);
    EXPECT_EQ((*dict.begin()).key, "4");
    EXPECT_EQ(dict.at_integer("n" + std::to_string(3 * size - 1)), 3 * size - 1);
  }
}

/// Looks into the dictionary that is losing it.
struct Watcher {
  explicit Watcher(Dict& dict) : watched(&dict) {}
  Dict* watched;
  ~Watcher() { EXPECT_EQ(watched->find("self"), nullptr); }
};

TEST(Dict, IsSoundWhenAValueLooksBackWhileItEnds) {
  Dict dict;
  dict.set("self", std::make_shared<Watcher>(dict));
  dict.erase("self");
  dict.set("self", std::make_shared<Watcher>(dict));
  dict.clear();
  EXPECT_TRUE(dict.empty());
}

/// The slow and obvious dictionary.
struct Model {
  std::vector<std::pair<std::string, int>> entries;

  auto place(const std::string& key) { return std::ranges::find(entries, key, &std::pair<std::string, int>::first); }
  void set(const std::string& key, int value) {
    if (place(key) == entries.end()) entries.emplace_back(key, 0);
    place(key)->second = value;
  }
  bool erase(const std::string& key) {
    return std::erase_if(entries, [&](auto& entry) { return entry.first == key; });
  }
};

/// Plays the same random work on a table and on the model, comparing all they hold now and then.
template <class Table, class KeyText, class Copy>
void play_against_model(Table table, KeyText key_text, Copy copy) {
  std::mt19937_64 random(7);
  Model model;
  for (int i = 0; i < 20'000; ++i) {
    // The number of keys in play swells and shrinks, so that small and large tables take their turns.
    const std::string key = "k" + std::to_string(random() % (1 + (i / 500 % 8) * 40));
    if (random() % 5 < 3) {
      table.set(key, i);
      model.set(key, i);
    } else {
      ASSERT_EQ(table.erase(key), model.erase(key));
    }
    if (i % 300 == 0) table = copy(table);
    ASSERT_EQ(table.contains(key), model.place(key) != model.entries.end());
    ASSERT_EQ(table.size(), model.entries.size());
    if (i % 50 != 0) continue;
    auto expected = model.entries.begin();
    for (auto [stored, value] : table) {
      ASSERT_EQ(key_text(stored), expected->first);
      ASSERT_EQ(value, expected->second);
      ++expected;
    }
    ASSERT_EQ(expected, model.entries.end());
  }
}

TEST(Dict, RandomWorkAgreesWithAPlainModel) {
  const auto text = [](const Value& key) { return key.to_text(); };
  play_against_model(Dict(), text, [](const Dict& dict) { return dict.deep_copy(); });
  play_against_model(Dict(), text, [](const Dict& dict) { return dict.shallow_copy(); });
}

TEST(OrderedMap, RandomWorkAgreesWithAPlainModel) {
  play_against_model(
      OrderedMap<int>(), [](std::string_view key) { return std::string(key); }, [](const auto& map) { return map; });
  EXPECT_THAT([] { OrderedMap<int>().at("gone"); }, testing::ThrowsMessage<KeyError>(HasSubstr("gone")));
}

TEST(List, SharesExtendsAndBoundsItself) {
  List list{1, 2};
  List same = list;
  same.extend(list);
  same.insert_front(list.at(1));
  EXPECT_EQ(list, (List{2, 1, 2, 1, 2}));
  list.truncate(9);
  list.truncate(2);
  EXPECT_EQ(Value(same).to_text(), "[2, 1]");
  EXPECT_THAT([&] { list.at(2); }, testing::ThrowsMessage<KeyError>(AllOf(HasSubstr("2"), HasSubstr("out of range"))));

  const List shallow = list.shallow_copy();
  list.push_back(list.at(0));
  EXPECT_EQ(shallow.size(), 2u);
  EXPECT_EQ(list.at(2), 2);
}

TEST(List, ExtendsFromAListItHolds) {
  List list{List{1, 2, 3}};
  list.extend(list.at(0).as_list());
  EXPECT_EQ(Value(list).to_text(), "[[1, 2, 3], 1, 2, 3]");
}

}  // namespace
}  // namespace tessra
