#include <CLI/CLI.hpp>

#include <fmt/format.h>

#include "agents/sample_agents.h"
#include "apps/deduce/agents_command.h"
#include "apps/deduce/apply_command.h"
#include "apps/deduce/check_command.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/replay_command.h"
#include "apps/deduce/results_command.h"
#include "apps/deduce/run_command.h"
#include "apps/deduce/scenarios_command.h"

namespace {

using namespace tessra;
using namespace tessra::app;

const CLI::Validator above_zero(
    [](std::string& text) {
      const bool digits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
      const bool fits = digits && text.size() <= 18 && text.find_first_not_of('0') != std::string::npos;
      return fits ? std::string() : "must be a whole number above 0, is '" + text + "'";
    },
    "COUNT");

/// The first argument must name a command: the parser itself would only say that one is missing.
void check_command_name(const CLI::App& app, int argc, char** argv) {
  if (argc < 2 || argv[1][0] == '-') return;
  std::string names;
  for (const CLI::App* command : app.get_subcommands({})) {
    if (command->get_name() == argv[1]) return;
    names += (names.empty() ? "" : ", ") + command->get_name();
  }
  throw InputError("no command '" + std::string(argv[1]) + "'; there are: " + names);
}

int dispatch(int argc, char** argv) {
  CLI::App app("Runs episodes of wargame scenarios with software agents.", "deduce");
  app.require_subcommand(1);
  app.set_version_flag("--version", "deduce " TESSRA_VERSION);

  RunOptions run;
  CLI::App* run_command = app.add_subcommand("run", "Play episodes and show who won");
  run_command->add_option("--scenario", run.scenario, "A shipped scenario's name, or a scenario file");
  run_command->add_option("--config", run.config, "Configuration file (JSON)");
  run_command->add_option("--episodes", run.episodes, "How many episodes to play")->check(above_zero);
  run_command->add_option("--seed", run.seed, "Base seed; every episode's seed is made from it and its number");
  run_command->add_option("--agents", run.agents, "Agent library (.so) with classes the configuration names");
  run_command->add_option("--log", run.log, "Append the run log to this file");
  run_command->add_option("--record", run.record, "Keep every situation record below this folder");
  run_command->add_flag("--json", run.json, "Print one JSON object per episode and nothing else");
  run_command->add_flag("--quiet", run.quiet, "Show neither progress nor table");

  ReplayOptions replay;
  CLI::App* replay_command = app.add_subcommand("replay", "Play recorded situations through the engine");
  replay_command->add_option("folder", replay.folder, "Folder written by 'run --record', or by hand")->required();
  replay_command->add_option("--episode", replay.episode, "Which episode, when the folder holds several");
  replay_command->add_option("--dump", replay.dump, "Write the model after every record to this JSON file");

  ApplyOptions apply;
  CLI::App* apply_command = app.add_subcommand("apply", "Run one agent of one side for a scheduling client");
  apply_command->add_option("--config", apply.config, "Configuration file (JSON) with 'is_ai_apply'")->required();
  apply_command->add_option("--agents", apply.agents, "Agent library (.so) with the agent's class");
  apply_command->add_option("--seed", apply.seed, "Base seed of the bundled simulation");
  apply_command->add_flag("--json", apply.json, "Print the result as one JSON object and nothing else");
  apply_command->add_flag("--quiet", apply.quiet, "Show neither progress nor table");

  CheckOptions check;
  CLI::App* check_command =
      app.add_subcommand("check-agent", "Play an agent through odd situations; say what is wrong");
  check_command->add_option("--class", check.agent_class, "Registered name of the agent's class")->required();
  check_command->add_option("--agents", check.agents, "Agent library (.so) with the class");
  check_command->add_option("--limit", check.limit, "Seconds a call into the agent may take")
      ->check(CLI::Range(0.001, 3600.0))
      ->capture_default_str();

  bool results_json = false;
  CLI::App* results_command = app.add_subcommand("results", "List the saved results");
  results_command->add_flag("--json", results_json, "Print one JSON object per result");

  CLI::App* scenarios_command = app.add_subcommand("scenarios", "List the shipped scenarios");

  std::string agents_library;
  CLI::App* agents_command = app.add_subcommand("agents", "List the agent classes a configuration can name");
  agents_command->add_option("--agents", agents_library, "Agent library (.so) whose classes are listed, too");

  check_command_name(app, argc, argv);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kPlayed : kWrongInput;
  }
  if (run_command->parsed()) return run_episodes(run);
  if (replay_command->parsed()) return replay_records(replay);
  if (apply_command->parsed()) return apply_agent(apply);
  if (check_command->parsed()) return check_agent(check);
  if (results_command->parsed()) return list_results(results_json);
  if (scenarios_command->parsed()) return list_scenarios();
  if (agents_command->parsed()) return list_agents(agents_library);
  return kWrongInput;
}

}  // namespace

int main(int argc, char** argv) {
  register_sample_agents(AgentRegistry::instance());
  try {
    return dispatch(argc, argv);
  } catch (const InputError& error) {
    fmt::print(stderr, "error: {}\n", error.what());
    return kWrongInput;
  } catch (const std::exception& error) {
    fmt::print(stderr, "error: {}\n", error.what());
    return kFailed;
  }
}
