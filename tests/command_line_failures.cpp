// What the program says, and how it ends, when an agent or its surroundings fail.

#include <sys/wait.h>

#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

using ::testing::Not;
using ::testing::StartsWith;

TEST_F(CommandLine, an_agents_failure_is_one_line_and_trace_shows_the_rest) {
  const struct {
    std::string agent_class;
    std::string says;
  } cases[] = {
      {"throws-ours", "error: agent 'x' of side '红方' failed in `step` at 0:00:00 of episode 1: no key 'plan'\n"},
      {"throws-in-constructor",
       "error: agent 'x' of side '红方' failed in `constructor` at 0:00:00 of episode 1: int 42\n"},
      {"breaks-tables", "error: in the model of side '红方' at 0:00:00 of episode 1: "},
      {"breaks-score", "error: side '红方': 'TotalScore' must be a number, is much\n"},
  };
  for (const auto& given : cases) {
    const std::string arguments = "run --config " + run_config(given.agent_class) + library();
    const Output output = run(arguments);
    EXPECT_EQ(output.status, 1) << given.agent_class;
    EXPECT_THAT(output.err, StartsWith(given.says));
    EXPECT_EQ(std::count(output.err.begin(), output.err.end(), '\n'), 1) << output.err;
    EXPECT_THAT(output.out, HasSubstr("no episode was played to its end\n"));
  }
  EXPECT_THAT(run("run --trace --config " + run_config("throws-ours") + library()).err,
              HasSubstr("libfaulty_agents.so("));
  const Output applied = run("apply --config " + apply_config("throws-in-constructor", 30) + library());
  EXPECT_THAT(applied.err, HasSubstr("agent 'a' of side '红方' failed in `constructor`"));
}

TEST_F(CommandLine, who_ends_the_program_from_inside_is_named) {
  const struct {
    std::string agent_class;
    int status;
    std::string how;
  } cases[] = {
      {"breaks-memory", 128 + SIGSEGV, "a segmentation fault (SIGSEGV)"},
      {"overflows", 128 + SIGSEGV, "a segmentation fault (SIGSEGV)"},
      {"crashes", 128 + SIGABRT, "abort (SIGABRT)"},
      {"exits", 1, "std::exit"},
      {"exits-quickly", 1, "std::quick_exit"},
      {"ends-its-thread", 1, "pthread_exit"},
  };
  for (const auto& given : cases) {
    const std::string end = "' of side '红方' in `step` ended the program: " + given.how + "\n";
    // The shell's own program is replaced, so that a signal is seen as such.
    const std::string program = std::string("ulimit -c 0; exec ") + TESSRA_DEDUCE;
    const Output played = shell(program + " run --config " + run_config(given.agent_class) + library());
    EXPECT_EQ(played.status, given.status) << given.agent_class;
    EXPECT_EQ(played.err, "error: agent 'x" + end);
    const Output applied = shell(program + " apply --config " + apply_config(given.agent_class, 30) + library());
    EXPECT_EQ(applied.status, given.status) << given.agent_class;
    EXPECT_EQ(applied.err, "error: agent 'a" + end);
  }
}

TEST_F(CommandLine, what_was_played_survives_a_crash) {
  const std::string arguments = " run --episodes 3 --config " + run_config("crashes-later") + library();
  const Output lines = shell(std::string("ulimit -c 0; exec ") + TESSRA_DEDUCE + arguments + " --json");
  EXPECT_EQ(read_json(lines.out).as_dict().at("round"), Value(1));
  const Output table = shell(std::string("ulimit -c 0; exec ") + TESSRA_DEDUCE + arguments);
  EXPECT_THAT(table.out, HasSubstr("\n      1  "));
}

