#pragma once

#include <string_view>
#include <vector>

#include "Tessra/entitys/deduce_RL/episode_state.h"

// Finding elements in the engine's registry. Null stands for one that is not there.

namespace tessra {

Element* find_element(const EpisodeState& engine, std::string_view guid);
/// Ids of records are texts or, rarely, numbers; the registry knows both as text.
Element* element_of(const EpisodeState& engine, const Value& id);
/// The elements under a table's keys, in its order. Faster than one lookup after the other: a large registry is
/// scattered over memory, and these lookups wait for it together.
std::vector<Element*> elements_of(const EpisodeState& engine, const Dict& table);
/// Throws `Error` when there is none.
Scenario& known_scenario(const EpisodeState& engine);

}  // namespace tessra
