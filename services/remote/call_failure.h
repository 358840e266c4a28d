#pragma once

#include <grpcpp/support/status.h>

#include <string>

#include "services/remote/remote_error.h"

namespace tessra::remote {

/// The link failed, not the call: the call may be sent again. INTERNAL is what the transport says of frames that make
/// no sense; servers are not meant to use it.
bool is_link_failure(const grpc::Status& status);

/// The error for a call that ended with this status, which is not OK.
RemoteError call_failure(const std::string& url, const std::string& method, const grpc::Status& status);

}  // namespace tessra::remote
