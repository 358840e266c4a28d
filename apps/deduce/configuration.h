#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::app {

/// Command line options of a run; they override the configuration file.
struct RunOptions {
  std::string scenario;  ///< name of a shipped scenario, or a scenario file
  std::string config;
  std::string url;  ///< of the service
  std::optional<std::int64_t> episodes;
  std::optional<std::int64_t> first_episode;  ///< number of the first episode to play
  std::optional<std::int64_t> seed;
  std::string agents;  ///< agent library, in addition to those the configuration names
  std::string log;
  std::string record;
  bool json = false;
  bool quiet = false;
  bool trace = false;  ///< show type, causes and stack of errors
};

/// Command line options of a scheduled run; they override the configuration file.
struct ApplyOptions {
  std::string config;
  std::string url;     ///< of the scheduling client; overrides the configuration's `server.url`
  std::string agents;  ///< agent library; overrides the configuration's `player.agent_path`
  std::optional<std::int64_t> seed;
  bool json = false;
  bool quiet = false;
  bool trace = false;
};

/// The game configuration of a run in standard mode: that of the file, or an empty one, completed by the options. The
/// scenario defaults to `strait`; a configuration without agents gets those of the scenario file's `agents`. Throws
/// `InputError`.
Dict run_configuration(const RunOptions& options);

/// The configuration of a scheduled run. Throws `InputError`.
Dict apply_configuration(const ApplyOptions& options);

/// Reads a file with one JSON object without duplicate keys. Throws `InputError`.
Dict read_object_file(const std::filesystem::path& file);

/// Reads a configuration file and checks its values. Throws `InputError`.
Dict read_configuration(const std::filesystem::path& file);

/// The engine section of a standard-mode configuration, with `simulate` and `server` in it. Throws `InputError`.
Dict engine_section(Dict config);

/// The dictionary under the key, added if absent. Throws `InputError` if the value is not a dictionary.
Dict child_section(Dict parent, std::string_view key);

/// The folder of scenario files that a `server` section uses; none if its service is not the embedded one.
std::optional<std::filesystem::path> scenario_folder(const Dict& server);

/// The content of the scenario file that a configuration plays, after checking it and the configuration's sides; none
/// if the service is not the embedded one. Throws `InputError` for a missing or invalid scenario, naming the place;
/// `config_file` is named in errors of the configuration.
std::optional<Dict> checked_scenario(const Dict& config, const Dict& section, const std::string& config_file);

/// Checks the service's URL and what a remote one takes besides. Throws `InputError`.
void check_service(const Dict& section);

/// The absolute path of an agent library given on the command line. Throws `InputError` if there is no such file.
std::string agent_library_path(const std::string& file);

/// A copy without host objects: agent classes become their names, others are dropped.
Dict without_host_objects(const Dict& config);

}  // namespace tessra::app
