// Values of every kind: equality and identity, conversions, texts, host objects, deep copies.

#include "Tessra/base/value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace tessra {
namespace {

using testing::AllOf;
using testing::HasSubstr;

struct Sink {
  int lines = 0;
};

struct Sample {
  Value value;
  const char* kind;
  const char* text;
  bool truthy;
};

/// One value of every kind, with the empty and the full of those that can be either.
std::vector<Sample> samples() {
  static const Name kKnown("Aircraft");
  return {
      {Value(), "none", "None", false},
      {false, "boolean", "False", false},
      {true, "boolean", "True", true},
      {0, "integer", "0", false},
      {-7, "integer", "-7", true},
      {0.0, "real", "0.0", false},
      {2.5, "real", "2.5", true},
      {"", "string", "", false},
      {"a b", "string", "a b", true},
      {kKnown, "string", "Aircraft", true},
      {List{}, "list", "[]", false},
      {List{1, "x"}, "list", "[1, 'x']", true},
      {Dict{}, "dictionary", "{}", false},
      {Dict{{"k", 1}}, "dictionary", "{'k': 1}", true},
      {std::make_shared<Sink>(), "host object", "<host object>", true},
  };
}

TEST(Value, EveryPairOfSamplesIsEqualOnlyWhenItShouldBe) {
  const auto all = samples();
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (std::size_t j = 0; j < all.size(); ++j) {
      const Value &a = all[i].value, &b = all[j].value;
      const bool zeros = a.is_number() && b.is_number() && !all[i].truthy && !all[j].truthy;
      EXPECT_EQ(a == b, i == j || zeros) << a << " and " << b;
      EXPECT_EQ(a.is(b), i == j) << a << " and " << b;
      Value left = a, right = b;
      left.swap(right);
      EXPECT_TRUE(left.is(b) && right.is(a));
      left = right;
      EXPECT_TRUE(left.is(a) && right.is(a));
    }
  }
}

TEST(Value, KindsTruthAndTexts) {
  for (const auto& [value, kind, text, truthy] : samples()) {
    EXPECT_EQ(kind_name(value.kind()), kind);
    EXPECT_EQ(value.to_text(), text);
    EXPECT_EQ(value.truthy(), truthy) << value;
    EXPECT_EQ(value.is_true(), value.is_bool() && truthy) << value;
    EXPECT_EQ(value.is_text(text), value.is_string()) << value;
  }
}

TEST(Value, WrongKindsThrowAndNameBothKinds) {
  for (const Sample& sample : samples()) {
    const Value& value = sample.value;
    const auto refused = [&](const char* wanted, bool fits, auto read) {
      if (fits) {
        EXPECT_NO_THROW(read()) << value;
      } else {
        EXPECT_THAT(read, testing::ThrowsMessage<KindError>(AllOf(HasSubstr(wanted), HasSubstr(sample.kind)))) << value;
      }
    };
    refused("boolean", value.is_bool(), [&] { value.as_bool(); });
    refused("integer", value.is_integer() || value.is_bool(), [&] { value.as_integer(); });
    refused("real", value.is_number(), [&] { value.as_real(); });
    refused("string", value.is_string(), [&] { value.as_text(); });
    refused("list", value.is_list(), [&] { value.as_list(); });
    refused("dictionary", value.is_dict(), [&] { value.as_dict(); });
    refused("host object", value.kind() == Kind::host, [&] { value.as_host<Sink>(); });
  }
}

TEST(Value, NumbersCompareExactlyWhereRealsGrowCoarse) {
  constexpr std::int64_t k53 = std::int64_t{1} << 53;
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(Value(k53), Value(0x1p53));
  EXPECT_NE(Value(k53 + 1), Value(0x1p53));  // the real nearest to the integer, but another number
  EXPECT_NE(Value(kMax), Value(0x1p63));
  EXPECT_EQ(Value(kMin), Value(-0x1p63));
  EXPECT_EQ(Value(true), Value(1.0));
  EXPECT_NE(Value(2), Value(2.5));
  EXPECT_FALSE(Value(true).is(Value(1)));
  EXPECT_NE(Value(std::nan("")), Value(std::nan("")));
  EXPECT_EQ(Value(std::uint64_t{kMax}).as_integer(), kMax);
  EXPECT_THROW(Value(std::uint64_t{kMax} + 1), ConversionError);
}

TEST(Value, WhatDoesNotFitIntoAValueIsTheSameFromOutside) {
  constexpr std::int64_t k47 = std::int64_t{1} << 47;
  for (const std::int64_t integer : {k47 - 1, k47, -k47, -k47 - 1, INT64_MAX, INT64_MIN}) {
    const Value value = integer;
    Dict keyed{{value, "there"}};
    EXPECT_TRUE(value.is_integer() && value.truthy() && value.as_integer() == integer) << integer;
    EXPECT_TRUE(value == Value(integer) && value != Value(integer ^ 1) && value.deep_copy().is(value)) << integer;
    EXPECT_EQ(keyed.get(integer), Value("there"));
    EXPECT_EQ(keyed.deep_copy(), keyed);
  }
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double real : {nan, -nan, std::numeric_limits<double>::signaling_NaN()}) {
    EXPECT_TRUE(Value(real).is_real() && std::isnan(Value(real).as_real()));
  }
  for (const double real : {HUGE_VAL, -HUGE_VAL, -0.0, 5e-324, -std::numeric_limits<double>::max()}) {
    EXPECT_TRUE(Value(real).is_real() && Value(real).as_real() == real) << real;
    EXPECT_EQ(std::signbit(Value(real).as_real()), std::signbit(real)) << real;
  }
  for (std::size_t size = 0; size < 20; ++size) {
    for (const char last : {'z', '\0'}) {
      std::string text(size, 'a');
      if (size > 0) text.back() = last;
      const Value value = text;
      Dict keyed{{value, 1}};
      EXPECT_TRUE(value.as_text() == text && value == Value(text) && value.deep_copy() == value) << size;
      EXPECT_TRUE(keyed.contains(text) && keyed.contains(value) && !keyed.contains(text + '\0')) << size;
    }
  }
}

