#include "services/remote/transport.h"

#include <grpcpp/client_context.h>
#include <grpcpp/create_channel.h>

#include "services/remote/message_bytes.h"
#include "services/remote/remote_error.h"
#include "services/remote/secrets.h"

namespace tessra::remote {

namespace {

std::shared_ptr<grpc::ChannelCredentials> credentials(const Address& address, const ClientAccess& access) {
  if (address.tls) return grpc::SslCredentials({access.trusted, access.key, access.certificate});
  if (!access.token.empty() && !address.local) {
    throw RemoteError(RemoteError::Reason::refused_token,
                      address.url() + ": a token does not travel in plain text over the network; use grpcs://");
  }
  return grpc::InsecureChannelCredentials();
}

/// The transport ends the process over a header that is none.
std::string authorization_of(const std::string& token) {
  check_token(token, "the token");
  return token.empty() ? "" : "Bearer " + token;
}

grpc::ChannelArguments arguments() {
  grpc::ChannelArguments args;
  args.SetMaxReceiveMessageSize(kLargestMessage);
  args.SetMaxSendMessageSize(kLargestMessage);
  // A server that vanished without a word is noticed, even between calls.
  args.SetInt(GRPC_ARG_KEEPALIVE_TIME_MS, 30'000);
  args.SetInt(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, 10'000);
  args.SetInt(GRPC_ARG_KEEPALIVE_PERMIT_WITHOUT_CALLS, 1);
  args.SetInt(GRPC_ARG_HTTP2_MAX_PINGS_WITHOUT_DATA, 0);
  args.SetInt(GRPC_ARG_INITIAL_RECONNECT_BACKOFF_MS, 100);
  args.SetInt(GRPC_ARG_MIN_RECONNECT_BACKOFF_MS, 1'000);
  args.SetInt(GRPC_ARG_MAX_RECONNECT_BACKOFF_MS, 1'000);
  // Repeating calls is the room link's business, which knows their numbers.
  args.SetInt(GRPC_ARG_ENABLE_RETRIES, 0);
  // Clients of one process do not share a connection: what breaks one does not break the others.
  args.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
  args.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
  return args;
}

}  // namespace

Transport::Transport(Address address, const ClientAccess& access)
    : address_(std::move(address)),
      authorization_(authorization_of(access.token)),
      credentials_(credentials(address_, access)) {
  renew();
}

void Transport::renew() {
  auto channel = grpc::CreateCustomChannel(address_.target, credentials_, arguments());
  stub_ = std::make_unique<grpc::GenericStub>(channel);
  const std::lock_guard lock(mutex_);
  channel_ = std::move(channel);
}

std::shared_ptr<grpc::Channel> Transport::channel() const {
  const std::lock_guard lock(mutex_);
  return channel_;
}

Transport::~Transport() {
  calls_.Shutdown();
  void* tag = nullptr;
  for (bool ok = false; calls_.Next(&tag, &ok);) {
  }
}

void Transport::authorize(grpc::ClientContext& context) const {
  if (!authorization_.empty()) context.AddMetadata("authorization", authorization_);
}

grpc::Status Transport::call(const std::string& method, const google::protobuf::MessageLite& request,
                             google::protobuf::MessageLite& reply, std::chrono::duration<double> limit,
                             WhenDown when_down) {
  const grpc::ByteBuffer request_bytes = pack(request);
  grpc::ClientContext context;
  context.set_deadline(std::chrono::system_clock::now() +
                       std::chrono::duration_cast<std::chrono::system_clock::duration>(limit));
  context.set_wait_for_ready(when_down == WhenDown::wait);
  context.AddMetadata(kChecksumKey, checksum_text(request_bytes));
  authorize(context);
  grpc::ByteBuffer reply_bytes;
  grpc::Status status;
  const auto call = stub_->PrepareUnaryCall(&context, "/tessra.v1.Simulation/" + method, request_bytes, &calls_);
  call->StartCall();
  call->Finish(&reply_bytes, &status, nullptr);
  void* tag = nullptr;
  bool ok = false;
  calls_.Next(&tag, &ok);  // the only call of this queue has ended
  if (!status.ok()) return status;
  if (!fits_checksum(reply_bytes, context.GetServerTrailingMetadata()) || !unpack(reply_bytes, reply)) {
    return {grpc::StatusCode::DATA_LOSS, "the reply was damaged on its way"};
  }
  return status;
}

}  // namespace tessra::remote
