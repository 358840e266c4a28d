#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/support/status.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "services/remote/transport.h"
#include "tessra/v1/simulation.pb.h"

namespace tessra::testing {

/// A service that does something wrong: it passes calls on to a good one and spoils them on their way.
class SpoilingService {
 public:
  struct Fault {
    /// Changes a request, or answers it instead of the good service.
    std::function<std::optional<grpc::Status>(google::protobuf::Message& request)> request;
    /// Changes what the good service has answered.
    std::function<void(google::protobuf::Message& reply, grpc::Status& status)> reply;
  };

  /// Listens on the socket with this path.
  SpoilingService(const std::string& socket, const remote::Address& good, const remote::ClientAccess& access,
                  Fault fault);
  ~SpoilingService();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// The message as one of this kind, or null.
template <class Kind>
Kind* as(google::protobuf::Message& message) {
  return google::protobuf::DynamicCastToGenerated<Kind>(&message);
}

/// The room, token and number of a request that has them, or null.
v1::RoomCall* call_of(google::protobuf::Message& request);

/// The record in a reply, or null.
v1::Json* record_of(google::protobuf::Message& reply);

}  // namespace tessra::testing
