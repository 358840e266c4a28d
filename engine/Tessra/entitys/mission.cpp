#include "Tessra/entitys/mission.h"

#include "Tessra/entitys/gameenvs/gameserver.h"
#include "Tessra/entitys/gameunit.h"

namespace tessra {

const FieldTable& Mission::mission_fields() {
  static const FieldTable table{
      {"Name", Kind::string},         {"Side", Kind::string},        {"ElementType", Kind::integer},
      {"Status", Kind::string},       {"Category", Kind::string},    {"StartTime", Kind::integer},
      {"EndTime", Kind::integer},     {"AssignedUnits", Kind::list}, {"Flight", Kind::dictionary},
      {"Doctrine", Kind::dictionary},
  };
  return table;
}

CommandText Mission::command(std::string_view name) const {
  CommandText text(name);
  text.text("SIDE", Side());  // the service finds a mission by side and name, not by guid
  return text;
}

void Mission::assign_unit(const GameUnit& unit) {
  game_server()->add_command(command("AssignUnit").text("UNIT", unit.guid()).text("MISSION", Name()).str());
}

void Mission::unassign_unit(const GameUnit& unit) {
  game_server()->add_command(command("UnassignUnit").text("UNIT", unit.guid()).str());
}

void Mission::remove() { game_server()->add_command(command("DeleteMission").text("NAME", Name()).str()); }

}  // namespace tessra
