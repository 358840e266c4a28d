#include "apps/deduce/configuration.h"

#include <fmt/format.h>

#include "Tessra/base/json_read.h"
#include "Tessra/entitys/agent_class.h"
#include "apps/deduce/configuration_checks.h"
#include "apps/deduce/configuration_values.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/output.h"
#include "apps/deduce/recording.h"
#include "services/data_directory.h"
#include "services/embedded_server.h"
#include "services/remote/remote_backends.h"

namespace tessra::app {

namespace {

void choose_scenario(const RunOptions& options, Dict simulate, Dict server) {
  if (options.scenario.ends_with(".json")) {
    if (!options.url.empty()) throw InputError("--scenario " + options.scenario + ": with --url it must be a name");
    const std::filesystem::path file = std::filesystem::absolute(options.scenario);
    if (!std::filesystem::is_regular_file(file)) throw InputError("no such file: " + options.scenario);
    server.set("url", "embedded:" + file.parent_path().string());
    simulate.set("scenario", file.stem().string());
  } else if (!options.scenario.empty()) {
    simulate.set("scenario", options.scenario);
  } else if (!simulate.non_empty("scenario")) {
    simulate.set("scenario", "strait");
  }
}

/// Agents for a configuration without any: those suggested by the scenario file.
void choose_agents(Dict config, const Dict& scenario) {
  if (config.contains("rule_config") || engine_section(config).contains("RL_agents")) return;
  if (const Dict* agents = scenario.find_dict("agents")) {
    config.set("rule_config", *agents);
  } else {
    tell("note: no agents; every side follows its missions\n");
  }
}

/// The shipped scenario with the name of the one played elsewhere, if there is one.
std::optional<Dict> shipped_scenario(const Dict& simulate) {
  if (simulate.contains("load_scenario") && !simulate.non_empty("load_scenario")) return std::nullopt;
  const std::filesystem::path file = data_directory() / "scenarios" / (simulate.at("scenario").to_text() + ".json");
  return std::filesystem::is_regular_file(file) ? std::optional(read_object_file(file)) : std::nullopt;
}

void add_agent_library(Dict config, const std::string& file) {
  List files{agent_library_path(file)};
  if (const Value* named = config.find("agent_libraries")) files.extend(named->as_list());
  config.set("agent_libraries", files);
}

}  // namespace

std::optional<std::filesystem::path> scenario_folder(const Dict& server) {
  constexpr std::string_view kScheme = "embedded:";
  const std::string url = server.contains("url") ? server.at("url").to_text() : std::string(kScheme);
  if (!url.starts_with(kScheme)) return std::nullopt;
  if (url.size() > kScheme.size()) return url.substr(kScheme.size());
  return data_directory() / "scenarios";
}

Dict read_object_file(const std::filesystem::path& file) {
  if (std::filesystem::is_directory(file)) throw InputError("not a file: " + file.string());
  if (!std::filesystem::is_regular_file(file)) throw InputError("no such file: " + file.string());
  try {
    Value value = read_strict_json_file(file);
    if (!value.is_dict()) throw InputError(file.string() + ": expected a JSON object");
    return value.as_dict();
  } catch (const InputError&) {
    throw;
  } catch (const Error& error) {
    throw InputError(error.what());
  }
}

Dict read_configuration(const std::filesystem::path& file) {
  Dict config = read_object_file(file);
  check_values(config, file.string());
  return config;
}

Dict child_section(Dict parent, std::string_view key) {
  if (!parent.contains(key)) parent.set(key, Dict());
  Value& value = parent.at(key);
  if (!value.is_dict()) throw InputError("configuration: '" + std::string(key) + "' must be an object");
  return value.as_dict();
}

Dict engine_section(Dict config) {
  Dict section = child_section(config, "game_server");
  child_section(section, "simulate");
  child_section(section, "server");
  return section;
}

std::optional<Dict> checked_scenario(const Dict& config, const Dict& section, const std::string& config_file) {
  const auto folder = scenario_folder(section.at_dict("server"));
  if (!folder) return std::nullopt;
  const Dict simulate = section.at_dict("simulate");
  const std::string name = simulate.contains("scenario") ? simulate.at("scenario").to_text() : "";
  const std::filesystem::path file = *folder / (name + ".json");
  if (!std::filesystem::is_regular_file(file)) {
    throw InputError("no scenario '" + name + "' in " + folder->string() +
                     "; 'deduce scenarios' lists those that are shipped");
  }
  try {
    check_scenario(file);
  } catch (const Error& error) {
    throw InputError(error.what());
  }
  const Dict scenario = read_object_file(file);
  check_sides(config, scenario, config_file);
  return scenario;
}

void check_service(const Dict& section) {
  try {
    const Dict server = section.at_dict("server");
    const std::string url(server.contains("url") ? server.at_text("url") : "embedded:");
    if (const std::string wanted = wanted_url(url); !wanted.empty()) {
      throw Error(fmt::format("'{}': expected {}", url, wanted));
    }
    remote::check_remote_settings(section);
  } catch (const SurroundingsError&) {
    throw;
  } catch (const Error& error) {
    throw InputError(error.what());
  }
}

std::string agent_library_path(const std::string& file) {
  if (!std::filesystem::is_regular_file(file)) throw InputError("no such file: " + file);
  return std::filesystem::absolute(file).string();
}

Dict run_configuration(const RunOptions& options) {
  Dict config = options.config.empty() ? Dict() : read_configuration(options.config);
  if (config.non_empty("is_ai_apply")) {
    throw InputError("this configuration is for a scheduling client (is_ai_apply); use 'deduce apply'");
  }
  const Dict section = engine_section(config);
  Dict simulate = section.at_dict("simulate");
  Dict server = section.at_dict("server");
  if (!options.url.empty()) server.set("url", options.url);
  if (options.seed) server.set("seed", *options.seed);
  if (options.first_episode) server.set("first_episode", *options.first_episode);
  if (options.episodes) simulate.set("episodes", *options.episodes);
  if (!options.record.empty()) server.set("record", options.record);
  if (!options.agents.empty()) add_agent_library(config, options.agents);
  check_recording(server);
  check_service(section);
  // The scenario may decide the URL, which decides whether a recording is played, and that whether there is a scenario
  // file to check; its agents come last.
  choose_scenario(options, simulate, server);
  choose_recording(simulate, server);
  if (const auto scenario = checked_scenario(config, section, options.config)) {
    choose_agents(config, *scenario);
  } else if (const auto shipped = shipped_scenario(simulate)) {
    choose_agents(config, *shipped);
  }
  return config;
}

Dict apply_configuration(const ApplyOptions& options) {
  Dict config = read_configuration(options.config);
  if (!config.non_empty("is_ai_apply")) {
    throw InputError(options.config + ": not for a scheduling client ('is_ai_apply' is not true); use 'deduce run'");
  }
  for (const char* key : {"simulate", "server"}) child_section(config, key);
  if (config.find_dict("player") == nullptr) throw InputError(options.config + ": 'player' is missing");
  if (!options.url.empty()) config.at_dict("server").set("url", options.url);
  check_service(config);
  checked_scenario(config, config, options.config);
  check_recording(config.at_dict("server"));
  if (options.seed) config.at_dict("server").set("seed", *options.seed);
  if (!options.agents.empty()) config.at_dict("player").set("agent_path", agent_library_path(options.agents));
  return config;
}

namespace {

/// A copy in which host objects are replaced by names, or by none.
Value plain(const Value& value) {
  if (const auto agent_class = value.if_host<AgentClass>()) return agent_class->name();
  if (const Dict* dict = value.if_dict()) return without_host_objects(*dict);
  if (const List* list = value.if_list()) {
    List copy;
    for (const Value& entry : *list) copy.push_back(plain(entry));
    return copy;
  }
  return value.kind() == Kind::host ? Value() : value;
}

}  // namespace

Dict without_host_objects(const Dict& config) {
  Dict copy;
  for (auto [key, value] : config) {
    // Keeps what was none before, drops what became none.
    if (Value entry = plain(value); !entry.is_none() || value.is_none()) copy.set(key, entry);
  }
  return copy;
}

}  // namespace tessra::app
