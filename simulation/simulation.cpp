#include "simulation/simulation.h"

#include <algorithm>
#include <system_error>

namespace tessra::sim {

std::vector<std::string> scenario_names(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.path().extension() == ".json") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::uint64_t episode_seed(std::uint64_t base_seed, std::uint64_t episode) {
  // The finishing steps of SplitMix64 (Steele, Lea, Flood 2014), so that neighbouring episodes share no pattern.
  std::uint64_t mixed = base_seed + (episode + 1) * 0x9e3779b97f4a7c15U;
  mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9U;
  mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebU;
  return mixed ^ (mixed >> 31);
}

}  // namespace tessra::sim
