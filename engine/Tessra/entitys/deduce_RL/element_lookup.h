#pragma once

#include <string_view>
#include <vector>

#include "Tessra/entitys/deduce_RL/episode_state.h"

// Lookups in the engine's registry of elements. They return null when there is none.

namespace tessra {

Element* find_element(const EpisodeState& engine, std::string_view guid);
/// Ids of records are texts or, rarely, numbers; the registry knows both as text.
Element* element_of(const EpisodeState& engine, const Value& id);
/// The elements for the keys of a table, in its order. The lookups are batched: a large registry is scattered over
/// memory, and waiting for one entry after the other would take several times longer.
std::vector<Element*> elements_of(const EpisodeState& engine, const Dict& table);
/// Throws `Error` when there is none.
Scenario& known_scenario(const EpisodeState& engine);

}  // namespace tessra
