#pragma once

#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra::app {

// The situation model as ordered dictionaries; docs/replay.md describes the format. The values are shared with the
// engine and change with it: write or copy them before the next step.

Dict dump_elements(const Deduction& engine);
Dict dump_players(const Deduction& engine);
Dict dump_engine(const Deduction& engine);

}  // namespace tessra::app
