#include "support/spoiling_service.h"

#include <grpcpp/generic/async_generic_service.h>
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server.h>
#include <grpcpp/server_builder.h>

#include <thread>

#include "services/remote/message_bytes.h"

namespace tessra::testing {

namespace {

using google::protobuf::Message;

std::unique_ptr<Message> new_message(const google::protobuf::Descriptor* type) {
  return std::unique_ptr<Message>(google::protobuf::MessageFactory::generated_factory()->GetPrototype(type)->New());
}

Message* part_of(Message& message, const char* field) {
  const auto* found = message.GetDescriptor()->FindFieldByName(field);
  return found != nullptr ? message.GetReflection()->MutableMessage(&message, found) : nullptr;
}

}  // namespace

v1::RoomCall* call_of(Message& request) {
  Message* call = part_of(request, "call");
  return call != nullptr ? as<v1::RoomCall>(*call) : nullptr;
}

v1::Json* record_of(Message& reply) {
  Message* record = part_of(reply, "record");
  return record != nullptr ? as<v1::Json>(*record) : nullptr;
}

/// Carries calls one after the other, on a thread of its own.
struct SpoilingService::Impl {
  Impl(const std::string& socket, const remote::Address& good, const remote::ClientAccess& access, Fault given)
      : transport(good, access), fault(std::move(given)) {
    grpc::ServerBuilder builder;
    builder.AddListeningPort("unix:" + socket, grpc::InsecureServerCredentials());
    builder.RegisterAsyncGenericService(&calls);
    events = builder.AddCompletionQueue();
    server = builder.BuildAndStart();
    thread = std::thread([this] {
      while (serve_call()) continue;
    });
  }

  ~Impl() {
    server->Shutdown(std::chrono::system_clock::now());
    thread.join();  // which may still ask for a call: it gets none
    events->Shutdown();
    while (wait().first) continue;
  }

  /// Whether there was an event, and whether it was a success.
  std::pair<bool, bool> wait() const {
    void* tag = nullptr;
    bool ok = false;
    const bool came = events->Next(&tag, &ok);
    return {came, came && ok};
  }

  bool serve_call() {
    grpc::GenericServerContext context;
    grpc::GenericServerAsyncReaderWriter stream(&context);
    calls.RequestCall(&context, &stream, events.get(), events.get(), this);
    if (!wait().second) return false;
    grpc::ByteBuffer request, reply;
    stream.Read(&request, this);
    wait();  // without a request the answer reaches nobody either
    const grpc::Status status = answer(context.method().substr(context.method().rfind('/') + 1), request, reply);
    if (status.ok()) stream.WriteAndFinish(reply, {}, status, this);
    if (!status.ok()) stream.Finish(status, this);
    return wait().first;
  }

  grpc::Status answer(const std::string& method, const grpc::ByteBuffer& request_bytes, grpc::ByteBuffer& reply_bytes) {
    const auto& service = *v1::HelloRequest::descriptor()->file()->service(0);
    const auto* called = service.FindMethodByName(method);
    const auto request = new_message(called->input_type());
    const auto reply = new_message(called->output_type());
    remote::unpack(request_bytes, *request);
    const std::optional<grpc::Status> instead = fault.request ? fault.request(*request) : std::nullopt;
    grpc::Status status = instead ? *instead : transport.call(method, *request, *reply, std::chrono::seconds(10));
    if (!instead && fault.reply) fault.reply(*reply, status);
    reply_bytes = remote::pack(*reply);
    return status;
  }

  remote::Transport transport;
  Fault fault;
  grpc::AsyncGenericService calls;
  std::unique_ptr<grpc::ServerCompletionQueue> events;
  std::unique_ptr<grpc::Server> server;
  std::thread thread;
};

SpoilingService::SpoilingService(const std::string& socket, const remote::Address& good,
                                 const remote::ClientAccess& access, Fault fault)
    : impl_(std::make_unique<Impl>(socket, good, access, std::move(fault))) {}

SpoilingService::~SpoilingService() = default;

}  // namespace tessra::testing
