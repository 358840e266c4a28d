#pragma once

#include <google/protobuf/message_lite.h>
#include <grpcpp/channel.h>
#include <grpcpp/completion_queue.h>
#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/security/credentials.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

#include "services/remote/address.h"

namespace tessra::remote {

/// What a client shows to a server, and what it trusts. Texts of PEM files, not their names.
struct ClientAccess {
  std::string token;
  std::string trusted;  ///< certificates of authorities; empty: those of the system
  std::string certificate;
  std::string key;
};

/// A connection to a server that makes one call at a time. Knows deadlines, credentials and checksums, but neither
/// rooms nor numbers. Used by one thread at a time.
class Transport {
 public:
  /// Opens a channel, which connects at the first call. Throws `RemoteError` if a token would travel in plain text over
  /// the network.
  Transport(Address address, const ClientAccess& access);
  ~Transport();
  Transport(const Transport&) = delete;
  Transport& operator=(const Transport&) = delete;

  enum class WhenDown { fail, wait };

  /// Makes one call and waits for its reply, at most for `limit`. `method` is a name of the service Simulation. A
  /// request or reply that was damaged on its way is the status DATA_LOSS. With `WhenDown::wait` the limit includes the
  /// time until a server can be reached.
  grpc::Status call(const std::string& method, const google::protobuf::MessageLite& request,
                    google::protobuf::MessageLite& reply, std::chrono::duration<double> limit,
                    WhenDown when_down = WhenDown::fail);

  /// Gives the connection up and makes another one at the next call: for one that does not come about, although there
  /// may be a server by now.
  void renew();

  /// For streams. Safe from any thread.
  std::shared_ptr<grpc::Channel> channel() const;
  /// Adds what every call carries.
  void authorize(grpc::ClientContext& context) const;

  std::string url() const { return address_.url(); }

 private:
  Address address_;
  std::string authorization_;
  std::shared_ptr<grpc::ChannelCredentials> credentials_;
  mutable std::mutex mutex_;  // guards the channel
  std::shared_ptr<grpc::Channel> channel_;
  std::unique_ptr<grpc::GenericStub> stub_;
  grpc::CompletionQueue calls_;
};

}  // namespace tessra::remote
