// Fuzzes a server's calls: any message of any call, in a room that exists or not, with the right number or another one.
// Whatever arrives, the answer is one of the documented statuses and the room takes the next call.

#include <fuzzer/FuzzedDataProvider.h>
#include <google/protobuf/dynamic_message.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "fuzz/require.h"
#include "services/remote/secrets.h"
#include "services/remote/service_host.h"
#include "services/remote/transport.h"
#include "services/side_server.h"

#include "tessra/v1/simulation.pb.h"

namespace {

using namespace tessra;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

constexpr std::chrono::seconds kLimit{10};

/// A server with one kind of rooms, and a room on it.
class Server {
 public:
  explicit Server(const std::string& side)
      : host_(remote::read_listen_address("unix:" + socket(side), false), {}, options(side)),
        transport_(remote::read_url("grpc+unix:" + socket(side)), {}),
        side_(side) {
    host_.set_ready();
  }

  grpc::Status call(const std::string& method, const Message& request, Message& reply) {
    return transport_.call(method, request, reply, kLimit);
  }

  /// The room's call of the next number, opening a room where there is none.
  v1::RoomCall next_call() {
    v1::ResumeRoomRequest resume;
    resume.set_room(room_.room());
    resume.set_token(room_.token());
    v1::ResumeRoomReply resumed;
    if (!call("ResumeRoom", resume, resumed).ok()) {
      v1::OpenRoomRequest open;
      open.set_request_id(remote::random_id());
      open.set_side(side_);
      require(call("OpenRoom", open, room_).ok(), "a room can be opened");
      resumed.set_next_number(1);
    }
    v1::RoomCall next;
    next.set_room(room_.room());
    next.set_token(room_.token());
    next.set_number(resumed.next_number());
    return next;
  }

 private:
  static std::string socket(const std::string& side) {
    static const std::string folder = std::filesystem::temp_directory_path() / ("fuzz-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    return folder + (side.empty() ? "/whole" : "/side");
  }

  static remote::RoomOptions options(const std::string& side) {
    remote::RoomOptions rooms;
    rooms.make_backend =
        side.empty() ? remote::backend_of("embedded:" TESSRA_SOURCE_DIR "/scenarios/check") : agent_backend(side);
    rooms.agent_side = side;
    rooms.limits.rooms = 1'000'000;  // the fuzzer opens rooms faster than their leases run out
    rooms.lease = std::chrono::seconds(1);
    return rooms;
  }

  static remote::MakeBackend agent_backend(const std::string& side) {
    return [side](const remote::RoomPlan&) {
      const Dict server{{"url", "embedded:" TESSRA_SOURCE_DIR "/scenarios/check"}};
      const Dict section{{"server", server}, {"simulate", Dict{{"scenario", "tiny"}}}, {"is_ai_apply", true}};
      return std::make_shared<SideServer>(GameServer::create(section), SideServer::Agent{side, "id", 1});
    };
  }

  remote::ServiceHost host_;
  remote::Transport transport_;
  std::string side_;
  v1::OpenRoomReply room_;
};

bool is_documented(grpc::StatusCode code) {
  constexpr std::array kCodes{grpc::OK,        grpc::INVALID_ARGUMENT,   grpc::PERMISSION_DENIED,
                              grpc::NOT_FOUND, grpc::OUT_OF_RANGE,       grpc::FAILED_PRECONDITION,
                              grpc::ABORTED,   grpc::RESOURCE_EXHAUSTED, grpc::UNIMPLEMENTED};
  return std::ranges::find(kCodes, code) != kCodes.end();
}

/// One call with a message from the input; mostly in the room and with the number that is next.
void make_call(Server& server, FuzzedDataProvider& bytes) {
  const auto& service = *v1::HelloRequest::descriptor()->file()->service(0);
  const auto& method = *service.method(bytes.ConsumeIntegralInRange(0, service.method_count() - 1));
  if (method.server_streaming()) return;
  MessageFactory& factory = *MessageFactory::generated_factory();
  const std::unique_ptr<Message> request(factory.GetPrototype(method.input_type())->New());
  const std::unique_ptr<Message> reply(factory.GetPrototype(method.output_type())->New());
  const bool in_room = bytes.ConsumeIntegralInRange(0, 7) > 0;
  static_cast<void>(request->ParsePartialFromString(bytes.ConsumeRandomLengthString(2000)));
  const auto* call = method.input_type()->FindFieldByName("call");
  if (call != nullptr && in_room) {
    request->GetReflection()->MutableMessage(request.get(), call)->CopyFrom(server.next_call());
  }
  const grpc::Status status = server.call(method.name(), *request, *reply);
  require(is_documented(status.error_code()),
          method.name() + " answers " + std::to_string(status.error_code()) + ": " + status.error_message());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Server whole("");
  static Server agents("红方");
  FuzzedDataProvider bytes(data, size);
  Server& server = bytes.ConsumeBool() ? agents : whole;
  while (bytes.remaining_bytes() > 0) make_call(server, bytes);
  server.next_call();  // the server goes on
  return 0;
}
