#pragma once

#include <filesystem>

namespace tessra {

/// The installation's configuration directory: `TESSRA_CONFIG` when set, else `tessra` below `XDG_CONFIG_HOME` or
/// `~/.config`, else `config` below the current directory.
std::filesystem::path GLOBAL_CONFIG_PATH();

}  // namespace tessra
