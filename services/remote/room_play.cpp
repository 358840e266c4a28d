#include "services/remote/room_play.h"

#include <fmt/format.h>

#include <cmath>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "services/remote/message_bytes.h"

namespace tessra::remote {

namespace {

using grpc::StatusCode;

void write_record(const Value& record, v1::Json& json) {
  if (!record.truthy()) return;  // nothing arrived
  std::string text = write_json(record);
  if (text.size() + 1024 > kLargestMessage) {
    throw CallError(
        StatusCode::RESOURCE_EXHAUSTED,
        fmt::format("the record has {} bytes, more than a message of {} holds", text.size(), kLargestMessage));
  }
  json.set_encoding(v1::Json::ENCODING_JSON);
  json.set_text(std::move(text));
}

std::string text_of(const Dict& entry, const char* key) {
  return entry.contains(key) ? entry.at(key).to_text() : std::string();
}

}  // namespace

RoomPlay::RoomPlay(MakeBackend make, RoomPlan plan, const Limits& limits, std::shared_ptr<StopEvent> stop)
    : make_(std::move(make)), plan_(std::move(plan)), limits_(limits) {
  backend_ = connected(plan_);
  if (plan_.side.empty()) return;
  backend_->connect_client(std::move(stop));
  loaded_ = true;
}

std::shared_ptr<GameServer> RoomPlay::connected(const RoomPlan& plan) const {
  std::shared_ptr<GameServer> backend = make_(plan);
  if (backend->connect_server().is_none()) throw Error("the simulation behind this service cannot be reached");
  return backend;
}

GameServer& RoomPlay::loaded() {
  if (!loaded_) throw CallError(StatusCode::FAILED_PRECONDITION, "no scenario is loaded");
  return *backend_;
}

void RoomPlay::require_whole_room() const {
  if (!plan_.side.empty()) {
    throw CallError(StatusCode::PERMISSION_DENIED, "the scheduling client decides about the scenario, not its agent");
  }
}

void RoomPlay::require_agent() const {
  if (plan_.side.empty()) throw CallError(StatusCode::UNIMPLEMENTED, "this service has no agents");
}

void RoomPlay::reset(const v1::ResetRoomRequest& request, v1::ResetRoomReply& reply) {
  require_whole_room();
  if (!v1::ResetRoomRequest::Reason_IsValid(request.reason())) {
    throw CallError(StatusCode::INVALID_ARGUMENT, fmt::format("reason: must be 0 to 2, is {}", request.reason()));
  }
  const Value answer = backend_->reset(request.reason());
  if (answer == Value(-1)) throw Error("the simulation behind this service cannot be reached");
  loaded_ = false;
  if (answer == Value(2)) reply.set_answer(v1::ResetRoomReply::ANSWER_REOPENED);
}

void RoomPlay::list_scenarios(const v1::ListScenariosRequest& /*request*/, v1::ListScenariosReply& reply) {
  require_whole_room();
  const Value names = backend_->get_scenarios();
  if (names.is_list()) {
    for (const Value& name : names.as_list()) reply.add_names(name.to_text());
  } else if (names.is_dict()) {
    for (auto [name, entry] : names.as_dict()) reply.add_names(name.to_text());
  }
}

void RoomPlay::load_scenario(const v1::LoadScenarioRequest& request, v1::LoadScenarioReply& reply) {
  require_whole_room();
  if (request.name().empty()) throw CallError(StatusCode::INVALID_ARGUMENT, "name: must not be empty");
  if (request.episode() < 1) throw CallError(StatusCode::INVALID_ARGUMENT, "episode: must be 1 or more");
  // A backend counts its episodes: another series, or another place in it, is another backend.
  if (request.seed() != plan_.seed || request.episode() != plan_.episode) {
    RoomPlan plan = plan_;
    plan.seed = request.seed();
    plan.episode = request.episode();
    backend_ = connected(plan);
    plan_ = plan;
    backend_->reset(0);
  }
  loaded_ = backend_->load_scenario(request.name()).is_true();
  if (loaded_) ++plan_.episode;
  reply.set_loaded(loaded_);
}

void RoomPlay::delete_scenario(const v1::DeleteScenarioRequest& request, v1::DeleteScenarioReply& /*reply*/) {
  require_whole_room();
  backend_->net_sdk().delete_scen(1, request.name());
}

void RoomPlay::get_sides(const v1::GetSidesRequest& /*request*/, v1::GetSidesReply& reply) {
  const Value sides = loaded().set_data_receive();
  for (auto [id, entry] : sides.as_dict()) {
    v1::Side& side = *reply.add_sides();
    side.set_id(id.to_text());
    side.set_name(entry.as_dict().at("Name").to_text());
    for (const Value& other : entry.as_dict().at_list("Friend")) side.add_friends(other.to_text());
  }
}

void RoomPlay::get_situation(const v1::GetSituationRequest& /*request*/, v1::GetSituationReply& reply) {
  loaded().request_full_situation();
  write_record(backend_->get_init_situation(), *reply.mutable_record());
}

void RoomPlay::check_command(const std::string& command, std::size_t number) const {
  if (command.size() <= limits_.command_bytes) return;
  throw CallError(StatusCode::RESOURCE_EXHAUSTED, fmt::format("command {} has {} bytes, more than the {} allowed",
                                                              number, command.size(), limits_.command_bytes));
}

void RoomPlay::run_command(const v1::RunCommandRequest& request, v1::RunCommandReply& reply) {
  check_command(request.command(), 1);
  GameServer& service = loaded();
  try {
    service.run_command(request.command());
  } catch (const Error& error) {
    reply.set_refusal(error.what());
  }
}

void RoomPlay::execute(const v1::ExecuteRequest& request, v1::ExecuteReply& reply) {
  GameServer& service = loaded();
  const auto count = static_cast<std::size_t>(request.commands_size());
  if (count > limits_.commands) {
    throw CallError(StatusCode::RESOURCE_EXHAUSTED,
                    fmt::format("{} commands in a package, more than the {} allowed", count, limits_.commands));
  }
  for (std::size_t i = 0; i < count; ++i) check_command(request.commands(static_cast<int>(i)), i + 1);
  loaded_ = false;  // as for an advance: orders must not run twice
  for (const std::string& command : request.commands()) service.add_command(command);
  const Value answer = service.do_package_command();
  const Dict& package = answer.as_dict();
  if (text_of(package, "message") == "Error") reply.set_report(text_of(package, "resbin"));
  const Value* refused = package.find("refused");
  for (const Value& item : refused != nullptr ? refused->as_list() : List()) {
    const Dict& entry = item.as_dict();
    v1::Refusal& refusal = *reply.add_refused();
    refusal.set_number(static_cast<std::uint32_t>(entry.at_integer("number")));
    refusal.set_side(text_of(entry, "side"));
    refusal.set_command(text_of(entry, "command"));
    refusal.set_reason(text_of(entry, "reason"));
  }
  loaded_ = true;
}

void RoomPlay::advance(const v1::AdvanceRequest& request, v1::AdvanceReply& reply) {
  GameServer& service = loaded();
  loaded_ = false;  // what fails from here on cannot be repeated: the episode is over
  if (request.has_timestamp()) service.update_simulate_timestamp(request.timestamp());
  if (plan_.side.empty()) service.run_simulate();  // a scheduling client advances by itself
  write_record(service.get_step_situation(), *reply.mutable_record());
  loaded_ = true;
}

void RoomPlay::end_episode(const v1::EndEpisodeRequest& /*request*/, v1::EndEpisodeReply& /*reply*/) {
  require_whole_room();
  loaded().simulate_end();
}

void RoomPlay::set_step_interval(const v1::SetStepIntervalRequest& request, v1::SetStepIntervalReply& /*reply*/) {
  const double seconds = request.seconds();
  if (!std::isfinite(seconds) || seconds <= 0) {
    throw CallError(StatusCode::INVALID_ARGUMENT, fmt::format("seconds: must be more than 0, is {}", seconds));
  }
  GameServer& service = loaded();
  try {
    service.update_step_interval(seconds);
  } catch (const Error& error) {
    throw CallError(StatusCode::INVALID_ARGUMENT, std::string("seconds: ") + error.what());
  }
}

void RoomPlay::set_timestamp(const v1::SetTimestampRequest& request, v1::SetTimestampReply& /*reply*/) {
  loaded().update_simulate_timestamp(request.timestamp());
}

// What an agent and its scheduling client tell each other.

Value RoomPlay::agent_key(const v1::Json& json, const char* field) const {
  try {
    return JsonReader({limits_.id_bytes, limits_.json_depth}).read(json.text());
  } catch (const JsonError& error) {
    throw CallError(StatusCode::INVALID_ARGUMENT, fmt::format("{}: {}", field, error.what()));
  }
}

void RoomPlay::get_agent_settings(const v1::GetAgentSettingsRequest& request, v1::GetAgentSettingsReply& reply) {
  require_agent();
  const Value id = agent_key(request.agent_id(), "agent_id");
  const Value name = agent_key(request.agent_name(), "agent_name");
  const Value settings = loaded().conn_req().req_client_agent_config(id, name);
  reply.mutable_settings()->set_encoding(v1::Json::ENCODING_JSON);
  reply.mutable_settings()->set_text(write_json(settings));
}

void RoomPlay::report_decisions(const v1::ReportDecisionsRequest& request, v1::ReportDecisionsReply& /*reply*/) {
  require_agent();
  if (request.decisions() < 0) throw CallError(StatusCode::INVALID_ARGUMENT, "decisions: must be 0 or more");
  const Value id = agent_key(request.agent_id(), "agent_id");
  const Value name = agent_key(request.agent_name(), "agent_name");
  loaded().conn_req().req_agent_times(id, name, request.decisions());
}

void RoomPlay::report_error(const v1::ReportErrorRequest& request, v1::ReportErrorReply& /*reply*/) {
  require_agent();
  if (request.text().size() > limits_.text_bytes) {
    throw CallError(StatusCode::RESOURCE_EXHAUSTED, fmt::format("the text has {} bytes, more than the {} allowed",
                                                                request.text().size(), limits_.text_bytes));
  }
  loaded().agent_error_message_output(request.text());
}

}  // namespace tessra::remote
