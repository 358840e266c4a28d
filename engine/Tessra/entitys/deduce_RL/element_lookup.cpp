#include "Tessra/entitys/deduce_RL/element_lookup.h"

namespace tessra {

namespace {

Element* pointer(const std::shared_ptr<Element>* found) { return found != nullptr ? found->get() : nullptr; }

}  // namespace

Element* find_element(const EpisodeState& engine, std::string_view guid) { return pointer(engine.elements.find(guid)); }

Element* element_of(const EpisodeState& engine, const Value& id) {
  if (!id.is_string()) return find_element(engine, std::string_view(id.to_text()));
  return pointer(engine.elements.find(id.as_text(), KeyRef(id).hash()));
}

std::vector<Element*> elements_of(const EpisodeState& engine, const Dict& table) {
  std::vector<Element*> result;
  std::vector<std::size_t> places;  // in the result, of those that are looked up together
  std::vector<ElementTable::Sought> sought;
  result.reserve(table.size());
  for (auto [id, entry] : table) {
    if (id.is_string()) {
      places.push_back(result.size());
      sought.push_back({id.as_text(), KeyRef(id).hash()});
      result.push_back(nullptr);
    } else {
      result.push_back(element_of(engine, id));
    }
  }
  const auto found = engine.elements.find_all(sought);
  for (std::size_t at = 0; at < found.size(); ++at) result[places[at]] = pointer(found[at]);
  return result;
}

Scenario& known_scenario(const EpisodeState& engine) {
  if (engine.scenario_obj == nullptr) throw Error("there is no scenario element");
  return *engine.scenario_obj;
}

}  // namespace tessra
