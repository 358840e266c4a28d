// One agent for a scheduling client.

#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

TEST_F(CommandLine, apply_plays_the_example) {
  const Output output = run("apply --json --config " TESSRA_SOURCE_DIR "/scenarios/apply_strait.json");
  EXPECT_EQ(output.status, 0);
  EXPECT_THAT(output.err, IsEmpty());
  const Dict line = read_json(output.out).as_dict();
  EXPECT_EQ(line.at("red_name"), Value("patrol-1"));
  EXPECT_EQ(line.at("steps"), Value(180));
  EXPECT_EQ(line.at("ended_by"), Value("duration"));
  EXPECT_THAT(read(path("config/log/command_delay.log")),
              HasSubstr(" - Apply - INFO - 当前推演时间:5400s, 推演结束\n"));
}

TEST_F(CommandLine, apply_tells_what_went_wrong) {
  const struct {
    std::string agent_class;
    int status;
    std::string says;
  } cases[] = {
      {"throws-in-initial", 0, "智能体initial函数报错:lost in initial.\n详情请查看-"},
      {"throws-in-step", 0, "智能体'step'函数代码出错:lost in step.\n"},
      {"throws-at-the-end", 1, "智能体'deduction_end'函数代码出错:lost in deduction_end.\n"},
      {"nosuch", 0, "读取配置创建智能体错误:no agent class 'nosuch'"},
  };
  for (const auto& given : cases) {
    const Output output = run("apply --quiet --config " + apply_config(given.agent_class, 30) + library());
    EXPECT_EQ(output.status, given.status) << given.agent_class;
    EXPECT_THAT(output.err, HasSubstr(given.says));
  }
}

}  // namespace
}  // namespace tessra::testing
