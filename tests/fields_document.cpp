// docs/fields.md is made from the element classes' field tables. TESSRA_UPDATE=1 writes it anew.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "Tessra/entitys/agent_base.h"
#include "Tessra/entitys/aircraft.h"
#include "Tessra/entitys/cargomission.h"
#include "Tessra/entitys/facility.h"
#include "Tessra/entitys/ferrymission.h"
#include "Tessra/entitys/group.h"
#include "Tessra/entitys/mineclearmission.h"
#include "Tessra/entitys/minemission.h"
#include "Tessra/entitys/patrolmission.h"
#include "Tessra/entitys/satellite.h"
#include "Tessra/entitys/scenario.h"
#include "Tessra/entitys/ship.h"
#include "Tessra/entitys/strikemission.h"
#include "Tessra/entitys/submarine.h"
#include "Tessra/entitys/supportmission.h"
#include "Tessra/entitys/weapon.h"

namespace tessra::testing {
namespace {

std::string default_text(const Field& field) {
  if (!field.has_default) return "";
  const Value value = default_value(field.kind);
  return value.is_string() ? fmt::format("\"{}\"", value.as_text()) : value.to_text();
}

void add(std::string& text, std::string_view name, const FieldTable& table) {
  text += "\n## " + std::string(name) + "\n\n| field | kind | default |\n|---|---|---|\n";
  for (const Field& field : table.fields()) {
    text += fmt::format("| {} | {} | {} |\n", field.name, kind_name(field.kind), default_text(field));
  }
}

template <class... Classes>
std::string document() {
  std::string text = R"(# Attributes of the element classes

Elements store whatever the service reports. These are the fields a class declares: an update may add them even if the
initial situation lacked them, and those with a default can be read before they arrive.
`TESSRA_UPDATE=1 ./test -R FieldsDocument` writes this file from the tables in the sources.
)";
  add(text, "RuleAgentBase", RuleAgentBase::fields());
  (add(text, demangle(typeid(Classes).name()).substr(std::string_view("tessra::").size()), Classes::fields()), ...);
  return text;
}

TEST(FieldsDocument, is_what_the_tables_say) {
  const std::string text =
      document<Scenario, Group, Aircraft, Ship, Submarine, Satellite, Facility, Weapon, StrikeMission, PatrolMission,
               SupportMission, FerryMission, MineMission, MineClearMission, CargoMission>();
  const std::string path = TESSRA_SOURCE_DIR "/docs/fields.md";
  if (std::getenv("TESSRA_UPDATE") != nullptr) std::ofstream(path) << text;
  std::stringstream stored;
  stored << std::ifstream(path).rdbuf();
  EXPECT_EQ(stored.str(), text);
}

}  // namespace
}  // namespace tessra::testing
