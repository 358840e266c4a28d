#pragma once

#include <google/protobuf/message.h>

#include <cstdint>
#include <string>

#include "services/remote/transport.h"
#include "services/service_report.h"
#include "tessra/v1/simulation.pb.h"

namespace tessra::remote {

/// Raw calls on a service whose answers are judged.
class WireCalls {
 public:
  WireCalls(Transport& transport, ServiceReport& report) : transport_(transport), report_(report) {}

  /// Makes a call that must succeed. Throws `GivenUp` after the finding if it does not. `how` says what is particular
  /// about the call.
  template <class Reply>
  Reply make(const google::protobuf::Message& request, const std::string& how = "") {
    Reply reply;
    make(request, reply, how);
    return reply;
  }
  /// Makes a call that must fail with this status. Returns the text of the refusal, empty if another answer came.
  std::string refuse(grpc::StatusCode wanted, const google::protobuf::Message& request, const std::string& how);
  /// Makes a call whose answer is nobody's business.
  grpc::Status send(const google::protobuf::Message& request);

  void want(bool holds, const std::string& call, const std::string& wanted, const std::string& came) {
    report_.want(holds, call, wanted, came);
  }
  ServiceReport& report() { return report_; }

 private:
  void make(const google::protobuf::Message& request, google::protobuf::Message& reply, const std::string& how);

  Transport& transport_;
  ServiceReport& report_;
};

/// A room of a check's own, closed when the check ends. Its calls carry the next number.
class CheckedRoom {
 public:
  CheckedRoom(WireCalls& calls, v1::OpenRoomReply room) : calls_(calls), room_(std::move(room)) {}
  explicit CheckedRoom(WireCalls& calls) : CheckedRoom(calls, opened(calls)) {}
  ~CheckedRoom();
  CheckedRoom(const CheckedRoom&) = delete;
  CheckedRoom& operator=(const CheckedRoom&) = delete;

  const v1::OpenRoomReply& terms() const { return room_; }
  /// Of the next call.
  std::uint64_t number() const { return number_; }

  /// A request for this room: any that carries the room and its token.
  template <class Request>
  Request addressed() const {
    Request request;
    request.set_room(room_.room());
    request.set_token(room_.token());
    return request;
  }
  /// The same for a request that carries a number too.
  template <class Request>
  Request numbered(Request request, std::uint64_t number) const {
    *request.mutable_call() = addressed<v1::RoomCall>();
    request.mutable_call()->set_number(number);
    return request;
  }

  /// Makes a call that must succeed and takes its number.
  template <class Reply, class Request>
  Reply call(const Request& request, const std::string& how = "") {
    auto reply = calls_.make<Reply>(numbered(request, number_), how);
    ++number_;
    return reply;
  }
  /// Makes a call that must fail and takes no number.
  template <class Request>
  void refuse(grpc::StatusCode wanted, const Request& request, const std::string& how) {
    calls_.refuse(wanted, numbered(request, number_), how);
  }

  /// Loads a scenario that must exist.
  void load(const std::string& scenario);

 private:
  static v1::OpenRoomReply opened(WireCalls& calls);

  WireCalls& calls_;
  v1::OpenRoomReply room_;
  std::uint64_t number_ = 1;
};

/// A request for a room that nobody else has asked for.
v1::OpenRoomRequest room_request();

/// Adds a field that no version of the contract has.
void add_unknown_field(google::protobuf::Message& message);

}  // namespace tessra::remote
