#include "support/spoiling_service.h"

#include <grpcpp/generic/async_generic_service.h>
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server.h>
#include <grpcpp/server_builder.h>

#include <mutex>

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

struct SpoilingService::Impl : grpc::CallbackGenericService {
  Impl(const remote::Address& good, const remote::ClientAccess& access, Fault given)
      : transport(good, access), fault(std::move(given)) {}

  class Call;
  grpc::ServerGenericBidiReactor* CreateReactor(grpc::GenericCallbackServerContext* context) override;

  grpc::Status answer(const std::string& method, const grpc::ByteBuffer& request_bytes, grpc::ByteBuffer& reply_bytes) {
    const std::lock_guard lock(mutex);
    const auto& service = *v1::HelloRequest::descriptor()->file()->service(0);
    const auto* called = service.FindMethodByName(method);
    const auto request = new_message(called->input_type()), reply = new_message(called->output_type());
    remote::unpack(request_bytes, *request);
    const std::optional<grpc::Status> instead = fault.request ? fault.request(*request) : std::nullopt;
    grpc::Status status = instead ? *instead : transport.call(method, *request, *reply, std::chrono::seconds(10));
    if (!instead && fault.reply) fault.reply(*reply, status);
    reply_bytes = remote::pack(*reply);
    return status;
  }

  std::mutex mutex;
  remote::Transport transport;
  Fault fault;
  std::unique_ptr<grpc::Server> server;
};

/// One call, which deletes itself at its end.
class SpoilingService::Impl::Call : public grpc::ServerGenericBidiReactor {
 public:
  Call(Impl& service, std::string method) : service_(service), method_(std::move(method)) { StartRead(&request_); }

  void OnReadDone(bool ok) override {
    if (!ok) return Finish({grpc::StatusCode::INTERNAL, "no request"});
    const grpc::Status status = service_.answer(method_, request_, reply_);
    if (!status.ok()) return Finish(status);
    StartWriteAndFinish(&reply_, {}, status);
  }
  void OnDone() override { delete this; }

 private:
  Impl& service_;
  std::string method_;
  grpc::ByteBuffer request_, reply_;
};

grpc::ServerGenericBidiReactor* SpoilingService::Impl::CreateReactor(grpc::GenericCallbackServerContext* context) {
  return new Call(*this, context->method().substr(context->method().rfind('/') + 1));
}

SpoilingService::SpoilingService(const std::string& socket, const remote::Address& good,
                                 const remote::ClientAccess& access, Fault fault)
    : impl_(std::make_unique<Impl>(good, access, std::move(fault))) {
  grpc::ServerBuilder builder;
  builder.AddListeningPort("unix:" + socket, grpc::InsecureServerCredentials());
  builder.RegisterCallbackGenericService(impl_.get());
  impl_->server = builder.BuildAndStart();
}

SpoilingService::~SpoilingService() { impl_->server->Shutdown(std::chrono::system_clock::now()); }

}  // namespace tessra::testing
