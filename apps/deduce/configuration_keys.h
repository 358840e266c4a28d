#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessra::app {

/// The dictionaries of a configuration: the whole, the engine's section in it, and what stands in that; a learning
/// side is an entry of `RL_agents`.
enum class KeyPart { top, section, simulate, server, player, learning_side, agent };

enum class KeyKind {
  any,
  boolean,
  flag,  ///< true, false or a whole number
  whole,
  number,
  text,
  id,  ///< a text or a whole number
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

/// The most episodes, and the highest number of one: far beyond any run, and their sum fits.
inline constexpr std::int64_t kMostEpisodes = 1'000'000'000;

/// A key of the configuration as users may write it.
struct ConfigurationKey {
  KeyPart part;
  KeyKind kind;
  std::string_view name;
  std::string_view fallback;  ///< what holds without the key, as JSON; empty: nothing
  std::string_view meaning;
  double least = -std::numeric_limits<double>::infinity();
  double most = std::numeric_limits<double>::infinity();
};

/// All keys, part by part: what is checked, warned of and listed in docs/configuration.md.
std::span<const ConfigurationKey> configuration_keys();

std::vector<std::string_view> key_names(KeyPart part);

/// What the key's value must be: "a whole number of at least 1".
std::string expected_value(const ConfigurationKey& key);

}  // namespace tessra::app
