#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Tessra/base/stop_event.h"
#include "Tessra/base/value.h"

namespace tessra {

/// Scenario files on the service.
class NetSdk {
 public:
  virtual ~NetSdk() = default;
  /// Asks the service to delete a scenario. `kind` is always 1.
  virtual void delete_scen(int kind, std::string_view name) = 0;
};

/// Requests to a scheduling client.
class ConnReq {
 public:
  virtual ~ConnReq() = default;
  /// The client's settings for an agent (units, targets, intervals).
  virtual Value req_client_agent_config(const Value& agent_id, const Value& agent_name) = 0;
  /// Tells the client how often the agent has decided.
  virtual void req_agent_times(const Value& agent_id, const Value& agent_name, std::int64_t agent_times) = 0;
};

/// The client of a simulation service: every call the engine makes on a simulation goes through one of these.
///
/// A backend derives from it and is chosen by the scheme of the configured `server.url`. Every operation is called
/// from the engine's thread; an error it throws reaches the engine's caller as the engine's operations say. Records are
/// handed over: the engine changes and keeps them, so a backend forgets every record it returns. A backend copies what
/// it needs from its configuration and keeps no part of that tree.
class GameServer {
 public:
  /// Stamped into every `WargameCommand` as its `check_id`.
  static constexpr std::string_view command_key = "tessra-command";

  /// Makes the client from the configuration section that holds `server`. The backend is the one registered for the
  /// scheme of `server.url` (default "embedded:"). Connects nothing. Throws `Error` for an unknown scheme.
  static std::shared_ptr<GameServer> create(const Dict& section);

  /// Builds a backend from the section and the URL's part behind the scheme's colon.
  using Factory = std::function<std::shared_ptr<GameServer>(const Dict& section, std::string_view address)>;
  /// Adds or replaces the backend of a scheme. Safe from any thread.
  static void register_backend(std::string scheme, Factory factory);
  /// Puts a client of its own in front of another one, which it passes calls on to.
  using Layer = std::function<std::shared_ptr<GameServer>(std::shared_ptr<GameServer> client, const Dict& section)>;
  /// From now on `create` puts this layer in front of the backend where the section has `server.<key>`. Layers stand in
  /// the order of their keys, the last one outermost. Safe from any thread.
  static void register_layer(std::string key, Layer layer);
  /// The schemes that have a backend, sorted. Safe from any thread.
  static std::vector<std::string> schemes();

  virtual ~GameServer() = default;
  GameServer(const GameServer&) = delete;
  GameServer& operator=(const GameServer&) = delete;

  // Room and scenario, in the order of an episode start.

  /// Anything but none means connected.
  virtual Value connect_server() = 0;
  virtual void check_clean_rooms() = 0;
  /// Prepares the room for an episode. `flag` 0: the last start succeeded, 1: it failed, 2: start the room anew. The
  /// answer -1 means no connection; 2 asks the engine to open the data channel and request the full situation again.
  virtual Value reset(int flag) = 0;
  /// The names of the scenarios, as a list or as the keys of a dictionary.
  virtual Value get_scenarios() = 0;
  /// Exactly true means loaded.
  virtual Value load_scenario(const Value& name) = 0;
  /// Opens the data channel. Returns side id → {`Name`, `Friend`: [side ids]}.
  virtual Value set_data_receive() = 0;
  virtual void request_full_situation() = 0;
  /// The initial situation; empty or none means none available.
  virtual Value get_init_situation() = 0;

  // Commands.

  /// Queues a command text for the next package. Agents' orders end here.
  virtual void add_command(std::string text) = 0;
  virtual bool need_do_package_command() = 0;
  /// Sends the queued commands. Returns a dictionary with `message` ("Error" on failure) and `resbin`, the reply as
  /// UTF-8 text, a line for each command that was refused. It may also have `refused`, a list of dictionaries with the
  /// command's `number` in the package, its `side` (a name; absent when it cannot be read), the `command`, of a long
  /// one its beginning, and the `reason`: they reach the side's agents.
  virtual Value do_package_command() = 0;
  /// Runs one command at once.
  virtual void run_command(std::string_view text) = 0;

  // Time.

  virtual void run_simulate() = 0;
  /// What changed since the last record; empty or none means no record arrived.
  virtual Value get_step_situation() = 0;
  virtual void simulate_end() = 0;
  virtual void update_simulate_timestamp(std::int64_t milliseconds) = 0;

  // Scheduling clients (AI-apply mode).

  /// Throws on failure. The backend may watch the signal from threads of its own.
  virtual void connect_client(std::shared_ptr<StopEvent> stop) = 0;
  virtual void agent_error_message_output(std::string_view text) = 0;
  virtual void update_step_interval(const Value& seconds) = 0;
  virtual NetSdk& net_sdk() = 0;
  virtual ConnReq& conn_req() = 0;

  Value room_id;
  bool is_ai_apply = false;

 protected:
  GameServer() = default;
};

}  // namespace tessra