TEST_F(CommandLine, output_that_cannot_be_written_is_told) {
  const std::string recorded = path("rec");
  ASSERT_EQ(run("run --scenario skirmish --quiet --record " + recorded).status, 0);
  ASSERT_EQ(run("apply --quiet --config " TESSRA_SOURCE_DIR "/scenarios/apply_strait.json").status, 0);
  const std::string commands[] = {"run --scenario skirmish",
                                  "run --scenario skirmish --json",
                                  "apply --config " TESSRA_SOURCE_DIR "/scenarios/apply_strait.json",
                                  "results",
                                  "scenarios",
                                  "run --help",
                                  "--version"};
  for (const std::string& command : commands) {
    const Output full = run(command + " >/dev/full");
    EXPECT_EQ(full.status, 1) << command;
    EXPECT_EQ(full.err, "error: cannot write standard output: No space left on device\n") << command;
    const Output closed = run(command + " >&-");
    EXPECT_EQ(closed.status, 1) << command;
    EXPECT_EQ(closed.err, "error: cannot write standard output: it is closed\n") << command;
  }
  run("run --json --config " + run_config("patrol", R"(, "save_result": true)") + " >/dev/full");
  const std::string saved = run("results").out;
  EXPECT_EQ(std::count(saved.begin(), saved.end(), '\n'), 1 + 4) << "three of apply, one of run";
  EXPECT_THAT(saved, Not(HasSubstr("\n    -  "))) << "each has its run, though it was not shown";

  const Output broken = shell("{ " + std::string(TESSRA_DEDUCE) + " run --scenario skirmish --episodes 3 --json; " +
                              "echo $? >" + path("status") + "; } | head -1");
  EXPECT_EQ(std::count(broken.out.begin(), broken.out.end(), '\n'), 1);
  EXPECT_EQ(broken.err, "error: cannot write standard output: Broken pipe\n");
  EXPECT_EQ(read(path("status")), "1\n");
  EXPECT_EQ(run("run --scenario nosuch 2>&-").status, 2) << "nobody to tell";
}

TEST_F(CommandLine, a_run_log_that_cannot_be_written_is_told_by_its_place) {
  const Output full = run("run --scenario skirmish --log /dev/full");
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(full.err, "error: cannot write the run log /dev/full: No space left on device\n");
  EXPECT_THAT(full.out, HasSubstr("of 1\n")) << "the episode is played and shown all the same";
  std::filesystem::create_directories(path("config/log"));
  std::filesystem::create_symlink("/dev/full", path("config/log/command_delay.log"));
  const Output applied = run("apply --json --config " TESSRA_SOURCE_DIR "/scenarios/apply_strait.json");
  EXPECT_EQ(applied.status, 1);
  EXPECT_EQ(applied.err, "error: cannot write the run log /dev/full: No space left on device\n");
  EXPECT_EQ(read_json(applied.out).as_dict().at("red_name"), Value("patrol-1"));

  const Output nowhere = run("run --scenario skirmish --log " + path("nowhere/log"));
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_EQ(nowhere.err, "error: cannot open the run log " + path("nowhere/log") + ": No such file or directory\n");
}

TEST_F(CommandLine, a_results_database_that_fails_is_told_and_the_result_is_shown) {
  std::filesystem::create_directories(path("config"));
  const std::string database = write("config/results.sqlite", std::string(4096, 'x'));
  const std::string says = "error: results database " + database + ": file is not a database\n";
  const Output applied = run("apply --json --config " TESSRA_SOURCE_DIR "/scenarios/apply_strait.json");
  EXPECT_EQ(applied.status, 1);
  EXPECT_THAT(applied.err, StartsWith("智能体决策step函数报错:results database ")) << "what the client is told";
  EXPECT_THAT(applied.err, HasSubstr(says));
  EXPECT_EQ(read_json(applied.out).as_dict().at("red_name"), Value("patrol-1"));

  const std::string config = run_config("patrol", R"(, "save_result": true)");
  const Output played = run("run --config " + config);
  EXPECT_EQ(played.status, 1);
  EXPECT_EQ(played.err, says);
  EXPECT_THAT(played.out, HasSubstr("of 1\n"));
  EXPECT_EQ(run("results").err, says);

  std::filesystem::remove(database);
  std::filesystem::create_directory(database);
  EXPECT_EQ(run("results").err, "error: results database " + database + ": unable to open database file\n");
  std::filesystem::remove(database);
  const Output limited = shell("ulimit -f 1; exec " + std::string(TESSRA_DEDUCE) + " run --config " + config);
  EXPECT_EQ(limited.status, 1);
  EXPECT_THAT(limited.err, StartsWith("error: results database " + database + ": "));
  EXPECT_THAT(limited.out, HasSubstr("of 1\n"));
}

TEST_F(CommandLine, an_agent_library_that_cannot_be_loaded_is_no_agents_failure) {
  const std::string broken = write("broken.so", "no library");
  for (const std::string command : {"run --scenario skirmish", "apply --quiet --config scenarios/apply_strait.json"}) {
    const Output output = shell("cd " TESSRA_SOURCE_DIR "; " TESSRA_DEDUCE " " + command + " --agents " + broken);
    EXPECT_EQ(output.status, 2) << command;
    EXPECT_THAT(output.err, HasSubstr("error: cannot load the agent library: " + broken));
  }
}

}  // namespace
}  // namespace tessra::testing