TEST(Value, ConversionToWholeNumbers) {
  const std::pair<Value, std::int64_t> whole[] = {
      {true, 1},           {-3, -3}, {2.9, 2}, {-2.9, -2}, {" +42\n", 42}, {"-9223372036854775808", INT64_MIN},
      {-0x1p63, INT64_MIN}};
  for (const auto& [value, number] : whole) EXPECT_EQ(value.to_integer(), number) << value;
  for (const Value& value : std::vector<Value>{"", " ", "+", "+-1", "1.0", "0x1", "1 2", "9223372036854775808", 0x1p63,
                                               -0x1.0000000000001p63, std::nan(""), HUGE_VAL}) {
    EXPECT_THROW(value.to_integer(), ConversionError) << value;
  }
  EXPECT_THROW(Value().to_integer(), KindError);
  EXPECT_THROW(Value(List{}).to_integer(), KindError);
}

TEST(Value, TextsOfReals) {
  std::string texts;
  for (const double real : {3., -0., 0.1, 1e15, 1e16, 0.0001, 1.5e-5, 1e300, HUGE_VAL, -HUGE_VAL, 0.1 + 0.2}) {
    texts += real_text(real) + " ";
  }
  EXPECT_EQ(texts, "3.0 -0.0 0.1 1000000000000000.0 1e+16 0.0001 1.5e-05 1e+300 inf -inf 0.30000000000000004 ");
}

TEST(Value, ShowsDecimalsAsTheGeneralAlgorithmDoes) {
  std::mt19937_64 random(17);
  for (int i = 0; i < 200'000; ++i) {
    // Decimals of up to eight places and their neighbours.
    const auto digits = static_cast<double>(static_cast<std::int64_t>(random() >> (14 + random() % 40)));
    double real = digits / std::pow(10, static_cast<double>(random() % 9));
    if (random() % 4 == 0) real = std::nextafter(real, 0.0);
    if (random() % 2 == 0) real = -real;
    if (std::abs(real) < 1e-4 || std::abs(real) >= 1e16) continue;
    char text[64];
    std::string expected(text, std::to_chars(text, text + sizeof(text), real, std::chars_format::fixed).ptr);
    if (expected.find('.') == std::string::npos) expected += ".0";
    ASSERT_EQ(real_text(real), expected);
  }
  EXPECT_EQ(real_text(0.0) + real_text(-0.0), "0.0-0.0");
}

TEST(Value, HostObjectsComeBackAsTheTypeTheyWere) {
  auto sink = std::make_shared<Sink>();
  {
    const Value value = sink;
    const Value copy = value.deep_copy();
    EXPECT_EQ(copy.as_host<Sink>(), sink);  // copies of a tree share the host's objects
    EXPECT_EQ(value.if_host<int>(), nullptr);
    EXPECT_THAT([&] { value.as_host<int>(); }, testing::ThrowsMessage<KindError>(HasSubstr("Sink")));
    EXPECT_EQ(sink.use_count(), 2);
  }
  EXPECT_EQ(sink.use_count(), 1);
  EXPECT_TRUE(Value(std::shared_ptr<Sink>()).is_none());
}

TEST(Value, AssignmentFromInsideItself) {
  Value value = List{List{1, 2}, 3};
  value = value.as_list().at(0);
  EXPECT_EQ(value, Value(List{1, 2}));
  Value& same = value;
  value = std::move(same);
  EXPECT_EQ(value, Value(List{1, 2}));
}

TEST(DeepCopy, KeepsSharingInsideAndSharesNothingOutside) {
  const Dict inner{{"n", 1}};
  const Value tree = Dict{{"a", inner}, {"b", inner}, {"list", List{inner}}};
  const Value copy = tree.deep_copy();
  EXPECT_EQ(copy, tree);
  Dict copied = copy.as_dict().at_dict("a");
  EXPECT_FALSE(copied.is(inner));
  EXPECT_TRUE(copied.is(copy.as_dict().at_dict("b")));
  EXPECT_TRUE(copied.is(copy.as_dict().at_list("list").at(0).as_dict()));
  copied.set("n", 2);
  EXPECT_EQ(inner.at_integer("n"), 1);
}

TEST(DeepCopy, FollowsCycles) {
  Dict dict{{"list", List{}}};
  List list = dict.at_list("list");
  list.push_back(dict);
  Dict copy = dict.deep_copy();
  List copied = copy.at_list("list");
  EXPECT_FALSE(copied.is(list));
  EXPECT_TRUE(copied.at(0).as_dict().is(copy));
  EXPECT_EQ(Value(dict).to_text(), "{'list': [{...}]}");
  list.truncate(0);  // counts never free a cycle
  copied.truncate(0);
}

}  // namespace
}  // namespace tessra
