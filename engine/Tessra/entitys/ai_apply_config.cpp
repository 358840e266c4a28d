#include "Tessra/entitys/ai_apply_config.h"

#include <cstdlib>

namespace tessra {

namespace {

/// An environment variable; null if it is unset or empty.
const char* variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

}  // namespace

std::filesystem::path GLOBAL_CONFIG_PATH() {
  if (const char* directory = variable("TESSRA_CONFIG")) return directory;
  if (const char* directory = variable("XDG_CONFIG_HOME")) return std::filesystem::path(directory) / "tessra";
  if (const char* home = variable("HOME")) return std::filesystem::path(home) / ".config" / "tessra";
  return std::filesystem::current_path() / "config";
}

}  // namespace tessra
