#pragma once

#include <filesystem>

namespace tessra {

/// The folder with the shipped data (`scenarios` lies in it): `TESSRA_DATA` when set, else beside the installed
/// library, else the source tree the library was built in. Throws `Error` naming the places tried.
std::filesystem::path data_directory();

}  // namespace tessra
