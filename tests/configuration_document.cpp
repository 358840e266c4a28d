// The key tables of docs/configuration.md are made from the command line's table of keys. TESSRA_UPDATE=1 writes them
// anew.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "Tessra/entitys/deduce_RL/settings.h"
#include "apps/deduce/configuration_keys.h"

namespace tessra::app {
namespace {

std::string table(KeyPart part) {
  std::string text = "\n| key | value | default | meaning |\n|---|---|---|---|\n";
  for (const ConfigurationKey& key : configuration_keys()) {
    if (key.part != part) continue;
    const std::string fallback = key.fallback.empty() ? "" : fmt::format("`{}`", key.fallback);
    text += fmt::format("| `{}` | {} | {} | {} |\n", key.name, expected_value(key), fallback, key.meaning);
  }
  return text;
}

/// Puts the tables between their marks; a mark that is not there is found missing.
std::string with_tables(std::string text) {
  constexpr std::pair<const char*, KeyPart> kMarks[] = {
      {"top", KeyPart::top},       {"section", KeyPart::section}, {"simulate", KeyPart::simulate},
      {"server", KeyPart::server}, {"player", KeyPart::player},   {"learning side", KeyPart::learning_side},
      {"agent", KeyPart::agent},
  };
  for (const auto& [name, part] : kMarks) {
    const std::string begin = "<!-- keys: " + std::string(name) + " -->\n";
    const std::size_t from = text.find(begin);
    const std::size_t to = text.find("\n<!-- end of keys -->", from);
    if (from == std::string::npos || to == std::string::npos) return "no place for the keys of " + std::string(name);
    text.replace(from + begin.size(), to - from - begin.size(), table(part));
  }
  return text;
}

TEST(ConfigurationDocument, is_what_the_table_of_keys_says) {
  const std::string path = TESSRA_SOURCE_DIR "/docs/configuration.md";
  std::stringstream stored;
  stored << std::ifstream(path).rdbuf();
  const std::string text = with_tables(stored.str());
  if (std::getenv("TESSRA_UPDATE") != nullptr) {
    std::ofstream(path) << text;
  } else {
    EXPECT_EQ(stored.str(), text);
  }
}

TEST(ConfigurationKeys, are_those_the_engine_reads) {
  const auto names = key_names(KeyPart::simulate);
  for (const SimulateKey& entry : simulate_keys()) EXPECT_TRUE(std::ranges::count(names, entry.key)) << entry.key;
  EXPECT_EQ(names.size(), simulate_keys().size());
}

}  // namespace
}  // namespace tessra::app
