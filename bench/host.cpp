#include "bench/host.h"

#include "Tessra/entitys/agent.h"

namespace tessra::bench {

namespace {

class IdleAgent : public Agent {
 public:
  explicit IdleAgent(std::string side_name) : Agent(std::move(side_name)) {}
};

/// Discards the engine's output.
class SilentConsole : public Console {
 public:
  void print(std::string_view) override {}
  void print_error(std::string_view) override {}
};

}  // namespace

Host::Host(const Dict& sides) {
  GameServer::register_backend("records", [this](const Dict&, std::string_view) { return server_; });
  server_->sides = sides;
  Dict rules;
  for (auto [id, side] : sides) {
    rules.set(side.as_dict().at("Name"), Dict{{"agent", Dict{{"class", Value(AgentClass::of<IdleAgent>("idle"))}}}});
  }
  const Dict section{{"simulate", Dict{{"scenario", "strait"}}}, {"server", Dict{{"url", "records:"}}}};
  Seams seams = default_seams();
  seams.console = std::make_shared<SilentConsole>();
  engine_ = std::make_unique<Deduction>(Dict{{"game_server", section}, {"rule_config", rules}}, std::move(seams));
}

void Host::build(Value initial) {
  server_->initial = std::move(initial);
  if (engine_->reset(1) != 1) throw Error("the initial record cannot be built");
}

}  // namespace tessra::bench
