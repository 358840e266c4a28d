#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::app {

/// Throws `InputError` when `server.record` names no folder, or one that holds a recording: two must not be mixed.
void check_recording(const Dict& server);

/// The folder with an episode's records: the one given, or an episode below it, `chosen` when there are several. Throws
/// `InputError`.
std::filesystem::path episode_folder(const std::filesystem::path& folder, std::optional<std::int64_t> chosen);

/// Where the configuration's service is a recording: leads the URL to the one episode of its folder, and leaves no
/// scenario to be loaded. Throws `InputError`.
void choose_recording(Dict simulate, Dict server);

/// The files of an episode's updates beyond a number, sorted.
std::vector<std::string> updates_after(const std::filesystem::path& folder, int number);

}  // namespace tessra::app
