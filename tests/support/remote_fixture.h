#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "services/remote/remote_server.h"
#include "services/remote/service_host.h"
#include "support/scratch_folder.h"

namespace tessra::testing {

/// A server in this process, reached over a Unix socket of its own.
class Remote : public ::testing::Test {
 protected:
  /// Rooms that play the scenarios of this folder below `scenarios`.
  static remote::RoomOptions scenarios(const std::string& folder) {
    remote::RoomOptions options;
    options.make_backend = remote::backend_of("embedded:" TESSRA_SOURCE_DIR "/scenarios/" + folder);
    return options;
  }

  void serve(remote::RoomOptions options, const remote::ServerAccess& access = {}) {
    host_.reset();  // the socket's name becomes free
    host_ = std::make_unique<remote::ServiceHost>(remote::read_listen_address("unix:" + socket(), false), access,
                                                  std::move(options));
    host_->set_ready();
  }

  std::string socket() const { return (folder_.path() / "s").string(); }

  /// Settings for a client of that server that does not wait long.
  remote::RemoteSettings settings(const std::string& path = "") const {
    remote::RemoteSettings settings;
    settings.address = remote::read_url("grpc+unix:" + (path.empty() ? socket() : path));
    settings.lease = 1;
    settings.deadlines = {std::chrono::duration<double>(1), std::chrono::duration<double>(2),
                          std::chrono::duration<double>(2)};
    return settings;
  }

  ScratchFolder folder_;
  std::unique_ptr<remote::ServiceHost> host_;
};

/// The reason of the `RemoteError` that the work throws.
template <class Work>
remote::RemoteError::Reason reason_of(Work&& work) {
  try {
    work();
  } catch (const remote::RemoteError& error) {
    return error.reason;
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

}  // namespace tessra::testing
