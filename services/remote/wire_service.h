#pragma once

#include <grpcpp/support/server_callback.h>

#include <atomic>
#include <functional>
#include <string>
#include <unordered_map>

#include "services/remote/room_registry.h"
#include "tessra/v1/simulation.grpc.pb.h"

namespace tessra::remote {

/// The gRPC side of a server: checks who calls and what, and passes calls on to rooms. The calls are taken as bytes, so
/// that checksums cover them and a kept reply is sent again without writing it anew.
class WireService : public v1::Simulation::Service {
 public:
  /// `token` is the bearer token every call must carry; empty: none.
  WireService(RoomRegistry& rooms, std::string token);

  /// Until then every call is answered UNAVAILABLE.
  void set_ready() { ready_ = true; }
  /// Tells attached agents that the server ends.
  void tell_closing() { closing_.set(); }

  grpc::Status Attach(grpc::ServerContext* context, const v1::AttachRequest* request,
                      grpc::ServerWriter<v1::AttachEvent>* events) override;

 private:
  /// A call that waits for its answer, which is given once, from any thread.
  struct Pending {
    grpc::CallbackServerContext* context;
    grpc::ByteBuffer* slot;  ///< for the reply
    grpc::ServerUnaryReactor* reactor;

    /// Sends a reply with its checksum, or a status that is not OK.
    void finish(const grpc::Status& status, const grpc::ByteBuffer& reply) const;
    /// The client has given the call up.
    bool is_abandoned() const { return context->IsCancelled(); }
  };
  /// Answers a call, now or later.
  using Handler = std::function<void(const grpc::ByteBuffer& request, const Pending& call)>;

  void add_methods();
  void add_calls_without_room();
  void answer(const Handler& handler, const grpc::ByteBuffer& request, const Pending& call);
  grpc::Status admit(const std::multimap<grpc::string_ref, grpc::string_ref>& metadata) const;

  template <class Request, class Reply, class Run>
  Handler plain_call(Run run);
  template <class Request, class Reply>
  void add_room_call(const std::string& method, void (RoomPlay::*run)(const Request&, Reply&));

  RoomRegistry& rooms_;
  const std::string authorization_;
  const std::string instance_;
  std::unordered_map<std::string, Handler> handlers_;
  std::atomic<bool> ready_ = false;
  StopEvent closing_;
};

}  // namespace tessra::remote
