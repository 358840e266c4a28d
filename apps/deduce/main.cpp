// The command line: options of each command, their validation, and the mapping from errors to exit statuses. What the
// commands do is in the `*_command` files.

#include <CLI/CLI.hpp>

#include <cxxabi.h>

#include <charconv>
#include <limits>
#include <optional>
#include <sstream>

#include "agents/sample_agents.h"
#include "apps/deduce/agents_command.h"
#include "apps/deduce/apply_command.h"
#include "apps/deduce/check_command.h"
#include "apps/deduce/check_service_command.h"
#include "apps/deduce/configuration_keys.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/last_words.h"
#include "apps/deduce/output.h"
#include "apps/deduce/replay_command.h"
#include "apps/deduce/results_command.h"
#include "apps/deduce/run_command.h"
#include "apps/deduce/scenarios_command.h"
#include "apps/deduce/schedule_command.h"
#include "apps/deduce/serve_command.h"
#include "services/remote/remote_backends.h"

namespace {

using namespace tessra;
using namespace tessra::app;

/// The number that the whole text represents; none if it is not a number or out of range.
template <class Number>
std::optional<Number> number_of(const std::string& text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole_text = error == std::errc() && end == text.data() + text.size();
  return whole_text ? std::optional(number) : std::nullopt;
}

// The parser's own conversion saturates numbers that are too large, and reads a leading zero as octal.
std::string check_whole(std::string& text, std::int64_t least, std::int64_t most, const std::string& wanted) {
  const auto number = number_of<std::int64_t>(text);
  if (!number || *number < least || *number > most) return "must be a whole number " + wanted + ", is '" + text + "'";
  text = std::to_string(*number);
  return "";
}

/// Counts and numbers of episodes, runs and results.
const CLI::Validator count(
    [](std::string& text) { return check_whole(text, 1, kMostEpisodes, "from 1 to " + std::to_string(kMostEpisodes)); },
    "COUNT");

const CLI::Validator whole(
    [](std::string& text) {
      using Limits = std::numeric_limits<std::int64_t>;
      return check_whole(text, Limits::min(), Limits::max(), "of at most 64 bits");
    },
    "NUMBER");

const CLI::Validator seconds(
    [](std::string& text) {
      const auto number = number_of<double>(text);
      const bool fits = number && *number >= 0.001 && *number <= 3600;
      return fits ? std::string() : "must be a number from 0.001 to 3600, is '" + text + "'";
    },
    "SECONDS");

const CLI::Validator filled([](std::string& text) { return text.empty() ? "must not be empty" : ""; }, "TEXT");

/// The first argument must be a command. Checked here, since the parser would only report that one is missing.
void check_command_name(const CLI::App& app, int argc, char** argv) {
  const std::string given = argc < 2 ? "" : argv[1];
  if (given.starts_with('-')) return;
  std::string names;
  for (const CLI::App* command : app.get_subcommands({})) {
    if (command->get_name() == given) return;
    names += (names.empty() ? "" : ", ") + command->get_name();
  }
  throw InputError("no command '" + given + "'; there are: " + names);
}

void add_access(CLI::App& command, AccessOptions& access) {
  command.add_option("--tls-cert", access.certificate, "Certificate (PEM); required beyond loopback")->check(filled);
  command.add_option("--tls-key", access.key, "Its private key (PEM)")->check(filled);
  command.add_option("--client-ca", access.client_authority, "Authority (PEM) that clients' certificates must be from")
      ->check(filled);
  command.add_option("--token-file", access.token_file, "File with the token that clients must send")->check(filled);
}

CLI::App* add_run(CLI::App& app, RunOptions& run) {
  CLI::App* command = app.add_subcommand("run", "Play episodes and print who won");
  command->add_option("--scenario", run.scenario, "Name of a shipped scenario, or a scenario file")->check(filled);
  command->add_option("--config", run.config, "Configuration file (JSON)")->check(filled);
  command->add_option("--url", run.url, "Service to play on, for example grpc://localhost:7700")->check(filled);
  command->add_option("--episodes", run.episodes, "Number of episodes to play")->transform(count);
  command->add_option("--first-episode", run.first_episode, "Number of the first episode, to replay part of a series")
      ->transform(count);
  command->add_option("--seed", run.seed, "Base seed; an episode's seed is derived from it and the episode's number")
      ->transform(whole);
  command->add_option("--agents", run.agents, "Agent library (.so) with classes named in the configuration")
      ->check(filled);
  command->add_option("--log", run.log, "Append the run log to this file")->check(filled);
  command->add_option("--record", run.record, "Save every situation record in this folder")->check(filled);
  command->add_flag("--json", run.json, "Print one JSON object per episode and nothing else");
  command->add_flag("--quiet", run.quiet, "Show neither progress nor table");
  command->add_flag("--trace", run.trace, "Show type, causes and stack of errors");
  return command;
}

CLI::App* add_replay(CLI::App& app, ReplayOptions& replay) {
  CLI::App* command = app.add_subcommand("replay", "Replay recorded situations through the engine");
  command->add_option("folder", replay.folder, "Folder written by 'run --record' or by hand")
      ->required()
      ->check(filled);
  command->add_option("--episode", replay.episode, "Episode to replay, if the folder holds several")->transform(count);
  command->add_option("--dump", replay.dump, "Write the model after every record to this JSON file")->check(filled);
  return command;
}

CLI::App* add_apply(CLI::App& app, ApplyOptions& apply) {
  CLI::App* command = app.add_subcommand("apply", "Run one agent of one side for a scheduling client");
  command->add_option("--config", apply.config, "Configuration file (JSON) with 'is_ai_apply'")
      ->required()
      ->check(filled);
  command->add_option("--url", apply.url, "Scheduling client in another process, for example grpc://localhost:7701")
      ->check(filled);
  command->add_option("--agents", apply.agents, "Agent library (.so) with the agent's class")->check(filled);
  command->add_option("--seed", apply.seed, "Base seed of the bundled simulation")->transform(whole);
  command->add_flag("--json", apply.json, "Print the result as one JSON object and nothing else");
  command->add_flag("--quiet", apply.quiet, "Show neither progress nor table");
  command->add_flag("--trace", apply.trace, "Show type, causes and stack of errors");
  return command;
}

CLI::App* add_serve(CLI::App& app, ServeOptions& serve) {
  CLI::App* command = app.add_subcommand("serve", "Offer the bundled simulation to programs elsewhere");
  command
      ->add_option("--listen", serve.listen, "Address to listen on: HOST:PORT, port 0 for any free one, or unix:PATH")
      ->check(filled)
      ->capture_default_str();
  command->add_option("--backend", serve.backend, "Backend to offer, as in the configuration's server.url")
      ->check(filled)
      ->capture_default_str();
  command->add_option("--max-rooms", serve.max_rooms, "Most rooms open at once")
      ->transform(count)
      ->capture_default_str();
  command->add_option("--lease", serve.lease, "Seconds a room outlives its last call")
      ->transform(count)
      ->capture_default_str();
  add_access(*command, serve.access);
  command->add_flag("--exit-with-parent", serve.exit_with_parent, "End when the process that started this one ends");
  command->add_flag("--json", serve.json, "Print the address as one JSON object");
  return command;
}

CLI::App* add_schedule(CLI::App& app, ScheduleOptions& schedule) {
  CLI::App* command = app.add_subcommand("schedule", "Let an agent in another process play one side of a scenario");
  command->add_option("--config", schedule.config, "Configuration file (JSON) with 'is_ai_apply'")
      ->required()
      ->check(filled);
  command
      ->add_option("--listen", schedule.listen,
                   "Address to listen on: HOST:PORT, port 0 for any free one, or unix:PATH")
      ->check(filled)
      ->capture_default_str();
  command
      ->add_option("--settings", schedule.settings,
                   "File (JSON) with the agents' settings; may be changed during a run")
      ->check(filled);
  command->add_option("--seed", schedule.seed, "Base seed of the bundled simulation")->transform(whole);
  command->add_option("--lease", schedule.lease, "Seconds an agent may be silent before it counts as gone")
      ->transform(count)
      ->capture_default_str();
  add_access(*command, schedule.access);
  command->add_flag("--once", schedule.once, "End when the first agent has left");
  command->add_flag("--exit-with-parent", schedule.exit_with_parent, "End when the process that started this one ends");
  command->add_flag("--json", schedule.json, "Print what happens as JSON objects");
  return command;
}

CLI::App* add_check(CLI::App& app, CheckOptions& check) {
  CLI::App* command =
      app.add_subcommand("check-agent", "Play an agent through edge cases and report what it does wrong");
  command->add_option("--class", check.agent_class, "Registered name of the agent class")->required()->check(filled);
  command->add_option("--agents", check.agents, "Agent library (.so) with the class")->check(filled);
  command->add_option("--limit", check.limit, "Seconds a call into the agent may take")
      ->check(seconds)
      ->capture_default_str();
  return command;
}

CLI::App* add_check_service(CLI::App& app, CheckServiceOptions& check) {
  CLI::App* command =
      app.add_subcommand("check-service", "Check a service against the contract and report what is wrong");
  command->add_option("url", check.url, "The service, for example grpc://localhost:7700")->required()->check(filled);
  command->add_option("--scenario", check.scenario, "Scenario to play instead of the first one")->check(filled);
  command->add_option("--token-file", check.token_file, "File with the token to send")->check(filled);
  command->add_option("--ca-file", check.ca_file, "Authority (PEM) to trust instead of the system's")->check(filled);
  command->add_option("--cert-file", check.cert_file, "Certificate (PEM) to show")->check(filled);
  command->add_option("--key-file", check.key_file, "Its private key (PEM)")->check(filled);
  return command;
}

CLI::App* add_results(CLI::App& app, ResultsOptions& results) {
  CLI::App* command = app.add_subcommand("results", "List the saved results");
  command->add_option("--run", results.run, "Only results of this run")->transform(count);
  command->add_option("--scenario", results.scenario, "Only results of this scenario")->check(filled);
  command->add_option("--last", results.last, "Only this many of the newest results")->transform(count);
  command->add_flag("--json", results.json, "Print one JSON object per result");
  return command;
}

/// Prints help or version on standard output. Throws `InputError` for a parse error.
int end_parsing(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() != 0) throw InputError(error.what());
  std::ostringstream out;
  app.exit(error, out, out);
  say_text(out.str());
  return kPlayed;
}

