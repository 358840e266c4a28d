// The agent's view: a thin layer over its player's tables.

#include "Tessra/entitys/situation.h"

#include "Tessra/entitys/agent_base.h"
#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/mission.h"

namespace tessra {

const Situation::Table& Situation::aircrafts() const { return player_.aircrafts; }
const Situation::Table& Situation::ships() const { return player_.ships; }
const Situation::Table& Situation::submarines() const { return player_.submarines; }
const Situation::Table& Situation::satellites() const { return player_.satellites; }
const Situation::Table& Situation::facilitys() const { return player_.facilitys; }
const Situation::Table& Situation::weapons() const { return player_.weapons; }
const Situation::Table& Situation::groups() const { return player_.groups; }
const Situation::Table& Situation::missions() const { return player_.missions_obj; }

std::shared_ptr<GameUnit> Situation::unit(std::string_view id) const {
  for (const Table* table :
       {&aircrafts(), &ships(), &submarines(), &facilitys(), &weapons(), &groups(), &satellites()}) {
    if (const auto* found = table->find(id)) return std::dynamic_pointer_cast<GameUnit>(*found);
  }
  return nullptr;
}

std::shared_ptr<GameUnit> Situation::unit_named(std::string_view name) const {
  const auto* found = player_.units_of_name.find(name);
  return found != nullptr ? std::dynamic_pointer_cast<GameUnit>(*found) : nullptr;
}

std::shared_ptr<Mission> Situation::mission(std::string_view name) const {
  const auto* found = missions().find(name);
  return found != nullptr ? std::dynamic_pointer_cast<Mission>(*found) : nullptr;
}

Dict Situation::contacts() const { return player_.get_dict("Contacts"); }
std::vector<Contact> Situation::contact_list() const {
  const Dict records = contacts();
  std::vector<Contact> list;
  list.reserve(records.size());
  for (const auto& [id, record] : records) list.emplace_back(id, record.as_dict());
  return list;
}

std::optional<Contact> Situation::contact(std::string_view id) const {
  const Dict records = contacts();
  const Dict* record = records.find_dict(id);
  if (record == nullptr) return {};
  return Contact(Value(id), *record);
}

bool Situation::may_be_enemy(const Contact& contact) const {
  // Unknown side or posture: it may be hostile.
  constexpr int kHostile = 3;
  const auto side = contact.side();
  return !side || posture_toward(*side).value_or(kHostile) == kHostile;
}

Dict Situation::messages() const { return player_.get_dict("KeyMsg"); }
Dict Situation::postures() const { return player_.get_dict("Postures"); }
std::optional<std::int64_t> Situation::posture_toward(const Value& other) const {
  const Dict codes = postures();
  // Records of contacts name sides, postures are keyed by side id: accept both.
  for (auto [side_id, code] : codes) {
    if (side_id == other || player_.side_names.get(side_id) == other) return code.as_integer();
  }
  return std::nullopt;
}

Dict Situation::friend_units() const { return player_.get_dict("friend_side_units"); }

const std::vector<RefusedOrder>& Situation::refused_orders() const { return player_.refused_orders; }

double Situation::time_elapsed() const { return player_.time_elapsed(); }
const Value& Situation::duration() const { return player_.scenario_duration(); }

}  // namespace tessra
