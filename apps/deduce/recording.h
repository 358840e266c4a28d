#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::app {

/// Throws `InputError` if `server.record` cannot be used as a folder, or already holds a recording: two must not be
/// mixed.
void check_recording(const Dict& server);

/// The folder with the records of an episode: the given one, or a subfolder, selected by `chosen` if there are several.
/// Throws `InputError`.
std::filesystem::path episode_folder(const std::filesystem::path& folder, std::optional<std::int64_t> chosen);

/// If the configuration's service is a recording, points the URL at the only episode in its folder and disables loading
/// of a scenario. Throws `InputError`.
void choose_recording(Dict simulate, Dict server);

/// The update files of an episode with a higher number than this, sorted.
std::vector<std::string> updates_after(const std::filesystem::path& folder, int number);

}  // namespace tessra::app
