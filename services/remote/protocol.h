#pragma once

#include <cstdint>

namespace tessra::remote {

/// The versions of the contract (proto/tessra) that this library speaks.
inline constexpr std::uint32_t kOldestVersion = 1;
inline constexpr std::uint32_t kNewestVersion = 1;

}  // namespace tessra::remote
