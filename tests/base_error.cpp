// Names, errors with their traces, and the guard.

#include "Tessra/base/error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Tessra/base/guard.h"
#include "Tessra/base/value.h"

namespace tessra {
namespace {

using testing::AllOf;
using testing::HasSubstr;

TEST(Name, EqualNamesAreOneAndUnknownOnesStayUnknown) {
  const Name name = Name::intern("test-field");
  EXPECT_EQ(Name::intern(std::string("test-") + "field").text().data(), name.text().data());
  EXPECT_EQ(Name::find("test-field"), name);
  EXPECT_FALSE(Name::find("test-unit-id").has_value());
  Dict dict{{"test-unit-id", 1}};
  EXPECT_FALSE(Name::find("test-unit-id").has_value()) << "ids as keys must not fill the table";
  EXPECT_EQ(Name::intern("").text(), "");

  const Name late = Name::intern("test-unit-id");  // a name made after its text became a key
  EXPECT_EQ(dict.at_integer(late), 1);
  EXPECT_EQ(Value(late), Value("test-unit-id"));
  dict.set(late, 2);
  EXPECT_EQ(dict.size(), 1u);
}

TEST(Name, ThreadsInternWhileOthersRead) {
  constexpr int kNames = 2'000;
  const auto text = [](int i) { return "shared-name-" + std::to_string(i); };
  std::vector<const char*> seen[2];
  std::atomic<bool> done = false;
  std::jthread reader([&] {
    while (!done) {
      for (int i = 0; i < kNames; i += 97) {
        const auto name = Name::find(text(i));
        EXPECT_TRUE(!name || name->text() == text(i));
      }
    }
  });
  {
    const auto intern_all = [&](std::vector<const char*>& found) {
      for (int i = 0; i < kNames; ++i) found.push_back(Name::intern(text(i)).text().data());
    };
    std::jthread first([&] { intern_all(seen[0]); });
    std::jthread second([&] { intern_all(seen[1]); });
  }
  done = true;
  EXPECT_EQ(seen[0], seen[1]);
}

TEST(Name, TheTableRefusesToGrowWithoutBound) {
  const auto fill = [] {
    for (std::size_t i = 0; i <= Name::kMaxAdded; ++i) Name::intern("filler-" + std::to_string(i));
  };
  EXPECT_THAT(fill, testing::ThrowsMessage<LimitError>(HasSubstr("filler-")));
  EXPECT_EQ(Name::intern("filler-0").text(), "filler-0") << "what is known stays usable";
  EXPECT_EQ(Dict({{"beyond-the-table", 1}}).at_integer("beyond-the-table"), 1);
}

std::exception_ptr caught(void (*work)()) {
  std::exception_ptr error;
  guarded(work, [&](std::exception_ptr failure) { error = std::move(failure); });
  return error;
}

void fail_with_causes() {
  try {
    try {
      throw KeyError("missing key 'Lon'");
    } catch (...) {
      std::throw_with_nested(std::runtime_error("no position"));
    }
  } catch (...) {
    std::throw_with_nested(ConversionError("no course"));
  }
}

TEST(Trace, ShowsTypeTextCausesAndTheStackOfOwnErrors) {
  const auto error = caught(fail_with_causes);
  EXPECT_EQ(error_text(error), "no course");
  const std::string trace = trace_text(error);
  EXPECT_THAT(trace, testing::StartsWith("tessra::ConversionError: no course\n    at "));
  EXPECT_THAT(trace,
              HasSubstr("\n  caused by std::runtime_error: no position\n  caused by tessra::KeyError: missing "));
  EXPECT_THAT(trace, testing::Not(HasSubstr("_ZN"))) << "names are shown as the source spells them";
}

struct NoException {};

TEST(Trace, ShowsTheValueOfWhatIsNoException) {
  const auto shown = [](void (*work)()) { return error_text(caught(work)) + "; " + trace_text(caught(work)); };
  EXPECT_EQ(shown([] { throw 42; }), "int 42; int: 42");
  EXPECT_EQ(shown([] { throw -1.5; }), "double -1.5; double: -1.5");
  EXPECT_EQ(shown([] { throw true; }), "bool true; bool: true");
  EXPECT_EQ(shown([] { throw "lost"; }), "lost; char const*: lost");
  EXPECT_THAT(shown([] { throw std::string("lost"); }),
              AllOf(testing::StartsWith("lost; std::"), HasSubstr(">: lost")));
  const std::string type = "tessra::(anonymous namespace)::NoException";
  EXPECT_EQ(shown([] { throw NoException(); }), "an error of type " + type + "; " + type);
}

TEST(Guard, HandsOverEveryErrorAndLetsTheProgramEnd) {
  EXPECT_TRUE(guarded([] {}, [](const std::exception_ptr&) { FAIL(); }));
  bool handled = false;
  EXPECT_FALSE(guarded([] { throw 7; }, [&](const std::exception_ptr& error) { handled = error != nullptr; }));
  EXPECT_TRUE(handled);
  const auto pass_on = [](const std::exception_ptr& error) { std::rethrow_exception(error); };
  EXPECT_THROW(guarded([] { throw KeyError("k"); }, pass_on), KeyError);
  EXPECT_THROW(guarded([] { throw ProgramEnd{3}; }, [](const std::exception_ptr&) { FAIL(); }), ProgramEnd);
}

}  // namespace
}  // namespace tessra
