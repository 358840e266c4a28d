#include "apps/deduce/scheduled_side.h"

#include <fmt/format.h>

#include <fstream>
#include <sstream>

#include "Tessra/base/guard.h"
#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "Tessra/base/utf8.h"
#include "apps/deduce/configuration.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/output.h"
#include "services/side_server.h"

namespace tessra::app {

namespace {

/// A text from an agent, which must not look like a line of ours or move the terminal's cursor: lines after the first
/// are indented, control characters shown as question marks.
std::string indented(const std::string& text) {
  constexpr std::size_t kLongest = 4'096;
  std::string shown;
  for (const char c : text.substr(0, kLongest)) {
    if (c == '\n') {
      shown += "\n  ";
    } else {
      shown += static_cast<unsigned char>(c) < 0x20 || c == 0x7f ? '?' : c;
    }
  }
  return shown;
}

SideServer::Agent agent_of(const Value& config) {
  const Dict player = config.as_dict().at_dict("player");
  const Value interval = player.contains("decision_time") ? player.at("decision_time") : Value(30);
  return {.side = player.at("player_side").to_text(),
          .id = player.contains("agent_id") ? player.at("agent_id").to_text() : "",
          .shortest_interval = interval.as_real()};
}

}  // namespace

/// Keeps the scores of all sides, of which the agent sees its own alone, and notices the end.
class ScheduledSide::Watched : public ForwardingServer {
 public:
  Watched(std::shared_ptr<GameServer> inner, ScheduledSide& side) : ForwardingServer(std::move(inner)), side_(side) {}

  Value get_init_situation() override {
    Value record = ForwardingServer::get_init_situation();
    note(record);
    return record;
  }
  Value get_step_situation() override {
    Value record = ForwardingServer::get_step_situation();
    note(record);
    if (const Dict* dict = record.if_dict(); dict != nullptr && dict->non_empty("IsEnd")) tell_end();
    return record;
  }

 private:
  void note(const Value& record) {
    const Dict* dict = record.if_dict();
    if (dict == nullptr) return;
    if (const Dict* scenario = dict->find_dict("ScenarioInfo")) note_names(*scenario);
    const Dict* situation = dict->find_dict("Situation");
    const Dict* sides = situation != nullptr ? situation->find_dict("SituationSides") : nullptr;
    if (sides == nullptr) return;
    for (auto [id, entry] : *sides) {
      const Dict* vital = entry.as_dict().find_dict("SideVitalChange");
      if (vital != nullptr && vital->contains("TotalScore")) {
        scores_[id.to_text()] = vital->at("TotalScore").as_real();
      }
    }
  }

  void note_names(const Dict& scenario) {
    const Dict* sides = scenario.find_dict("SideInfo");
    if (sides == nullptr) return;
    for (auto [id, entry] : *sides) {
      if (const Value* name = entry.as_dict().find("Name")) names_[id.to_text()] = name->to_text();
    }
  }

  void tell_end() {
    std::string text = "the round has ended;";
    Dict scores;
    for (const auto& [id, score] : scores_) {
      text += fmt::format(" {} {:.1f}", names_[id], score);
      scores.set(names_[id], score);
    }
    side_.tell("round_end", text, {{"scores", scores}});
    const std::lock_guard lock(side_.mutex_);
    side_.reached_end_ = true;
  }

  ScheduledSide& side_;
  std::map<std::string, std::string> names_;
  std::map<std::string, double> scores_;
};

ScheduledSide::ScheduledSide(const Dict& config, std::string settings_file, bool json)
    : config_(write_json(config)),
      side_(config.at_dict("player").at("player_side").to_text()),
      settings_file_(std::move(settings_file)),
      json_(json) {
  if (!settings_file_.empty()) read_settings();
  if (find_client<SchedulingClient>(*make_service()) == nullptr) {
    throw InputError("server.url: no agent can join this service; a scheduling client plays the bundled simulation");
  }
}

std::shared_ptr<GameServer> ScheduledSide::make_service() const {
  return GameServer::create(read_json(config_).as_dict());
}

/// Events come from the agent's calls, which must not fail because nobody reads them.
void ScheduledSide::tell(const char* event, const std::string& text, Dict details) const {
  guarded(
      [&] {
        if (!json_) return say("{}\n", text);
        Dict line{{"event", event}, {"text", text}};
        for (auto [key, value] : details) line.set(key, value);
        say("{}\n", write_json(line));
      },
      [](const std::exception_ptr& error) { tell_text("error: " + error_text(error) + "\n"); });
}

std::shared_ptr<GameServer> ScheduledSide::open() {
  std::shared_ptr<GameServer> service = make_service();
  auto* client = find_client<SchedulingClient>(*service);
  client->on_error_text = [this](const std::string& text) { tell("agent_error", "agent: " + indented(text)); };
  client->on_decision = [this](std::int64_t count) {
    tell("decision", fmt::format("decision {}", count), {{"decisions", count}});
  };
  service =
      std::make_shared<SideServer>(std::make_shared<Watched>(std::move(service), *this), agent_of(read_json(config_)));
  const std::lock_guard lock(mutex_);
  service_ = service;
  client_ = client;
  reached_end_ = false;
  give_settings();
  return service;
}

void ScheduledSide::tell_opened() const { tell("agent", fmt::format("an agent plays {}", side_)); }

void ScheduledSide::tell_ended(const std::string& why) {
  bool complete = false;
  {
    const std::lock_guard lock(mutex_);
    complete = reached_end_;
    rounds_ = {rounds_.ended + 1, complete};
  }
  tell("agent_left", complete ? "the agent has left" : "the agent has left before the end: " + why,
       {{"complete", complete}});
}

ScheduledSide::Rounds ScheduledSide::rounds() const {
  const std::lock_guard lock(mutex_);
  return rounds_;
}

void ScheduledSide::stop() {
  const std::lock_guard lock(mutex_);
  if (const auto service = service_.lock()) client_->stop();
}

// Settings.

/// Hands the settings to the agent that is here. The mutex is held.
void ScheduledSide::give_settings() {
  const auto service = service_.lock();
  if (service == nullptr || settings_.empty()) return;
  const Value settings = read_json(settings_);
  for (auto [agent_id, entry] : settings.as_dict()) client_->set_agent_settings(agent_id.to_text(), entry.as_dict());
}

/// False if the file is as it was. Throws `InputError`.
bool ScheduledSide::read_settings() {
  std::stringstream text;
  text << std::ifstream(settings_file_).rdbuf();
  if (text.str() == settings_text_) return false;
  settings_text_ = text.str();
  const Dict settings = read_object_file(settings_file_);
  for (auto [agent_id, entry] : settings) {
    if (!entry.is_dict()) throw InputError(settings_file_ + ": " + agent_id.to_text() + ": must be an object");
  }
  settings_ = write_json(settings);
  return true;
}

void ScheduledSide::follow_settings() {
  if (settings_file_.empty()) return;
  std::string said;
  {
    const std::lock_guard lock(mutex_);
    try {
      if (!read_settings()) return;
      give_settings();
      said = "new settings from " + settings_file_;
    } catch (const Error& error) {
      said = fmt::format("error: {}; the settings stay as they were", error.what());
    }
  }
  tell("settings", said);
}

}  // namespace tessra::app
