#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Tessra/entitys/gameenvs/gameserver.h"
#include "services/scheduling_client.h"

namespace tessra::app {

/// The side that a scheduling client offers to agents of other processes, one after the other. Prints on standard
/// output what the agent does and how its round ended. Safe from any thread.
class ScheduledSide {
 public:
  /// `config` is an AI-apply configuration; it is kept as text, since every room has a thread of its own.
  /// `settings_file` holds the agents' settings, agent id → settings; empty: those of the configuration. Throws
  /// `InputError` if it is wrong, or if no agent can join the configuration's service.
  ScheduledSide(const Dict& config, std::string settings_file, bool json);

  const std::string& side() const { return side_; }

  /// A simulation for the next agent, restricted to the side.
  std::shared_ptr<GameServer> open();
  /// The agent can play, or has left.
  void tell_opened() const;
  void tell_ended(const std::string& why);

  /// Reads the settings file if it was changed; the agent gets them at its next decision. A file that is wrong is
  /// reported once, and the settings stay as they were.
  void follow_settings();
  /// Tells the agent to stop.
  void stop();

  struct Rounds {
    int ended = 0;
    bool last_was_complete = false;
  };
  Rounds rounds() const;

 private:
  class Watched;

  void tell(const char* event, const std::string& text, Dict details = {}) const;
  std::shared_ptr<GameServer> make_service() const;
  void give_settings();
  bool read_settings();

  std::string config_;  // JSON
  std::string side_;
  std::string settings_file_;
  bool json_;

  mutable std::mutex mutex_;  // guards the members below
  std::weak_ptr<GameServer> service_;
  SchedulingClient* client_ = nullptr;        // part of the service
  std::string settings_;                      // JSON; empty: none were read
  std::optional<std::string> settings_text_;  // of the file, as last looked at
  bool reached_end_ = false;                  // by the round that is played
  Rounds rounds_;
};

}  // namespace tessra::app
