// JSON in and out: what is refused and where, what is kept exactly, and round trips of random trees.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "support/by_parser.h"
#include "support/scratch_folder.h"

namespace tessra {
namespace {

TEST(JsonRead, KeepsKindsAndOrder) {
  const Value value = read_json(R"( {"b": [null, true, -7, 2.0, 1E2], "a": {}, "b2": "\u00e9\n\ud83d\ude00\u0000"} )");
  EXPECT_EQ(value.to_text(),
            "{'b': [None, True, -7, 2.0, 100.0], 'a': {}, 'b2': '\u00e9\n\U0001F600" + std::string(1, '\0') + "'}");
  EXPECT_EQ(read_json(R"({"a": 1, "b": 2, "\u0061": 3})").to_text(), "{'a': 3, 'b': 2}");
  EXPECT_EQ(read_json("-9223372036854775808").as_integer(), INT64_MIN);
  EXPECT_EQ(read_json("[9223372036854775807]").as_list().at(0).as_integer(), INT64_MAX);
}

TEST(JsonRead, RealsAreTheNearestOfAnyLength) {
  for (const char* text :
       {"0.1", "12345678901234567890.5", "0.1234567890123456789012345", "1e23", "9007199254740993.0000000001",
        "-0.500000000000000166533453693773481063544750213623046875", "4.9406564584124654e-324",
        "2.2250738585072011e-308", "100000000000000000000000000000000.0E-10"}) {
    EXPECT_EQ(read_json(text).as_real(), std::strtod(text, nullptr)) << text;
    EXPECT_EQ(read_json("[" + std::string(text) + ",1]").as_list().at(0).as_real(), std::strtod(text, nullptr)) << text;
  }
}

struct Fault {
  std::string text;
  const char* what;
  std::size_t offset, line, column;
};

TEST(JsonRead, ReportsEveryFaultWithItsPlace) {
  const Fault faults[] = {
      {"", "no JSON", 0, 1, 1},
      {" \n ", "no JSON", 0, 1, 1},
      {"[1,\n 2,]", "commas", 7, 2, 4},
      {"[1 2]", "commas", 3, 1, 4},
      {"{\"a\" 1}", "commas", 5, 1, 6},
      {"{\"a\":1 \"b\":2}", "commas", 7, 1, 8},
      {"{1:2}", "commas", 1, 1, 2},
      {"[NaN]", "structure", 1, 1, 2},
      {"[1,2}", "does not end", 5, 1, 6},
      {"{\"a\":[1", "does not end", 7, 1, 8},
      {"[1] x", "does not end", 5, 1, 6},
      {"[1]]", "after the value", 3, 1, 4},
      {"\"a\" 1", "after the value", 4, 1, 5},
      {"{\"a\":\n[tru]}", "unknown word", 7, 2, 2},
      {"nulls", "unknown word", 0, 1, 1},
      {"[01]", "invalid number", 1, 1, 2},
      {"{\"a\": -}", "invalid number", 6, 1, 7},
      {"[1.]", "invalid number", 1, 1, 2},
      {"[1e400]", "invalid number", 1, 1, 2},
      {"[9223372036854775808]", "beyond 64 bits", 1, 1, 2},
      {"-9223372036854775809", "beyond 64 bits", 0, 1, 1},
      {"[123456789012345678901234567890]", "beyond 64 bits", 1, 1, 2},
      {"[1,\"\\x\"]", "invalid escape", 3, 1, 4},
      {"[\"\\ud800\"]", "invalid escape", 1, 1, 2},
      {"[\"\\udc00\"]", "invalid escape", 1, 1, 2},
      {"[\"\\ud800\\u0041\"]", "invalid escape", 1, 1, 2},
      {"{\n\"\\u12\":1}", "invalid escape", 2, 2, 1},
      {"[\"ok\\\"\",\"tab\there\"]", "escaped", 12, 1, 13},
      {"[1,\"never closed", "closed", 3, 1, 4},
      {"[\"\xc3\xa9\xff\"]", "UTF-8", 4, 1, 5},
      {"[\"\xed\xa0\x80\"]", "UTF-8", 2, 1, 3},
      {"[\"\xe2\x82\"]", "UTF-8", 2, 1, 3},
      {"\xef\xbb\xbf{}", "byte order mark", 0, 1, 1},
  };
  for (const Fault& fault : faults) {
    try {
      ADD_FAILURE() << fault.text << " was read as " << read_json(fault.text);
    } catch (const JsonError& error) {
      EXPECT_THAT(error.what(), ::testing::HasSubstr(fault.what)) << fault.text;
      EXPECT_EQ(error.place.offset, fault.offset) << fault.text << ": " << error.what();
      EXPECT_THAT(error.what(), ::testing::EndsWith("at line " + std::to_string(fault.line) + ", column " +
                                                    std::to_string(fault.column)));
    }
  }
}

TEST(JsonRead, HoldsItsLimitsAndWorksOnAfterThem) {
  JsonReader reader({.max_bytes = 20, .max_depth = 3});
  EXPECT_EQ(reader.read("[[[1]],{\"a\":{}}]").as_list().size(), 2u);
  EXPECT_THAT([&] { reader.read("[[],[[[1]]]]"); },
              ::testing::ThrowsMessage<JsonError>(::testing::HasSubstr("column 7")));
  EXPECT_THAT([&] { reader.read(std::string(21, ' ')); },
              ::testing::ThrowsMessage<JsonError>(::testing::HasSubstr("20")));
  EXPECT_EQ(reader.read("7"), 7);
  EXPECT_THROW(read_json(std::string(100'000, '[')), JsonError);
}

/// A text with memory behind it that cannot be read.
class TextAtPageEnd {
 public:
  explicit TextAtPageEnd(std::string_view text)
      : pages_((text.size() + kPage - 1) / kPage + 1),
        memory_(::mmap(nullptr, pages_ * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    char* end = static_cast<char*>(memory_) + (pages_ - 1) * kPage;
    ::mprotect(end, kPage, PROT_NONE);
    text_ = {end - text.size(), text.size()};
    text.copy(end - text.size(), text.size());
  }
  ~TextAtPageEnd() { ::munmap(memory_, pages_ * kPage); }
  TextAtPageEnd(const TextAtPageEnd&) = delete;
  TextAtPageEnd& operator=(const TextAtPageEnd&) = delete;

  std::string_view text() const { return text_; }

 private:
  static constexpr std::size_t kPage = 4096;
  std::size_t pages_;
  void* memory_;
  std::string_view text_;
};

/// Pieces of JSON, one after the other: sometimes a whole text, mostly nearly one.
class RandomPieces {
 public:
  std::string value(int depth) {
    switch (random_() % (depth > 0 ? 10 : 6)) {
      case 0:
      case 1:
      case 2:
        return number();
      case 3:
        return of({"true", "false", "null", "tru", "nulls", "-", "-.5", ".5", "Infinity"});
      case 4:
      case 5:
        return text();
      case 6:
      case 7:
        return "[" + entries(depth, "") + of({"]", "]", "]", "]", "]", "]", "", "}", "]]"});
      default:
        return "{" + entries(depth, ":") + of({"}", "}", "}", "}", "}", "}", "", "]", ",}"});
    }
  }

 private:
  std::string of(std::initializer_list<const char*> choices) { return choices.begin()[random_() % choices.size()]; }
  std::string entries(int depth, const std::string& colon) {
    std::string entries;
    for (auto left = random_() % 4; left > 0; --left) {
      if (!colon.empty()) entries += text() + of({"", "", " "}) + (random_() % 60 > 0 ? colon : of({"", "::", ","}));
      entries += of({"", "", "\n\t"}) + value(depth - 1) + of({"", "", " \t\r\n"});
      if (left > 1) entries += random_() % 60 > 0 ? "," : of({"", ",,", ";"});
    }
    return entries;
  }
  std::string text() {
    return of({R"("")", R"("a")", R"("Name")", R"("\u00e9\n")", R"("a longer field name")", R"("a\\")", R"("\"")",
               R"("0f8b9c1e-6a51-4e5f-8a43-0c2d8f7b6e11")", R"("never read, \x")", R"("twelve bytes")",
               R"("\u001f\t态😀")"});
  }
  std::string digits(std::size_t most) {
    std::string digits;
    for (auto left = 1 + random_() % most; left > 0; --left) digits += static_cast<char>('0' + random_() % 10);
    return digits;
  }
  std::string number() {
    std::string number = of({"", "", "-"}) + (random_() % 4 > 0 ? digits(random_() % 8 > 0 ? 6 : 20) : "0");
    if (random_() % 2 > 0) number += "." + (random_() % 40 > 0 ? digits(random_() % 8 > 0 ? 7 : 20) : "");
    if (random_() % 16 == 0) number += of({"e", "E+", "e-"}) + digits(random_() % 8 > 0 ? 2 : 3);
    if (random_() % 100 == 0) number.insert(random_() % (number.size() + 1), of({".", "-", "x", "\x01", "5e"}));
    return number;
  }
  std::mt19937_64 random_{5};
};

TEST(Json, IsReadAsTheParserReadsItAndComesBackWithItsKindsAndOrder) {
  RandomPieces pieces;
  JsonReader reader;
  int accepted = 0;
  for (int round = 0; round < 60'000; ++round) {
    const std::string text = pieces.value(3);
    const std::optional<Value> wanted = by_parser(text);
    std::optional<Value> read;
    try {
      read = reader.read(TextAtPageEnd(text).text());
    } catch (const JsonError&) {
    }
    ASSERT_EQ(read.has_value(), wanted.has_value()) << text;
    if (!read) continue;
    ++accepted;
    ASSERT_EQ(write_json(*read), write_json(*wanted)) << text;
    // Equality alone would pass over 1 for 1.0, and over order.
    const JsonStyle style = round % 2 == 0 ? JsonStyle::compact : JsonStyle::pretty;
    ASSERT_EQ(reader.read(write_json(*read, style)).to_text(), read->to_text()) << text;
  }
  EXPECT_GT(accepted, 20'000);
}

TEST(JsonWrite, EscapesAndIndents) {
  const Value value = Dict{{7, List{}}, {"q\"\\", List{1, "\x01\n\xc3\xa9"}}};
  EXPECT_EQ(write_json(value), "{\"7\":[],\"q\\\"\\\\\":[1,\"\\u0001\\n\xc3\xa9\"]}");
  EXPECT_EQ(write_json(value.as_dict().at_list("q\"\\"), JsonStyle::pretty), "[\n  1,\n  \"\\u0001\\n\xc3\xa9\"\n]");
}

TEST(JsonWrite, RefusesWhatJsonCannotSay) {
  List cycle;
  cycle.push_back(cycle);
  EXPECT_THROW(write_json(cycle), LimitError);
  cycle.truncate(0);
  for (const Value& value : {Value(std::make_shared<int>(1)), Value(std::nan("")), Value(List{-HUGE_VAL})}) {
    EXPECT_THROW(write_json(value), ConversionError) << value;
  }
}

TEST(JsonFile, IsWrittenWholeAndItsFaultsNameThePath) {
  const tessra::testing::ScratchFolder scratch;
  const std::filesystem::path& folder = scratch.path();
  const auto path = folder / "record.json";
  write_json_file(path, Dict{{"a", 1.0}});
  EXPECT_EQ(read_json_file(path).to_text(), "{'a': 1.0}");
  EXPECT_THROW(write_json_file(path, std::nan("")), ConversionError);
  EXPECT_EQ(read_json_file(path).to_text(), "{'a': 1.0}") << "a failed write leaves the file as it was";
  EXPECT_THROW(write_json_file(folder / "missing" / "x.json", 1), Error);

  std::ofstream(path) << "[1,\n]";
  EXPECT_THAT([&] { read_json_file(path); },
              ::testing::ThrowsMessage<JsonError>(
                  ::testing::AllOf(::testing::StartsWith(path.string()), ::testing::EndsWith("at line 2, column 1"))));
  std::ofstream(path, std::ios::trunc) << "[{\"a\": 1, \"b\": {\"a\": 2}},\n {\"a\": 1, \"c\": 2, \"\\u0061\": 3}]";
  EXPECT_EQ(read_json_file(path).as_list().at(1).to_text(), "{'a': 3, 'c': 2}");
  EXPECT_THAT([&] { read_strict_json_file(path); },
              ::testing::ThrowsMessage<JsonError>(path.string() + ": duplicate key 'a' at line 2, column 19"));
  std::ofstream(path, std::ios::trunc).close();
  EXPECT_THROW(read_json_file(path), JsonError);
  for (const auto& unreadable : {folder, folder / "missing.json"}) {
    EXPECT_THAT([&] { read_json_file(unreadable); },
                ::testing::ThrowsMessage<Error>(::testing::StartsWith("cannot read")));
  }
}

}  // namespace
}  // namespace tessra
