#include <fmt/printf.h>

#include "Tessra/entitys/deduce_RL/agent_calls.h"
#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

void Deduction::process_step_situation(const Value& update_data) {
  parse_update_situation(update_data);
  work_on(*this, "");
  update_simulate_info();
  if (names_key.truthy()) {
    for (const auto& [side, player] : players) {
      work_on(*this, side);
      player->update_units_of_names();
    }
  }
  check_situation();
  work_on(*this, "");
}

void Deduction::update_scenario_new(Dict situation_data) {
  // Built in place in the first of the three records that is there; later ones win.
  Value scen_data = situation_data.get("ScenarioInfo");
  if (scen_data.truthy()) entry_dict("ScenarioInfo", scen_data).erase("SideInfo");

  const auto take = [&scen_data](const Dict& record, const char* part) {
    const Value source = record.get(part);
    if (source.is_none()) return;
    const Dict& added = entry_dict(part, source);
    if (scen_data.is_none()) {
      scen_data = added;
    } else {
      entry_dict("ScenarioInfo", scen_data).update(added);
    }
  };
  // A situation without `SituationInfo` has nothing to add.
  if (situation_data.non_empty("Situation")) take(situation_data.at_dict("Situation"), "SituationInfo");
  if (situation_data.non_empty("Events")) take(situation_data, "Events");

  if (!scen_data.truthy()) return;
  if (scenario_obj == nullptr) throw Error("there is no scenario element to update");
  update_element_info(*scenario_obj, scen_data.as_dict());
}

void Deduction::check_situation() {
  for (const auto& [side, player] : players) {
    work_on(*this, side);
    for (auto [contact_id, contact] : player->get_dict("Contacts")) {
      const Dict& record = contact.as_dict();
      const bool has_type = record.contains(names::kType);
      if (has_type && record.contains(names::kLon)) continue;
      log_only(*this, LogLevel::error, [&, &own = *player, &id = contact_id] {
        const Value* name = record.find("Name");
        return fmt::sprintf("side:%s, contact id:%s name:%s no %s!", own.get_attribute("Side").to_text(), id.to_text(),
                            name != nullptr ? name->to_text() : "no-name", has_type ? "Lon" : "Type");
      });
    }
  }
  work_on(*this, "");
}

}  // namespace tessra
