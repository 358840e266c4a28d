#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "Tessra/base/json_read.h"
#include "support/scratch_folder.h"

namespace tessra::testing {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// What a program left: its status (128 plus the number of the signal that ended it) and its two streams.
struct Output {
  int status;
  std::string out;
  std::string err;
};

/// The program as its user meets it, with a configuration directory of the test's own.
class CommandLine : public ::testing::Test {
 protected:
  CommandLine() { ::setenv("TESSRA_CONFIG", path("config").c_str(), 1); }

  Output run(const std::string& arguments) { return shell(std::string(TESSRA_DEDUCE) + " " + arguments); }

  /// Expects one line that says this; wrong input must do nothing else.
  void expect_refused(const std::string& arguments, const std::string& says, int status = 2) {
    const Output output = run(arguments);
    EXPECT_EQ(output.status, status) << arguments;
    EXPECT_THAT(output.err, ::testing::AllOf(::testing::StartsWith("error: "), HasSubstr(says))) << arguments;
    EXPECT_EQ(std::count(output.err.begin(), output.err.end(), '\n'), 1) << output.err;
    EXPECT_TRUE(status != 2 || output.out.empty()) << output.out;
  }

  Output shell(const std::string& command) {
    const std::string err_file = path("stderr");
    std::FILE* pipe = ::popen(("{ " + command + "\n} 2>" + err_file).c_str(), "r");
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

  std::string path(const std::string& name) const { return (folder_.path() / name).string(); }
  static std::string read(const std::string& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name)) << text;
    return path(name);
  }
  /// A configuration for `apply` with an agent of this class that decides every `interval` seconds.
  std::string apply_config(const std::string& agent_class, int interval) const {
    return write(agent_class + std::to_string(interval) + ".json",
                 R"({"is_ai_apply": true, "simulate": {"scenario": "strait"}, "server": {}, "player": {"agent_id": "1",
                 "agent_name": "a", "player_side": "红方", "decision_time": )" +
                     std::to_string(interval) + R"(}, "rule_config": {"红方": {"a": {"class": ")" + agent_class +
                     R"("}}}})");
  }
  /// A configuration for `run` on a small scenario: red is played by an agent "x" of this class. `simulate` may add
  /// entries to that section, each with a comma in front.
  std::string run_config(const std::string& agent_class, const std::string& simulate = "") const {
    return write(agent_class + ".json", R"({"game_server": {"simulate": {"scenario": "skirmish")" + simulate +
                                            R"(}, "server": {}}, "rule_config": {"红方": {"x": {"class": ")" +
                                            agent_class + R"("}}}})");
  }
  static std::string library() { return " --agents " TESSRA_FAULTY_AGENTS; }

 private:
  ScratchFolder folder_;
};

}  // namespace tessra::testing
