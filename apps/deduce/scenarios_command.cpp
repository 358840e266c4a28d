#include "apps/deduce/scenarios_command.h"

#include "Tessra/base/json_read.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/output.h"
#include "apps/deduce/results.h"
#include "services/data_directory.h"
#include "services/embedded_server.h"

namespace tessra::app {

namespace {

/// The agents that the scenario file suggests for a side; empty for none.
std::string agents_text(const Dict& scenario, const Value& side) {
  const Dict* sides = scenario.find_dict("agents");
  const Dict* agents = sides != nullptr ? sides->find_dict(side) : nullptr;
  std::string text;
  if (agents == nullptr) return text;
  for (auto [name, entry] : *agents) {
    text += fmt::format("{}{} ({})", text.empty() ? ", played by " : ", ", name.to_text(),
                        entry.as_dict().at("class").to_text());
  }
  return text;
}

void show(const std::string& name, const Dict& scenario) {
  say("{:<14} {}, {}\n", name, scenario.at_text("title"), clock_text(scenario.at("duration").as_real()));
  for (const Value& side : scenario.at_list("sides")) {
    const List* units = side.as_dict().find_list("units");
    const std::size_t count = units != nullptr ? units->size() : 0;
    say("{:<14}   {}: {} unit{}{}\n", "", side.as_dict().at_text("name"), count, count == 1 ? "" : "s",
        agents_text(scenario, side.as_dict().at("name")));
  }
}

}  // namespace

int list_scenarios() {
  const std::filesystem::path folder = data_directory() / "scenarios";
  const auto service = make_embedded_server(Dict{{"server", Dict()}}, folder.string());
  int status = kPlayed;
  for (const Value& name : service->get_scenarios().as_list()) {
    const std::filesystem::path file = folder / (name.to_text() + ".json");
    try {
      check_scenario(file);
    } catch (const Error& error) {
      tell("error: {}\n", error.what());
      status = kWrongInput;
      continue;
    }
    show(name.to_text(), read_json_file(file).as_dict());
  }
  return status;
}

}  // namespace tessra::app
