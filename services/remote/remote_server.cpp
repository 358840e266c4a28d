#include "services/remote/remote_server.h"

#include <fmt/format.h>

#include <algorithm>

#include "Tessra/base/json_write.h"
#include "services/package_answer.h"
#include "services/remote/unseen_camps.h"

namespace tessra::remote {

namespace {

using Reason = RemoteError::Reason;

v1::Json to_json(const Value& value) {
  v1::Json json;
  json.set_encoding(v1::Json::ENCODING_JSON);
  json.set_text(write_json(value));
  return json;
}

/// No reply can be had: the engine answers such failures with a code and tries again at its next start.
bool is_without_reply(const RemoteError& error) {
  return error.reason == Reason::unreachable || error.reason == Reason::timed_out || error.reason == Reason::room_lost;
}

Dict to_dict(const v1::Refusal& refusal) {
  Dict entry{{"number", std::int64_t{refusal.number()}}, {"command", refusal.command()}, {"reason", refusal.reason()}};
  if (!refusal.side().empty()) entry.set("side", refusal.side());
  return entry;
}

}  // namespace

RemoteServer::~RemoteServer() {
  attachment_.reset();
  if (link_ != nullptr) link_->close();
}

RoomLink& RemoteServer::link() {
  if (link_ == nullptr) {
    transport_ = std::make_unique<Transport>(settings_.address, settings_.access);
    link_ = std::make_unique<RoomLink>(*transport_, settings_.deadlines);
    link_->on_link = tell_;
  }
  return *link_;
}

// The room and its episode.

Value RemoteServer::connect_server() {
  last_failure_.clear();
  try {
    link().hello();
  } catch (const RemoteError& error) {
    if (!is_without_reply(error)) throw;
    last_failure_ = error.what();
    return {};
  }
  return true;
}

void RemoteServer::check_clean_rooms() { link().close_lost_rooms(); }

void RemoteServer::open_room() {
  v1::OpenRoomRequest request;
  request.set_lease_seconds(settings_.lease);
  request.set_step_interval_seconds(settings_.step_interval);
  if (is_ai_apply) request.set_side(settings_.side);
  if (had_room_) link().hello();  // it may be another server by now
  link().open(std::move(request));
  had_room_ = true;
  room_id = link().room();
  step_interval_.reset();
}

/// Answers 2 when the engine has to ask for sides and situation again: the service says so, or it is another room. A
/// room that was lost between two episodes costs nothing: the next one is played in a new one.
int RemoteServer::reset_room(int flag) {
  constexpr int kReopened = v1::ResetRoomReply::ANSWER_REOPENED;
  const bool was_open = link().is_open();
  const bool is_another = !was_open && had_room_;
  if (!was_open) open_room();
  v1::ResetRoomRequest request;
  request.set_reason(static_cast<v1::ResetRoomRequest::Reason>(flag));  // the engine's flags are the contract's reasons
  try {
    const auto reply = link().call<v1::ResetRoomReply>("ResetRoom", request, link().deadlines().start);
    return is_another || reply.answer() == kReopened ? kReopened : 0;
  } catch (const RemoteError& error) {
    if (error.reason != Reason::room_lost || !was_open) throw;
  }
  return reset_room(flag);
}

Value RemoteServer::reset(int flag) {
  constexpr int kNoReply = -1;
  commands_.clear();
  situation_.reset();
  step_.reset();
  timestamp_.reset();
  last_failure_.clear();
  try {
    return reset_room(flag);
  } catch (const RemoteError& error) {
    if (!is_without_reply(error)) throw;
    last_failure_ = error.what();
    return kNoReply;
  }
}

Value RemoteServer::get_scenarios() {
  const auto reply = link().call<v1::ListScenariosReply>("ListScenarios", v1::ListScenariosRequest());
  List names;
  for (const std::string& name : reply.names()) names.push_back(name);
  return names;
}

Value RemoteServer::load_scenario(const Value& name) {
  v1::LoadScenarioRequest request;
  request.set_name(name.to_text());
  request.set_seed(settings_.seed);
  request.set_episode(settings_.first_episode + episodes_loaded_);
  const bool loaded = link().call<v1::LoadScenarioReply>("LoadScenario", request, link().deadlines().start).loaded();
  if (loaded) ++episodes_loaded_;
  step_interval_.reset();
  return loaded;
}

Value RemoteServer::set_data_receive() {
  Dict sides;
  const auto reply = link().call<v1::GetSidesReply>("GetSides", v1::GetSidesRequest());
  for (const v1::Side& side : reply.sides()) {
    List friends;
    for (const std::string& id : side.friends()) friends.push_back(id);
    sides.set(side.id(), Dict{{"Name", side.name()}, {"Friend", friends}});
  }
  return sides;
}

void RemoteServer::request_full_situation() {
  situation_ =
      std::move(*link()
                     .call<v1::GetSituationReply>("GetSituation", v1::GetSituationRequest(), link().deadlines().start)
                     .mutable_record());
}

Value RemoteServer::get_init_situation() {
  if (!situation_) request_full_situation();
  Value record = read(*std::exchange(situation_, std::nullopt));
  if (is_ai_apply && record.is_dict()) add_unseen_camps(record.as_dict(), settings_.camps);
  return record;
}

/// Decodes a record from the memory it was received in.
Value RemoteServer::read(const v1::Json& record) {
  if (record.encoding() == v1::Json::ENCODING_UNSPECIFIED) return {};
  try {
    return reader_.read(record.text());
  } catch (const JsonError& error) {
    throw RemoteError(Reason::bad_request,
                      fmt::format("{}: a record is no valid JSON: {}", transport_->url(), error.what()));
  }
}

// Commands.

Value RemoteServer::do_package_command() {
  v1::ExecuteRequest request;
  for (std::string& text : commands_) request.add_commands(std::move(text));
  commands_.clear();
  const auto reply = link().call<v1::ExecuteReply>("Execute", std::move(request));
  List refused;
  for (const v1::Refusal& refusal : reply.refused()) refused.push_back(to_dict(refusal));
  Dict answer = package_answer(refused);
  if (!reply.report().empty()) answer.update(Dict{{"message", "Error"}, {"resbin", reply.report()}});
  return answer;
}

void RemoteServer::run_command(std::string_view text) {
  v1::RunCommandRequest request;
  request.set_command(std::string(text));
  const std::string refusal = link().call<v1::RunCommandReply>("RunCommand", request).refusal();
  if (!refusal.empty()) throw RemoteError(Reason::refused, refusal);
}

// Time.

/// An advance may take as long as it likes, within reason: the larger of 10 s and 20 times the usual one.
void RemoteServer::run_simulate() {
  v1::AdvanceRequest request;
  if (timestamp_) request.set_timestamp(*timestamp_);
  const auto limit = std::max(link().deadlines().usual, std::chrono::duration<double>(20 * usual_advance_));
  const auto start = std::chrono::steady_clock::now();
  step_ = std::move(*link().call<v1::AdvanceReply>("Advance", std::move(request), limit).mutable_record());
  timestamp_.reset();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  usual_advance_ = usual_advance_ == 0 ? taken.count() : 0.9 * usual_advance_ + 0.1 * taken.count();
}

Value RemoteServer::get_step_situation() {
  if (is_ai_apply) {
    if (is_stopped()) return Dict{{"Crash", true}};
    if (!step_) run_simulate();  // in this mode the engine asks for the record alone
  }
  if (!step_) return {};
  return read(*std::exchange(step_, std::nullopt));
}

void RemoteServer::simulate_end() { link().call<v1::EndEpisodeReply>("EndEpisode", v1::EndEpisodeRequest()); }

// Scheduling clients.

void RemoteServer::connect_client(std::shared_ptr<StopEvent> stop) {
  {
    const std::lock_guard lock(mutex_);
    stop_ = stop;
    if (stopping_) {
      stop_->set();
      throw Error("the client is stopping");
    }
  }
  link().hello();
  attachment_.reset();
  if (!link().is_open()) open_room();
  attachment_ = std::make_unique<Attachment>(*transport_, link(), std::move(stop));
}

void RemoteServer::stop() {
  const std::lock_guard lock(mutex_);
  stopping_ = true;
  if (stop_ != nullptr) stop_->set();
}

bool RemoteServer::is_stopped() {
  const std::lock_guard lock(mutex_);
  return stop_ != nullptr && stop_->is_set();
}

void RemoteServer::agent_error_message_output(std::string_view text) {
  v1::ReportErrorRequest request;
  request.set_text(std::string(text));
  link().call<v1::ReportErrorReply>("ReportError", request);
}

void RemoteServer::update_step_interval(const Value& seconds) {
  const double interval = seconds.as_real();
  if (step_interval_ == interval) return;  // asked for before every advance
  v1::SetStepIntervalRequest request;
  request.set_seconds(interval);
  link().call<v1::SetStepIntervalReply>("SetStepInterval", request);
  step_interval_ = interval;
}

void RemoteServer::delete_scen(int /*kind*/, std::string_view name) {
  v1::DeleteScenarioRequest request;
  request.set_name(std::string(name));
  link().call<v1::DeleteScenarioReply>("DeleteScenario", request);
}

Value RemoteServer::req_client_agent_config(const Value& agent_id, const Value& agent_name) {
  v1::GetAgentSettingsRequest request;
  *request.mutable_agent_id() = to_json(agent_id);
  *request.mutable_agent_name() = to_json(agent_name);
  const Value settings = read(link().call<v1::GetAgentSettingsReply>("GetAgentSettings", request).settings());
  return settings.is_none() ? Value(Dict()) : settings;
}

void RemoteServer::req_agent_times(const Value& agent_id, const Value& agent_name, std::int64_t agent_times) {
  v1::ReportDecisionsRequest request;
  *request.mutable_agent_id() = to_json(agent_id);
  *request.mutable_agent_name() = to_json(agent_name);
  request.set_decisions(agent_times);
  decisions_ = agent_times;
  link().call<v1::ReportDecisionsReply>("ReportDecisions", request);
}

}  // namespace tessra::remote
