#include <CLI/CLI.hpp>

#include <fmt/format.h>

#include "agents/sample_agents.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/replay_command.h"
#include "apps/deduce/run_command.h"
#include "apps/deduce/scenarios_command.h"

namespace {

using namespace tessra;
using namespace tessra::app;

int dispatch(int argc, char** argv) {
  CLI::App app("Runs episodes of wargame scenarios with software agents.", "deduce");
  app.require_subcommand(1);

  RunOptions run;
  CLI::App* run_command = app.add_subcommand("run", "Play episodes and show who won");
  run_command->add_option("--scenario", run.scenario, "A shipped scenario's name, or a scenario file");
  run_command->add_option("--config", run.config, "Configuration file (JSON)");
  run_command->add_option("--episodes", run.episodes, "How many episodes to play")->check(CLI::PositiveNumber);
  run_command->add_option("--seed", run.seed, "Base seed; every episode's seed is made from it and its number");
  run_command->add_option("--log", run.log, "Append the run log to this file");
  run_command->add_option("--record", run.record, "Keep every situation record below this folder");
  run_command->add_flag("--json", run.json, "Print one JSON object per episode and nothing else");
  run_command->add_flag("--quiet", run.quiet, "Show neither progress nor table");

  ReplayOptions replay;
  CLI::App* replay_command = app.add_subcommand("replay", "Play recorded situations through the engine");
  replay_command->add_option("folder", replay.folder, "Folder written by 'run --record', or by hand")->required();
  replay_command->add_option("--episode", replay.episode, "Which episode, when the folder holds several");
  replay_command->add_option("--dump", replay.dump, "Write the model after every record to this JSON file");

  CLI::App* scenarios_command = app.add_subcommand("scenarios", "List the shipped scenarios");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kPlayed : kWrongInput;
  }
  if (run_command->parsed()) return run_episodes(run);
  if (replay_command->parsed()) return replay_records(replay);
  if (scenarios_command->parsed()) return list_scenarios();
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
