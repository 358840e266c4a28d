#include "Tessra/entitys/strikemission.h"

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

const FieldTable& StrikeMission::fields() {
  static const FieldTable table(&mission_fields(), {
                                                       {"Targets", Kind::list},
                                                   });
  return table;
}

StrikeMission::StrikeMission(Value guid, const Value& name, std::string_view side)
    : Mission(std::move(guid), name, side, tessra::ElementType::StrikeMission) {
  set_attribute("escort", Dict());
}

void StrikeMission::order_new(GameServer& server, std::string_view side, std::string_view name,
                              std::span<const std::string> contact_ids) {
  CommandText text("AddStrikeMission");
  server.add_command(text.text("SIDE", side).text("NAME", name).texts("TARGETS", contact_ids).str());
}

}  // namespace tessra
