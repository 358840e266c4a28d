#pragma once

#include <grpcpp/client_context.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "Tessra/base/stop_event.h"
#include "services/remote/room_link.h"
#include "services/remote/transport.h"

namespace tessra::remote {

/// The stream on which a scheduling client tells its agent to stop, read by a thread of its own. A stream that breaks
/// is opened again; if that does not succeed within the lease, or the room is gone, the stop signal is set.
class Attachment {
 public:
  /// Waits until the stream works, at most 10 seconds. Throws `RemoteError` if it does not.
  Attachment(const Transport& transport, const RoomLink& link, std::shared_ptr<StopEvent> stop);
  /// Ends the thread, without setting the signal.
  ~Attachment();
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;

 private:
  enum class Ended { broken, refused, stopped };

  void follow();
  void end();
  Ended read_stream();
  std::shared_ptr<grpc::ClientContext> new_context();

  const Transport& transport_;
  v1::AttachRequest request_;
  std::chrono::seconds lease_;
  std::shared_ptr<StopEvent> stop_;
  StopEvent answered_;  // the first stream works, or was refused
  StopEvent ending_;
  std::atomic<bool> attached_ = false;
  grpc::Status refusal_;  // read when the thread has ended
  std::mutex mutex_;
  std::shared_ptr<grpc::ClientContext> context_;        // of the open stream; guarded by the mutex
  std::chrono::steady_clock::time_point broken_since_;  // the thread's own
  std::thread thread_;
};

}  // namespace tessra::remote
