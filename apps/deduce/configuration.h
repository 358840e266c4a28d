#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::app {

/// What the command line says about a run; what is set beats the configuration file.
struct RunOptions {
  std::string scenario;  ///< a stem among the shipped scenarios, or a scenario file
  std::string config;
  std::optional<std::int64_t> episodes;
  std::optional<std::int64_t> first_episode;  ///< number of the first one to play
  std::optional<std::int64_t> seed;
  std::string agents;  ///< agent library, beside those the configuration names
  std::string log;
  std::string record;
  bool json = false;
  bool quiet = false;
  bool trace = false;  ///< show what is for developers when something fails
};

/// The game configuration of a run, standard mode: the file's, or an empty one, completed by the options. The scenario
/// defaults to `strait`; a configuration without agents gets those its scenario file names under `agents`. Throws
/// `InputError`.
Dict run_configuration(const RunOptions& options);

/// Reads a file that holds one object, in which no key may stand twice. Throws `InputError`.
Dict read_object_file(const std::filesystem::path& file);

/// Reads a configuration file and checks its values. Throws `InputError`.
Dict read_configuration(const std::filesystem::path& file);

/// The engine section of a standard-mode configuration, with `simulate` and `server` in it. Throws `InputError`.
Dict engine_section(Dict config);

/// The dictionary under the key, added when absent. Throws `InputError` when something else stands there.
Dict child_section(Dict parent, std::string_view key);

/// The scenario file that a configuration plays, read and checked with the sides of its agents; none when its service
/// is not the embedded one. Throws `InputError` for a scenario that is not there or has a mistake, naming the place;
/// `config_file` is what a mistake of the configuration names.
std::optional<Dict> checked_scenario(const Dict& config, const Dict& section, const std::string& config_file);

/// The absolute path of an agent library given on the command line. Throws `InputError` when there is no such file.
std::string agent_library_path(const std::string& file);

/// A copy without host objects: agent classes become their names, anything else is left out.
Dict without_host_objects(const Dict& config);

}  // namespace tessra::app
