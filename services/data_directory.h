#pragma once

#include <filesystem>

namespace tessra {

/// The folder with the shipped data, which contains `scenarios`: `TESSRA_DATA` if set, otherwise next to the installed
/// library, otherwise the source tree of the build. Throws `Error` naming the places tried.
std::filesystem::path data_directory();

}  // namespace tessra
