#include "services/data_directory.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string>

#include "Tessra/base/error.h"

namespace tessra {

namespace {

/// The folder of the library that contains this function. Relative to it, data is found wherever the installation is.
std::filesystem::path library_folder() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<const void*>(&library_folder), &info) == 0 || info.dli_fname == nullptr) return {};
  return std::filesystem::canonical(info.dli_fname).parent_path();
}

}  // namespace

std::filesystem::path data_directory() {
  if (const char* given = std::getenv("TESSRA_DATA"); given != nullptr && *given != '\0') {
    if (std::filesystem::is_directory(std::filesystem::path(given) / "scenarios")) return given;
    throw Error(std::string("TESSRA_DATA: there is no folder ") + given + "/scenarios");
  }
  const std::filesystem::path library = library_folder();
  std::string tried;
  for (const char* place : {"../share/tessra", "../../.."}) {  // installed; in a build folder of the source tree
    std::filesystem::path folder = (library / place).lexically_normal();
    if (std::filesystem::is_directory(folder / "scenarios")) return folder;
    tried.append(" ").append(folder.string());
  }
  throw Error("no data folder with scenarios found; set TESSRA_DATA. Tried:" + tried);
}

}  // namespace tessra
