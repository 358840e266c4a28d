#pragma once

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>

namespace tessra::testing {

/// A folder of this object's own, gone with it: tests run side by side.
class ScratchFolder {
 public:
  ScratchFolder()
      : path_(std::filesystem::temp_directory_path() /
              ("tessra-test-" + std::to_string(::getpid()) + "-" + std::to_string(++made_))) {
    std::filesystem::create_directories(path_);
  }
  ~ScratchFolder() { std::filesystem::remove_all(path_); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  inline static std::atomic<int> made_ = 0;
  std::filesystem::path path_;
};

}  // namespace tessra::testing
