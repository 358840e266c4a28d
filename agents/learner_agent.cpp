#include "agents/learner_agent.h"

#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/situation.h"

namespace tessra {

void LearnerAgent::step_rl(double /*time_elapsed*/, const Situation& situation, const Dict& action_records) {
  for (auto [unit_id, record] : action_records) {
    const auto unit = situation.unit(unit_id.as_text());
    if (unit == nullptr) continue;
    const Dict& action = record.as_dict();
    const std::string_view order = action.at_text("order");
    if (order == "attack") {
      unit->attack(action.at_text("contact"));
    } else if (order == "move") {
      const GeoPoint course[] = {{action.at_real("lon"), action.at_real("lat")}};
      unit->plot_course(course);
    } else if (order == "control") {
      unit->set_weapon_control(action.at_text("control"));
    } else {
      throw Error(conf_.agent_name + ": unknown order '" + std::string(order) + "'");
    }
  }
}

}  // namespace tessra
