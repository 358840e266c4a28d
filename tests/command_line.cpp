// The program as its user meets it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Tessra/base/json_read.h"

namespace tessra::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct Output {
  int status;
  std::string out;
  std::string err;
};

class CommandLine : public ::testing::Test {
 protected:
  CommandLine() : folder_(std::filesystem::temp_directory_path() / ("tessra-cli-" + std::to_string(::getpid()))) {
    std::filesystem::create_directories(folder_);
  }
  ~CommandLine() override { std::filesystem::remove_all(folder_); }

  Output run(const std::string& arguments) {
    const std::string err_file = path("stderr");
    const std::string line = std::string(TESSRA_DEDUCE) + " " + arguments + " 2>" + err_file;
    std::FILE* pipe = ::popen(line.c_str(), "r");
    Output output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
      output.out.append(buffer.data(), count);
    }
    const int status = ::pclose(pipe);
    output.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    output.err = read(err_file);
    return output;
  }

  std::string path(const std::string& name) const { return (folder_ / name).string(); }
  static std::string read(const std::string& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name)) << text;
    return path(name);
  }

 private:
  std::filesystem::path folder_;
};

TEST_F(CommandLine, json_lines_are_the_same_for_the_same_seed) {
  const Output first = run("run --scenario skirmish --json --episodes 2 --seed 7");
  EXPECT_EQ(first.status, 0);
  EXPECT_THAT(first.err, IsEmpty());
  EXPECT_EQ(std::count(first.out.begin(), first.out.end(), '\n'), 2);
  const Dict line = read_json(first.out.substr(0, first.out.find('\n'))).as_dict();
  for (const char* key :
       {"round", "red_name", "blue_name", "red_score", "blue_score", "time_elapsed", "steps", "seed"}) {
    EXPECT_TRUE(line.contains(key)) << key;
  }
  EXPECT_EQ(line.at("seed"), Value(7));
  EXPECT_EQ(run("run --scenario skirmish --json --episodes 2 --seed 7").out, first.out);
  EXPECT_NE(run("run --scenario skirmish --json --episodes 2 --seed 8").out, first.out);
}

TEST_F(CommandLine, wrong_input_is_one_clear_line_and_status_2) {
  const std::string bad_json = write("bad.json", "{\n  \"game_server\": [}\n");
  const struct {
    std::string arguments;
    std::string says;
  } cases[] = {
      {"run --scenario nosuch", "nosuch"},
      {"run --scenario " + path("nosuch.json"), "nosuch.json"},
      {"run --config " + path("nosuch.json"), "no such file"},
      {"run --config " + bad_json, "line 2, column"},
      {"run --config " + write("list.json", "[]"), "object"},
      {"run --episodes 0", "episodes"},
      {"run --nonsense", "nonsense"},
      {"replay " + path("empty"), "initial.json"},
  };
  for (const auto& given : cases) {
    const Output output = run(given.arguments);
    EXPECT_EQ(output.status, 2) << given.arguments;
    EXPECT_THAT(output.err, HasSubstr(given.says)) << given.arguments;
    EXPECT_THAT(output.out, IsEmpty());
  }
  EXPECT_EQ(run("--help").status, 0);
}

TEST_F(CommandLine, options_beat_the_configuration_and_misspelt_keys_are_warned_of) {
  const std::string config = write("c.json", R"({"game_server": {
    "simulate": {"scenario": "strait", "episodes": 5, "step_intervall": 1}, "server": {"seed": 1}}})");
  const Output output =
      run("run --config " + config + " --scenario skirmish --episodes 1 --seed 9 --json --log " + path("log"));
  EXPECT_EQ(output.status, 0);
  EXPECT_EQ(output.err, "warning: unknown key simulate.step_intervall has no effect; did you mean step_interval?\n");
  EXPECT_EQ(read_json(output.out).as_dict().at("seed"), Value(9));
  EXPECT_THAT(read(path("log")), HasSubstr(" - deduce - INFO - 第1局,想定'skirmish'加载成功"));
}

TEST_F(CommandLine, an_agents_failure_names_side_and_agent) {
  const std::string config = write("c.json", R"({"game_server": {"simulate": {"scenario": "skirmish"}, "server": {}},
    "rule_config": {"红方": {"x": {"class": "nosuch"}}}})");
  const Output output = run("run --config " + config);
  EXPECT_EQ(output.status, 1);
  EXPECT_THAT(output.err, HasSubstr("no agent class 'nosuch'"));
}

TEST_F(CommandLine, recordings_replay_and_dump) {
  ASSERT_EQ(run("run --scenario skirmish --quiet --record " + path("rec")).status, 0);
  const Output output = run("replay " + path("rec") + " --dump " + path("dump.json"));
  EXPECT_EQ(output.status, 0) << output.err;
  const Value dump = read_json_file(path("dump.json"));
  const List& entries = dump.as_list();
  ASSERT_GT(entries.size(), 2u);
  EXPECT_EQ(entries.at(0).as_dict().at("record"), Value("initial"));
  EXPECT_EQ(entries.at(0).as_dict().at("returned"), Value(1));
  const Dict& last = entries.at(entries.size() - 1).as_dict();
  EXPECT_TRUE(last.at_dict("returned").contains("red_score"));
  EXPECT_TRUE(last.at("error").is_none());
  EXPECT_TRUE(last.at_dict("engine").at("deduce_is_end").is_true());
  EXPECT_TRUE(last.at_dict("elements").contains("red-base"));
}

TEST_F(CommandLine, ctrl_c_ends_after_the_step_with_the_table_so_far) {
  const std::string script = std::string("timeout --preserve-status -s INT 1 ") + TESSRA_DEDUCE +
                             " run --scenario skirmish --episodes 1000000 --quiet; echo status $?";
  std::FILE* pipe = ::popen(script.c_str(), "r");
  std::array<char, 256> buffer{};
  std::string out;
  while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), pipe) != nullptr) out += buffer.data();
  ::pclose(pipe);
  EXPECT_EQ(out, "status 130\n");
}

}  // namespace
}  // namespace tessra::testing
