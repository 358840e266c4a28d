#include "apps/deduce/recording.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "apps/deduce/exit_status.h"
#include "services/recorded_server.h"

namespace tessra::app {

namespace {

/// A file or folder that shows that a folder holds a recording; empty if there is none.
std::string recorded_part(const std::filesystem::path& folder) {
  std::error_code unreadable;
  for (const auto& entry : std::filesystem::directory_iterator(folder, unreadable)) {
    std::string name = entry.path().filename().string();
    if (name == "config.json" || name == "initial.json" || name.starts_with("episode-")) return name;
  }
  return "";
}

std::string episode_name(std::int64_t number) { return fmt::format("episode-{:06}", number); }

/// The numbers of the episodes in a folder, sorted.
std::vector<std::int64_t> episodes_below(const std::filesystem::path& folder) {
  constexpr std::string_view kPrefix = "episode-";
  std::vector<std::int64_t> numbers;
  std::error_code unreadable;
  for (const auto& entry : std::filesystem::directory_iterator(folder, unreadable)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with(kPrefix) || !std::filesystem::is_regular_file(entry.path() / "initial.json")) continue;
    std::int64_t number = 0;
    std::from_chars(name.data() + kPrefix.size(), name.data() + name.size(), number);
    if (name == episode_name(number)) numbers.push_back(number);
  }
  std::ranges::sort(numbers);
  return numbers;
}

}  // namespace

void check_recording(const Dict& server) {
  if (!server.contains("record")) return;
  const std::filesystem::path folder = server.at("record").to_text();
  if (folder.empty()) throw InputError("cannot record: the folder's name is empty");
  if (std::filesystem::exists(folder) && !std::filesystem::is_directory(folder)) {
    throw InputError("cannot record: not a folder: " + folder.string());
  }
  if (const std::string part = recorded_part(folder); !part.empty()) {
    throw InputError("cannot record: " + folder.string() + " holds another recording (" + part + ")");
  }
}

std::filesystem::path episode_folder(const std::filesystem::path& folder, std::optional<std::int64_t> chosen) {
  if (std::filesystem::is_regular_file(folder / "initial.json")) return folder;
  const std::vector<std::int64_t> episodes = episodes_below(folder);
  if (episodes.empty()) throw InputError("no recording: no initial.json in " + folder.string() + " or below");
  constexpr std::size_t kMost = 12;  // listed one by one; the message stays on one line
  const std::string listed = episodes.size() <= kMost
                                 ? fmt::format("{}", fmt::join(episodes, ", "))
                                 : fmt::format("{} of {} to {}", episodes.size(), episodes.front(), episodes.back());
  if (!chosen && episodes.size() > 1) {
    throw InputError(folder.string() + " holds several episodes: " + listed +
                     "; choose one with --episode (replay) or give its own folder");
  }
  const std::int64_t episode = chosen.value_or(episodes.front());
  if (std::ranges::find(episodes, episode) == episodes.end()) {
    throw InputError(fmt::format("{} has no episode {}; there are: {}", folder.string(), episode, listed));
  }
  return folder / episode_name(episode);
}

void choose_recording(Dict simulate, Dict server) {
  constexpr std::string_view kScheme = "records:";
  const std::string url = server.contains("url") ? server.at("url").to_text() : "";
  if (!url.starts_with(kScheme)) return;
  const std::filesystem::path folder = url.substr(kScheme.size());
  server.set("url", std::string(kScheme) + episode_folder(folder, std::nullopt).string());
  simulate.set("load_scenario", false);
}

std::vector<std::string> updates_after(const std::filesystem::path& folder, int number) {
  std::vector<std::string> names;
  const std::string last = recorded_update(folder, number).filename().string();
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::string name = entry.path().filename().string();
    if (name.starts_with("update-") && name.ends_with(".json") && name > last) names.push_back(std::move(name));
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace tessra::app
