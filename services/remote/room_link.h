#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "services/remote/remote_error.h"
#include "services/remote/transport.h"
#include "tessra/v1/simulation.pb.h"

namespace tessra::remote {

/// How long the calls may take; an advance also gets 20 times the usual one.
struct Deadlines {
  std::chrono::duration<double> hello{5};  ///< waits for the port
  std::chrono::duration<double> usual{10};
  std::chrono::duration<double> start{60};  ///< opening a room, resetting it, loading a scenario and its situation
};

/// A client's room on a server: numbers its calls, and sends a call again whose reply was lost with a broken link, so
/// that every call runs once. All operations throw `RemoteError`.
class RoomLink {
 public:
  explicit RoomLink(Transport& transport, const Deadlines& deadlines = {});

  /// The handshake, which waits for the server.
  void hello();

  /// Opens a room; `request` says what kind of room.
  void open(v1::OpenRoomRequest request);
  bool is_open() const { return !room_.empty(); }
  /// Gives the room up, if there is one. Throws nothing: the lease ends what could not be closed.
  void close() noexcept;

  /// Closes rooms that this client has lost sight of.
  void close_lost_rooms();

  /// Makes a call in the room. The reply comes from the first time it ran, however often it was sent.
  template <class Reply, class Request>
  Reply call(const std::string& method, Request request, std::chrono::duration<double> limit) {
    Reply reply;
    call(method, request, *request.mutable_call(), reply, limit);
    return reply;
  }
  template <class Reply, class Request>
  Reply call(const std::string& method, Request request) {
    return call<Reply>(method, std::move(request), deadlines_.usual);
  }

  const std::string& room() const { return room_; }
  const std::string& token() const { return token_; }
  std::chrono::seconds lease() const { return lease_; }

  /// Called when the link breaks and when it is back, with a line for people. Optional.
  std::function<void(const std::string& what)> on_link;

  const Deadlines& deadlines() const { return deadlines_; }

 private:
  void call(const std::string& method, const google::protobuf::MessageLite& request, v1::RoomCall& call,
            google::protobuf::MessageLite& reply, std::chrono::duration<double> limit);
  std::uint64_t number_for(const std::string& method, const google::protobuf::MessageLite& request, v1::RoomCall& call);
  grpc::Status why_unconnected(const v1::HelloRequest& request, v1::HelloReply& reply);
  void resume();
  [[noreturn]] void fail(const std::string& method, const grpc::Status& status);

  Transport& transport_;
  Deadlines deadlines_;
  std::string client_id_;
  std::string room_;
  std::string token_;
  std::map<std::string, std::string> lost_rooms_;  // with their tokens
  std::chrono::seconds lease_{0};
  std::uint64_t next_number_ = 1;
  std::uint64_t doubtful_number_ = 0;
  std::string doubtful_method_;
  std::string doubtful_request_;
  bool in_doubt_ = false;  // the last call failed: it is not known whether it took its number
};

}  // namespace tessra::remote
