#include "Tessra/entitys/patrolmission.h"

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

const FieldTable& PatrolMission::fields() {
  static const FieldTable table(&mission_fields(), {
                                                       {"Zone", Kind::list},
                                                   });
  return table;
}

void PatrolMission::order_new(GameServer& server, std::string_view side, std::string_view name,
                              std::span<const GeoPoint> zone) {
  CommandText text("AddPatrolMission");
  server.add_command(text.text("SIDE", side).text("NAME", name).points("ZONE", zone).str());
}

}  // namespace tessra
