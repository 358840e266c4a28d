#pragma once

#include <string>

#include "Tessra/base/error.h"

namespace tessra::remote {

/// A call on a remote service failed. The text names the server's address, the call and what went wrong.
class RemoteError : public Error {
 public:
  enum class Reason {
    unreachable,      ///< no connection, or the link broke and did not come back in time
    timed_out,        ///< the server took longer than the call's deadline
    refused_version,  ///< client and server have no version in common
    refused_token,    ///< a token is missing or wrong, or the call is not allowed in this room
    room_lost,        ///< the episode is gone: lease expired, or the server was started anew
    bad_request,      ///< the server found a mistake in the request, or the client one in the reply
    refused,          ///< the service refused or failed the call
    too_large,        ///< a limit of the server or of the message size was exceeded
  };

  RemoteError(Reason why, const std::string& what) : Error(what), reason(why) {}

  Reason reason;
};

}  // namespace tessra::remote
