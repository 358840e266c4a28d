#include "services/remote/service_host.h"

#include <fmt/format.h>
#include <google/protobuf/stubs/logging.h>
#include <grpcpp/ext/proto_server_reflection_plugin.h>
#include <grpcpp/health_check_service_interface.h>
#include <grpcpp/resource_quota.h>
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server.h>
#include <grpcpp/server_builder.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "services/remote/message_bytes.h"
#include "services/remote/wire_service.h"

namespace tessra::remote {

namespace {

void check_access(const Address& listen, const ServerAccess& access) {
  if (access.certificate.empty() != access.key.empty()) throw Error("a certificate and its key belong together");
  if (!access.client_authority.empty() && !listen.tls)
    throw Error("client certificates need a certificate of the server");
  if (listen.local) return;
  if (!listen.tls) {
    throw Error(
        fmt::format("{} is open to the network: plain text is for loopback and Unix sockets, give a certificate "
                    "and its key",
                    listen.target));
  }
  if (access.token.empty() && access.client_authority.empty()) {
    throw Error(fmt::format("{} is open to the network: ask for a token or for client certificates", listen.target));
  }
}

std::shared_ptr<grpc::ServerCredentials> credentials(const Address& listen, const ServerAccess& access) {
  if (!listen.tls) return grpc::InsecureServerCredentials();
  grpc::SslServerCredentialsOptions options(access.client_authority.empty()
                                                ? GRPC_SSL_DONT_REQUEST_CLIENT_CERTIFICATE
                                                : GRPC_SSL_REQUEST_AND_REQUIRE_CLIENT_CERTIFICATE_AND_VERIFY);
  options.pem_root_certs = access.client_authority;
  options.pem_key_cert_pairs.push_back({access.key, access.certificate});
  return grpc::SslServerCredentials(options);
}

void set_arguments(grpc::ServerBuilder& builder) {
  // Streams take a thread each, those of reflection without a token.
  builder.SetResourceQuota(grpc::ResourceQuota().SetMaxThreads(64));
  // The limit of a message is that of its bytes on the wire: a small one must not become a large one here.
  builder.SetCompressionAlgorithmSupportStatus(GRPC_COMPRESS_DEFLATE, false);
  builder.SetCompressionAlgorithmSupportStatus(GRPC_COMPRESS_GZIP, false);
  // A client that vanished without a word is noticed, also where an open stream keeps its room.
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIME_MS, 10'000);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, 10'000);
  builder.SetMaxReceiveMessageSize(kLargestMessage);
  builder.SetMaxSendMessageSize(kLargestMessage);
  // Clients ping every 30 seconds, also between calls: by default that is too often, and they would be thrown out.
  builder.AddChannelArgument(GRPC_ARG_HTTP2_MIN_RECV_PING_INTERVAL_WITHOUT_DATA_MS, 10'000);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_PERMIT_WITHOUT_CALLS, 1);
  builder.AddChannelArgument(GRPC_ARG_HTTP2_MAX_PINGS_WITHOUT_DATA, 0);
  // A port that somebody else listens on is an error, not a way to share his clients.
  builder.AddChannelArgument(GRPC_ARG_ALLOW_REUSEPORT, 0);
}

/// gRPC takes a Unix socket away from whoever listens there.
void check_free(const Address& listen) {
  if (!listen.target.starts_with("unix:")) return;
  const std::string path = listen.target.substr(5);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) throw Error(path + ": too long for a socket");
  path.copy(address.sun_path, path.size());
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool taken = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  ::close(socket);
  if (taken) throw SurroundingsError("cannot listen on " + listen.target + ": it is taken");
}

}  // namespace

MakeBackend backend_of(const std::string& url) {
  return [url](const RoomPlan& plan) {
    const Dict server{{"url", url}, {"seed", plan.seed}, {"first_episode", static_cast<std::int64_t>(plan.episode)}};
    Dict simulate;
    if (plan.step_interval > 0) simulate.set("decision_interval", plan.step_interval);
    return GameServer::create(Dict{{"server", server}, {"simulate", simulate}});
  };
}

struct ServiceHost::Impl {
  Impl(Address listen, const std::string& token, RoomOptions options)
      : address(std::move(listen)), rooms(std::move(options)), service(rooms, token) {}

  Address address;
  RoomRegistry rooms;
  WireService service;
  std::unique_ptr<grpc::Server> server;
  bool stopped = false;
};

ServiceHost::ServiceHost(const Address& listen, const ServerAccess& access, RoomOptions rooms) {
  check_access(listen, access);
  check_free(listen);
  // Once per process: servers made later have them.
  static const bool plugins = [] {
    grpc::EnableDefaultHealthCheckService(true);
    grpc::reflection::InitProtoReflectionServerBuilderPlugin();
    // What a client sends wrong is told to the client, not to our standard error.
    google::protobuf::SetLogHandler(nullptr);
    return true;
  }();
  static_cast<void>(plugins);
  impl_ = std::make_unique<Impl>(listen, access.token, std::move(rooms));
  grpc::ServerBuilder builder;
  set_arguments(builder);
  int port = 0;
  builder.AddListeningPort(listen.target, credentials(listen, access), &port);
  builder.RegisterService(&impl_->service);
  impl_->server = builder.BuildAndStart();
  if (impl_->server == nullptr || port == 0) {
    throw SurroundingsError(
        fmt::format("cannot listen on {}: it is taken, not ours, or certificate and key do not fit", listen.target));
  }
  if (!listen.target.starts_with("unix:")) {
    impl_->address.target = listen.target.substr(0, listen.target.rfind(':') + 1) + std::to_string(port);
  }
  impl_->server->GetHealthCheckService()->SetServingStatus(false);
}

ServiceHost::~ServiceHost() { stop(std::chrono::milliseconds(0)); }

Address ServiceHost::address() const { return impl_->address; }

void ServiceHost::set_ready() {
  impl_->service.set_ready();
  impl_->server->GetHealthCheckService()->SetServingStatus(true);
}

bool ServiceHost::stop(std::chrono::milliseconds grace) {
  if (std::exchange(impl_->stopped, true)) return true;
  const auto until = std::chrono::steady_clock::now() + grace;
  impl_->server->GetHealthCheckService()->SetServingStatus(false);
  impl_->service.tell_closing();
  const bool ended = impl_->rooms.end(until);
  impl_->server->Shutdown(std::chrono::system_clock::now() + std::chrono::milliseconds(200));
  return ended;
}

}  // namespace tessra::remote
