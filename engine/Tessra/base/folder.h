#pragma once

#include <filesystem>

namespace tessra {

/// Creates the folder and its parents if they are missing. Throws `SurroundingsError` naming it and the reason.
void make_folder(const std::filesystem::path& folder);

}  // namespace tessra
