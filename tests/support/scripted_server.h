#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra::testing {

/// A service that answers as it is told. Every call is noted in `calls`, with its arguments; before it answers, the
/// operation's rule is asked: it may give another answer, or throw.
class ScriptedServer : public GameServer, private NetSdk, private ConnReq {
 public:
  /// A rule gets the number of the call of its operation, from 1. An answer beats the usual one.
  using Rule = std::function<std::optional<Value>(int call)>;

  ScriptedServer() { room_id = "room-1"; }

  /// The situations to hand out. What is handed out is a copy, so that the script stays as it was written.
  Value sides = Dict();
  Value initial;
  std::vector<Value> updates;
  /// Answer of `get_scenarios`.
  Value scenarios = List{"strait"};

  std::map<std::string, Rule> rules;
  std::vector<std::string> calls;
  std::vector<std::string> commands;        ///< queued and not yet packed
  std::vector<std::string> sent_commands;   ///< packed
  std::vector<std::string> error_messages;  ///< what the client was told
  std::shared_ptr<StopEvent> stop;

  /// How often an operation was called.
  int count(const std::string& operation) const {
    const auto found = counts_.find(operation);
    return found != counts_.end() ? found->second : 0;
  }

  Value connect_server() override { return answer("connect_server", "", true); }
  void check_clean_rooms() override { answer("check_clean_rooms", "", {}); }
  Value reset(int flag) override {
    next_update_ = 0;
    return answer("reset", std::to_string(flag), 0);
  }
  Value get_scenarios() override { return answer("get_scenarios", "", scenarios); }
  Value load_scenario(const Value& name) override { return answer("load_scenario", name.to_text(), true); }
  Value set_data_receive() override { return answer("set_data_receive", "", sides.deep_copy()); }
  void request_full_situation() override { answer("request_full_situation", "", {}); }
  Value get_init_situation() override { return answer("get_init_situation", "", initial.deep_copy()); }
  void add_command(std::string text) override { commands.push_back(std::move(text)); }
  bool need_do_package_command() override { return answer("need_do_package_command", "", !commands.empty()).truthy(); }
  Value do_package_command() override {
    sent_commands.insert(sent_commands.end(), commands.begin(), commands.end());
    commands.clear();
    return answer("do_package_command", "", Dict{{"message", "OK"}, {"resbin", ""}});
  }
  void run_command(std::string_view text) override { answer("run_command", std::string(text), {}); }
  void run_simulate() override { answer("run_simulate", "", {}); }
  Value get_step_situation() override {
    Value next;
    if (next_update_ < updates.size()) next = updates[next_update_++].deep_copy();
    return answer("get_step_situation", "", next);
  }
  void simulate_end() override { answer("simulate_end", "", {}); }
  void update_simulate_timestamp(std::int64_t milliseconds) override {
    answer("update_simulate_timestamp", std::to_string(milliseconds), {});
  }
  void connect_client(std::shared_ptr<StopEvent> event) override {
    stop = std::move(event);
    answer("connect_client", "", {});
  }
  void agent_error_message_output(std::string_view text) override {
    error_messages.emplace_back(text);
    answer("agent_error_message_output", std::string(text), {});
  }
  void update_step_interval(const Value& seconds) override { answer("update_step_interval", seconds.to_text(), {}); }
  NetSdk& net_sdk() override { return *this; }
  ConnReq& conn_req() override { return *this; }

 private:
  void delete_scen(int kind, std::string_view name) override {
    answer("delete_scen", std::to_string(kind) + ", " + std::string(name), {});
  }
  Value req_client_agent_config(const Value& agent_id, const Value& agent_name) override {
    return answer("req_client_agent_config", agent_id.to_text() + ", " + agent_name.to_text(), Dict());
  }
  void req_agent_times(const Value& agent_id, const Value& agent_name, std::int64_t agent_times) override {
    answer("req_agent_times", agent_id.to_text() + ", " + agent_name.to_text() + ", " + std::to_string(agent_times),
           {});
  }

  Value answer(const std::string& operation, const std::string& arguments, Value usual) {
    calls.push_back(arguments.empty() ? operation : operation + "(" + arguments + ")");
    const int call = ++counts_[operation];
    const auto rule = rules.find(operation);
    if (rule == rules.end()) return usual;
    return rule->second(call).value_or(std::move(usual));
  }

  std::map<std::string, int> counts_;
  std::size_t next_update_ = 0;
};

}  // namespace tessra::testing
