#pragma once

#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra::app {

// The situation model as ordered dictionaries; docs/replay.md gives the format. Everything is shared with the engine
// and changes with it: write or copy it before the next step.

Dict dump_elements(const Deduction& engine);
Dict dump_players(const Deduction& engine);
Dict dump_engine(const Deduction& engine);

}  // namespace tessra::app
