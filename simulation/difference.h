#pragma once

#include "Tessra/base/value.h"

namespace tessra::sim {

/// What to merge into `before` to make it `now`: changed and new entries, dictionaries down to their changed entries,
/// lists whole. Entries that are gone from a dictionary under key K are listed beside K: `mapdel`: {K: {"v": [keys]}}.
/// The result shares nothing with either.
Dict difference(const Dict& before, const Dict& now);

}  // namespace tessra::sim
