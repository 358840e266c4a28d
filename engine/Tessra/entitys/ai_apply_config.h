#pragma once

#include <filesystem>

namespace tessra {

/// The configuration directory of the installation: `TESSRA_CONFIG` if set, otherwise `tessra` in `XDG_CONFIG_HOME` or
/// `~/.config`, otherwise `config` in the current directory.
std::filesystem::path GLOBAL_CONFIG_PATH();

}  // namespace tessra
