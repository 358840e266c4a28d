#pragma once

#include "Tessra/base/value.h"

namespace tessra::sim {

/// The update that turns `before` into `now` when merged: changed and new entries, recursively for dictionaries, lists
/// as a whole. Entries removed from a dictionary under key K are listed next to K: `mapdel`: {K: {"v": [keys]}}. The
/// result shares nothing with the arguments.
Dict difference(const Dict& before, const Dict& now);

}  // namespace tessra::sim
