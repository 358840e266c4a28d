#include "tests/support/record_play.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <functional>

#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/situation.h"
#include "apps/deduce/model_dump.h"

namespace tessra::testing {

namespace {

class CuriousAgent : public Agent {
 public:
  explicit CuriousAgent(std::string side_name) : Agent(std::move(side_name)) {}

  void initial(const Situation& situation) override { look(situation); }
  void step(double /*time_elapsed*/, const Situation& situation) override { look(situation); }

 private:
  static void look(const Situation& situation) {
    for (const auto& [id, element] : situation.aircrafts()) {
      const auto unit = situation.unit(id);
      unit->position();
      unit->speed();
      for (auto [contact_id, contact] : situation.contacts()) unit->attack(contact_id.to_text());
    }
  }
};

}  // namespace

Value model_of(const Deduction& engine) {
  Dict rest = app::dump_engine(engine);
  for (const char* kept : {"current_round", "error_room_flag", "init_units"}) rest.erase(kept);
  return List{app::dump_elements(engine), app::dump_players(engine), rest};
}

RecordPlay::RecordPlay(const GeneratedEpisode& episode) {
  GameServer::register_backend("damaged", [server = server_](const Dict&, std::string_view) { return server; });
  Dict config = episode.config.deep_copy();
  config.at_dict("game_server").at_dict("server").set("url", "damaged:");
  config.at_dict("game_server").at_dict("simulate").set("testing", true);
  config.at_dict("game_server").at_dict("simulate").set("scen_check", false);
  for (auto [side, agents] : config.at_dict("rule_config")) {
    for (auto [name, entry] : agents.as_dict()) {
      entry.as_dict().set("class", AgentClass::of<CuriousAgent>("curious"));
    }
  }
  server_->sides = episode.sides_info;
  engine_ = std::make_unique<Deduction>(config, seams_.seams());
}

Played RecordPlay::play(const Value& initial, const std::vector<Value>& updates) {
  server_->initial = initial;
  server_->updates = updates;
  server_->calls.clear();
  server_->commands.clear();
  server_->sent_commands.clear();
  seams_.console->printed.clear();

  Played played;
  const auto attempt = [&played](const std::function<void()>& work) {
    try {
      work();
    } catch (const std::exception& error) {
      played.errors.emplace_back(error.what());
    }
  };
  attempt([&] {
    const int code = engine_->reset(1);
    if (code != 1) played.errors.push_back(fmt::format("reset: {}: {}", code, fmt::join(seams_.console->printed, "")));
  });
  for (std::size_t i = 0; i < updates.size(); ++i) {
    attempt([&] {
      const StepOutcome outcome = engine_->step({});
      if (const auto* result = std::get_if<BatResult>(&outcome)) played.result = *result;
    });
  }
  return played;
}

}  // namespace tessra::testing
