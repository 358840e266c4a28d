#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "services/remote/call_error.h"
#include "services/remote/room_options.h"
#include "tessra/v1/simulation.pb.h"

namespace tessra::remote {

/// The calls of a room, carried out on a service client. Belongs to the room's thread. Every operation throws
/// `CallError` for what the client did wrong, and lets errors of the service client pass.
class RoomPlay {
 public:
  /// Connects the backend; in an agent's room it also loads the scenario. `stop` is the agent's stop signal.
  RoomPlay(MakeBackend make, RoomPlan plan, const Limits& limits, std::shared_ptr<StopEvent> stop);

  void reset(const v1::ResetRoomRequest& request, v1::ResetRoomReply& reply);
  void list_scenarios(const v1::ListScenariosRequest& request, v1::ListScenariosReply& reply);
  void load_scenario(const v1::LoadScenarioRequest& request, v1::LoadScenarioReply& reply);
  void delete_scenario(const v1::DeleteScenarioRequest& request, v1::DeleteScenarioReply& reply);
  void get_sides(const v1::GetSidesRequest& request, v1::GetSidesReply& reply);
  void get_situation(const v1::GetSituationRequest& request, v1::GetSituationReply& reply);
  void run_command(const v1::RunCommandRequest& request, v1::RunCommandReply& reply);
  void execute(const v1::ExecuteRequest& request, v1::ExecuteReply& reply);
  void advance(const v1::AdvanceRequest& request, v1::AdvanceReply& reply);
  void end_episode(const v1::EndEpisodeRequest& request, v1::EndEpisodeReply& reply);
  void set_step_interval(const v1::SetStepIntervalRequest& request, v1::SetStepIntervalReply& reply);
  void set_timestamp(const v1::SetTimestampRequest& request, v1::SetTimestampReply& reply);
  void get_agent_settings(const v1::GetAgentSettingsRequest& request, v1::GetAgentSettingsReply& reply);
  void report_decisions(const v1::ReportDecisionsRequest& request, v1::ReportDecisionsReply& reply);
  void report_error(const v1::ReportErrorRequest& request, v1::ReportErrorReply& reply);

 private:
  std::shared_ptr<GameServer> connected(const RoomPlan& plan) const;
  GameServer& loaded();
  void require_whole_room() const;
  void require_agent() const;
  void check_command(const std::string& command, std::size_t number) const;
  Value agent_key(const v1::Json& json, const char* field) const;

  MakeBackend make_;
  RoomPlan plan_;  // of the next episode to be loaded
  Limits limits_;
  std::shared_ptr<GameServer> backend_;
  bool loaded_ = false;
};

}  // namespace tessra::remote
