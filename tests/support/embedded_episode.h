#pragma once

// Episodes on the bundled simulation, with sample agents on both sides.

#include <string>

#include "Tessra/base/json_read.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "agents/sample_agents.h"

namespace tessra::testing {

/// A standard-mode configuration: "patrol" plays red, "strike" blue. `scenario` is the path of its file under the
/// scenario folder, without the ending.
inline Dict embedded_config(const std::string& scenario, int seed) {
  register_sample_agents(AgentRegistry::instance());
  Dict config = read_json(R"({"game_server": {"simulate": {}, "server": {}}, "rule_config": {
                    "红方": {"patrol-1": {"class": "patrol"}}, "蓝方": {"strike-1": {"class": "strike"}}}})")
                    .as_dict();
  const std::filesystem::path file = std::filesystem::path(TESSRA_SOURCE_DIR) / "scenarios" / scenario;
  config.at_dict("game_server").at_dict("simulate").set("scenario", file.filename().string());
  config.at_dict("game_server").set("server", Dict{{"seed", seed}, {"url", "embedded:" + file.parent_path().string()}});
  return config;
}

/// Plays to the end; returns the result.
inline BatResult play_episode(Deduction& engine, int round = 1) {
  if (engine.reset(round) != 1) throw Error("the episode did not start");
  while (true) {
    const StepOutcome outcome = engine.step(Dict());
    if (const auto* result = std::get_if<BatResult>(&outcome)) return *result;
    if (std::holds_alternative<std::monostate>(outcome)) throw Error("no situation");
  }
}

}  // namespace tessra::testing
