#include "services/remote/wire_service.h"

#include <fmt/format.h>
#include <grpcpp/support/method_handler.h>

#include <algorithm>

#include "services/remote/message_bytes.h"
#include "services/remote/protocol.h"
#include "services/remote/secrets.h"

namespace tessra::remote {

namespace {

using grpc::Status;
using grpc::StatusCode;

template <class Request>
Request read_request(const grpc::ByteBuffer& bytes) {
  Request request;
  if (!unpack(bytes, request)) throw CallError(StatusCode::INVALID_ARGUMENT, "the request is not what this call takes");
  return request;
}

v1::HelloReply greet(const v1::HelloRequest& request, const std::string& instance) {
  const std::uint32_t version = std::min(request.newest_version(), kNewestVersion);
  if (version < std::max(request.oldest_version(), kOldestVersion)) {
    throw CallError(StatusCode::FAILED_PRECONDITION,
                    fmt::format("this server speaks versions {} to {}, the client {} to {}", kOldestVersion,
                                kNewestVersion, request.oldest_version(), request.newest_version()));
  }
  v1::HelloReply reply;
  reply.set_version(version);
  reply.set_instance(instance);
  reply.set_largest_message(kLargestMessage);
  reply.set_server("tessra " TESSRA_VERSION);
  return reply;
}

}  // namespace

WireService::WireService(RoomRegistry& rooms, std::string token)
    : rooms_(rooms), authorization_(token.empty() ? "" : "Bearer " + token), instance_(random_id()) {
  add_calls_without_room();
  add_room_call("ResetRoom", &RoomPlay::reset);
  add_room_call("ListScenarios", &RoomPlay::list_scenarios);
  add_room_call("LoadScenario", &RoomPlay::load_scenario);
  add_room_call("DeleteScenario", &RoomPlay::delete_scenario);
  add_room_call("GetSides", &RoomPlay::get_sides);
  add_room_call("GetSituation", &RoomPlay::get_situation);
  add_room_call("RunCommand", &RoomPlay::run_command);
  add_room_call("Execute", &RoomPlay::execute);
  add_room_call("Advance", &RoomPlay::advance);
  add_room_call("EndEpisode", &RoomPlay::end_episode);
  add_room_call("SetStepInterval", &RoomPlay::set_step_interval);
  add_room_call("SetTimestamp", &RoomPlay::set_timestamp);
  add_room_call("GetAgentSettings", &RoomPlay::get_agent_settings);
  add_room_call("ReportDecisions", &RoomPlay::report_decisions);
  add_room_call("ReportError", &RoomPlay::report_error);
  add_methods();
}

void WireService::Pending::finish(const Status& status, const grpc::ByteBuffer& reply) const {
  if (status.ok()) {
    context->AddTrailingMetadata(kChecksumKey, checksum_text(reply));
    *slot = reply;
  }
  reactor->Finish(status);
}

/// Registers the handlers as the generated code does for one method at a time.
void WireService::add_methods() {
  const google::protobuf::ServiceDescriptor& service = *v1::HelloRequest::descriptor()->file()->service(0);
  for (int i = 0; i < service.method_count(); ++i) {
    const auto handler = handlers_.find(service.method(i)->name());
    if (handler == handlers_.end()) continue;  // Attach
    MarkMethodRawCallback(
        i, new grpc::internal::CallbackUnaryHandler<grpc::ByteBuffer, grpc::ByteBuffer>(
               [this, &run = handler->second](grpc::CallbackServerContext* context, const grpc::ByteBuffer* request,
                                              grpc::ByteBuffer* slot) {
                 // To be asked for once: every call makes a new one in the same place.
                 grpc::ServerUnaryReactor* reactor = context->DefaultReactor();
                 answer(run, *request, {context, slot, reactor});
                 return reactor;
               }));
  }
}

void WireService::answer(const Handler& handler, const grpc::ByteBuffer& request, const Pending& call) {
  Status status = admit(call.context->client_metadata());
  if (status.ok() && !fits_checksum(request, call.context->client_metadata())) {
    status = {StatusCode::DATA_LOSS, "the request was damaged on its way"};
  }
  if (status.ok()) status = status_of([&] { handler(request, call); });
  if (!status.ok()) call.finish(status, {});
}

Status WireService::admit(const std::multimap<grpc::string_ref, grpc::string_ref>& metadata) const {
  if (!ready_) return {StatusCode::UNAVAILABLE, "the server is not ready yet"};
  if (authorization_.empty()) return {};
  const auto given = metadata.find("authorization");
  if (given == metadata.end()) return {StatusCode::UNAUTHENTICATED, "a token is required"};
  if (same_secret({given->second.data(), given->second.size()}, authorization_)) return {};
  return {StatusCode::UNAUTHENTICATED, "the token is wrong"};
}

/// A call that is answered at once by `run(request)`.
template <class Request, class Reply, class Run>
WireService::Handler WireService::plain_call(Run run) {
  return [run](const grpc::ByteBuffer& bytes, const Pending& call) {
    const Reply reply = run(read_request<Request>(bytes));
    call.finish({}, pack(reply));
  };
}

/// A call that the room's thread carries out.
template <class Request, class Reply>
void WireService::add_room_call(const std::string& method, void (RoomPlay::*run)(const Request&, Reply&)) {
  // Requests of different methods may have the same bytes.
  const std::uint64_t salt = std::hash<std::string>()(method);
  handlers_[method] = [this, run, salt](const grpc::ByteBuffer& bytes, const Pending& call) {
    const auto request = std::make_shared<const Request>(read_request<Request>(bytes));
    const v1::RoomCall& head = request->call();
    const auto play = [run, request](RoomPlay& room) {
      Reply reply;
      (room.*run)(*request, reply);
      return pack(reply);
    };
    const auto finish = [call](const Room::Outcome& outcome) { call.finish(outcome.status, outcome.reply); };
    rooms_.find(head.room(), head.token())
        ->submit({.number = head.number(),
                  .digest = checksum(bytes) ^ salt,
                  .run = play,
                  .finish = finish,
                  .is_abandoned = [call] { return call.is_abandoned(); }});
  };
}

void WireService::add_calls_without_room() {
  handlers_["Hello"] = plain_call<v1::HelloRequest, v1::HelloReply>(
      [this](const v1::HelloRequest& request) { return greet(request, instance_); });
  handlers_["ListRooms"] =
      plain_call<v1::ListRoomsRequest, v1::ListRoomsReply>([this](const v1::ListRoomsRequest& request) {
        v1::ListRoomsReply reply;
        for (std::string& id : rooms_.rooms_of(request.client_id())) reply.add_rooms(std::move(id));
        return reply;
      });
  handlers_["CloseRoom"] = [this](const grpc::ByteBuffer& bytes, const Pending& call) {
    const auto request = read_request<v1::CloseRoomRequest>(bytes);
    rooms_.close(request.room(), request.token(), [call] { call.finish({}, pack(v1::CloseRoomReply())); });
  };
  handlers_["OpenRoom"] = [this](const grpc::ByteBuffer& bytes, const Pending& call) {
    rooms_.open(read_request<v1::OpenRoomRequest>(bytes), [call](const Status& status, const Room::Terms& terms) {
      v1::OpenRoomReply reply;
      reply.set_room(terms.id);
      reply.set_token(terms.token);
      reply.set_lease_seconds(static_cast<std::uint32_t>(terms.lease.count()));
      call.finish(status, pack(reply));
    });
  };
  handlers_["ResumeRoom"] = [this](const grpc::ByteBuffer& bytes, const Pending& call) {
    const auto request = read_request<v1::ResumeRoomRequest>(bytes);
    rooms_.find(request.room(), request.token())
        ->resume(
            [call](const Status& status, std::uint64_t next_number) {
              v1::ResumeRoomReply reply;
              reply.set_next_number(next_number);
              call.finish(status, pack(reply));
            },
            [call] { return call.is_abandoned(); });
  };
}

grpc::Status WireService::Attach(grpc::ServerContext* context, const v1::AttachRequest* request,
                                 grpc::ServerWriter<v1::AttachEvent>* events) {
  if (Status status = admit(context->client_metadata()); !status.ok()) return status;
  if (rooms_.agent_side().empty()) return {StatusCode::UNIMPLEMENTED, "this service has no agents"};
  std::shared_ptr<Room> room;
  Status found = status_of([&] { room = rooms_.find(request->room(), request->token()); });
  if (!found.ok()) return found;
  const auto send = [&](v1::AttachEvent::Kind kind) {
    v1::AttachEvent event;
    event.set_kind(kind);
    return events->Write(event);
  };
  const std::uint64_t stream = room->attach();
  bool open = send(v1::AttachEvent::KIND_ATTACHED);
  while (open && !context->IsCancelled() && room->is_attached(stream) && !room->has_ended() && !closing_.is_set()) {
    if (!room->stop()->wait_for(std::chrono::milliseconds(100))) continue;
    send(v1::AttachEvent::KIND_STOP);
    open = false;
  }
  if (open && closing_.is_set()) send(v1::AttachEvent::KIND_CLOSING);
  room->detach(stream);
  return {};
}

}  // namespace tessra::remote