int dispatch(int argc, char** argv) {
  CLI::App app("Runs episodes of wargame scenarios with software agents.", "deduce");
  app.require_subcommand(1);
  app.set_version_flag("--version", "deduce " TESSRA_VERSION);
  RunOptions run;
  ReplayOptions replay;
  ApplyOptions apply;
  CheckOptions check;
  CheckServiceOptions check_service;
  ResultsOptions results;
  ServeOptions serve;
  ScheduleOptions schedule;
  const CLI::App* run_command = add_run(app, run);
  const CLI::App* replay_command = add_replay(app, replay);
  const CLI::App* apply_command = add_apply(app, apply);
  const CLI::App* check_command = add_check(app, check);
  const CLI::App* check_service_command = add_check_service(app, check_service);
  const CLI::App* results_command = add_results(app, results);
  const CLI::App* serve_command = add_serve(app, serve);
  const CLI::App* schedule_command = add_schedule(app, schedule);
  const CLI::App* scenarios_command = app.add_subcommand("scenarios", "List the shipped scenarios");

  std::string agents_library;
  CLI::App* agents_command = app.add_subcommand("agents", "List the agent classes a configuration can name");
  agents_command->add_option("--agents", agents_library, "Agent library (.so) whose classes to include")->check(filled);

  check_command_name(app, argc, argv);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return end_parsing(app, error);
  }
  if (run_command->parsed()) return run_episodes(run);
  if (replay_command->parsed()) return replay_records(replay);
  if (apply_command->parsed()) return apply_agent(apply);
  if (check_command->parsed()) return check_agent(check);
  if (check_service_command->parsed()) return check_remote_service(check_service);
  if (results_command->parsed()) return list_results(results);
  if (serve_command->parsed()) return serve_simulation(serve);
  if (schedule_command->parsed()) return schedule_agents(schedule);
  if (scenarios_command->parsed()) return list_scenarios();
  if (agents_command->parsed()) return list_agents(agents_library);
  return kWrongInput;
}

// As in `guarded`, forced unwinding has no exception object.
[[gnu::no_sanitize("null", "alignment")]] int run_program(int argc, char** argv) {
  try {
    const int status = dispatch(argc, argv);
    say_text("");  // throws if an earlier write failed unnoticed
    return status;
  } catch (const InputError& error) {
    tell("error: {}\n", error.what());
    return kWrongInput;
  } catch (const std::exception& error) {
    tell("error: {}\n", error.what());
    return kFailed;
  } catch (const abi::__forced_unwind&) {
    end_with_main_thread();
  }
}

}  // namespace

int main(int argc, char** argv) {
  ::setenv("GRPC_VERBOSITY", "NONE", 0);  // what it has to say is in our own messages
  prepare_streams();
  watch_for_sudden_end();
  register_sample_agents(AgentRegistry::instance());
  remote::register_remote_backends();
  const int status = run_program(argc, argv);
  end_is_expected();
  return status;
}
