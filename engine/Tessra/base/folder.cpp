#include "Tessra/base/folder.h"

#include "Tessra/base/error.h"

namespace tessra {

void make_folder(const std::filesystem::path& folder) {
  std::error_code failed;
  std::filesystem::create_directories(folder, failed);
  if (failed) throw SurroundingsError("cannot make the folder " + folder.string() + ": " + failed.message());
}

}  // namespace tessra
