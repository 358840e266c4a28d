#pragma once

#include <filesystem>

namespace tessra {

/// Makes the folder, and those above it, where they are missing. Throws `SurroundingsError` naming it and the reason.
void make_folder(const std::filesystem::path& folder);

}  // namespace tessra
