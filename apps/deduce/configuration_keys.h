#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessra::app {

/// The dictionaries of a configuration: the top level, the engine's section, and the parts of that; a learning side is
/// an entry of `RL_agents`.
enum class KeyPart { top, section, simulate, server, player, learning_side, agent };

enum class KeyKind {
  any,
  boolean,
  flag,  ///< true, false or a whole number
  whole,
  number,
  text,
  id,  ///< a string or a whole number
  texts,
  object,
  objects,         ///< name → object
  rule_agents,     ///< side → agent name → agent entry
  learning_sides,  ///< side → learning side
  agents,          ///< agent name → agent entry
  agent_class,
  host,   ///< an object of the host program
  hosts,  ///< name → such an object
};

/// Largest number of episodes, and of an episode: far beyond any run, and their sum cannot overflow.
inline constexpr std::int64_t kMostEpisodes = 1'000'000'000;

/// A configuration key that users may set.
struct ConfigurationKey {
  KeyPart part;
  KeyKind kind;
  std::string_view name;
  std::string_view fallback;  ///< default value as JSON; empty if there is none
  std::string_view meaning;
  double least = -std::numeric_limits<double>::infinity();
  double most = std::numeric_limits<double>::infinity();
};

/// All keys, part by part. The value checks, the warnings and docs/configuration.md are based on them.
std::span<const ConfigurationKey> configuration_keys();

std::vector<std::string_view> key_names(KeyPart part);

/// Description of valid values: "a whole number of at least 1".
std::string expected_value(const ConfigurationKey& key);

}  // namespace tessra::app
