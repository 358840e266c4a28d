#include "apps/deduce/scenarios_command.h"

#include <fmt/format.h>

#include "Tessra/base/json_read.h"
#include "Tessra/entitys/gameenvs/data_directory.h"
#include "Tessra/entitys/gameenvs/gameserver.h"
#include "apps/deduce/exit_status.h"

namespace tessra::app {

int list_scenarios() {
  const auto service = GameServer::create(Dict{{"server", Dict()}});
  for (const Value& name : service->get_scenarios().as_list()) {
    const Value file = read_json_file(data_directory() / "scenarios" / (name.to_text() + ".json"));
    fmt::print("{:<14} {}\n", name.to_text(), file.as_dict().get("title").to_text());
  }
  return kPlayed;
}

}  // namespace tessra::app
