#pragma once

// Limits on a side's orders, so that a faulty or malicious agent cannot slow the service down or exhaust its memory.

#include <cstddef>

namespace tessra::sim {

// One text.

constexpr std::size_t kMaxOrderBytes = std::size_t{64} << 10;
constexpr int kMaxOrderDepth = 8;         ///< nesting of tables, including the arguments
constexpr int kMaxOrderValues = 10'000;   ///< including tables
constexpr std::size_t kMaxPlaces = 200;   ///< in one course or zone
constexpr std::size_t kMaxTargets = 200;  ///< in one strike
constexpr std::size_t kMaxNameBytes = 200;

// One side.

constexpr std::size_t kMaxPackageOrders = 10'000;
constexpr std::size_t kMaxMissions = 1'000;
constexpr std::size_t kMaxMissionPlaces = 20'000;  ///< in the zones of all its missions

// Quotes in a refusal, in bytes.

constexpr std::size_t kMaxQuotedOrder = 200;
constexpr std::size_t kMaxQuotedName = 60;  ///< of an argument, in the reason

}  // namespace tessra::sim
