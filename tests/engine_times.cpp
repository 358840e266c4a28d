// Times as text, both ways.

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra::testing {
namespace {

/// The texts between bars.
std::vector<std::string> texts(const std::string& joined) {
  std::vector<std::string> texts;
  std::istringstream stream(joined);
  for (std::string text; std::getline(stream, text, '|');) texts.push_back(text);
  return texts;
}

TEST(Times, are_read_and_shown_within_the_calendar) {
  const std::pair<const char*, std::int64_t> times[] = {{"1970-01-01 00:00:00", 0},
                                                        {"2024-05-01 08:00:00", 1'714'550'400},
                                                        {"2024-02-29 23:59:59", 1'709'251'199},
                                                        {"2000-02-29 00:00:00", 951'782'400},
                                                        {"2023-12-31 19:59:00", 1'704'052'740},
                                                        {"2024-04-30 10:20:30", 1'714'472'430},
                                                        {"1969-12-31 23:59:59", -1}};
  for (const auto& [text, seconds] : times) {
    EXPECT_EQ(Deduction::datetime_transfer(text).time_since_epoch().count(), seconds) << text;
    EXPECT_EQ(cf::get_scenario_time(seconds * 1000, true), text);
    EXPECT_EQ(cf::get_scenario_time(seconds * 1000 + 999, true), text) << "fractions are cut off towards the past";
  }
  for (const char* other : {"2024/05/01 08:00:00", "2024-5-1 8:0:0"})
    EXPECT_EQ(Deduction::datetime_transfer(other), Deduction::datetime_transfer("2024-05-01 08:00:00")) << other;
  for (const std::string& bad :
       texts("2024-00-10 08:00:00|2024-13-10 08:00:00|2024-05-00 08:00:00|2024-05-32 08:00:00|2024-04-31 08:00:00|"
             "2024-02-30 08:00:00|2023-02-29 08:00:00|1900-02-29 08:00:00|2024-05-01 24:00:00|2024-05-01 08:60:00|"
             "2024-05-01 08:00:60|2024.05.01 08:00:00|2024-05-01T08:00:00|2024-05-01 08-00-00|2024-05-0108:00:00|"
             "2024-05-01  08:00:00|2024-05-01 08:00:00 | 2024-05-01 08:00:00|2024- 5- 1 08:00:00|2024-05-01 08:00|"
             "2024-05-01|24-05-01 08:00:00|2024-05-01 08:00:00.5|2024-05-01 +8:00:00||x"))
    EXPECT_THROW(Deduction::datetime_transfer(bad), ConversionError) << bad;
}

TEST(Times, are_shown_over_the_whole_range) {
  using Limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(cf::get_scenario_time(-1001, false), "23:59:58");
  EXPECT_EQ(cf::get_scenario_time(10'413'792'000'000, true), "2300-01-01 00:00:00");
  EXPECT_EQ(cf::get_scenario_time(Limits::max(), true), "292278994-08-17 07:12:55");
  EXPECT_EQ(cf::get_scenario_time(Limits::min(), true), "-292275055-05-16 16:47:04");
}

}  // namespace
}  // namespace tessra::testing
