#pragma once

#include <grpcpp/support/status.h>

#include <string>

#include "Tessra/base/guard.h"

namespace tessra::remote {

/// A call is answered with a status other than OK.
class CallError : public Error {
 public:
  CallError(grpc::StatusCode status_code, const std::string& what) : Error(what), code(status_code) {}

  grpc::StatusCode code;
};

/// Does the work. The status is OK, that of a `CallError`, or for any other error ABORTED with its text.
template <class Work>
grpc::Status status_of(Work&& work) {
  grpc::Status status;
  guarded(
      [&] {
        try {
          work();
        } catch (const CallError& error) {
          status = {error.code, error.what()};
        }
      },
      [&](const std::exception_ptr& error) {
        status = {grpc::StatusCode::ABORTED, error_text(error)};
      });
  return status;
}

}  // namespace tessra::remote
