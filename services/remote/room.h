#pragma once

#include <grpcpp/support/byte_buffer.h>
#include <grpcpp/support/status.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "services/remote/room_play.h"

namespace tessra::remote {

/// One client's room: a thread of its own that carries out the calls one by one, counts them, keeps the last reply, and
/// ends when the lease runs out. The public operations are safe from any thread.
class Room {
 public:
  struct Outcome {
    grpc::Status status;
    grpc::ByteBuffer reply;  ///< of a call that succeeded
  };
  /// Called once with what became of a call, on the room's thread or the caller's.
  using Finish = std::function<void(const Outcome& outcome)>;

  struct Call {
    std::uint64_t number = 0;
    std::uint64_t digest = 0;  ///< of method and request, to tell a repeated call from another one
    std::function<grpc::ByteBuffer(RoomPlay& play)> run;
    Finish finish;
    std::function<bool()> is_abandoned;  ///< nobody waits for the answer any more; asked from any thread
  };

  struct Terms {
    std::string id;
    std::string token;
    std::string client_id;
    std::string request_id;
    std::chrono::seconds lease{0};
    std::size_t most_waiting = 0;
  };
  /// Makes what the room plays, on the room's thread.
  using Make = std::function<std::unique_ptr<RoomPlay>(const std::shared_ptr<StopEvent>& stop)>;

  /// Whether the room can be used.
  using Opened = std::function<void(const grpc::Status& status)>;

  /// Starts the thread. `opened` is called when `make` has succeeded or failed; after a failure the room has ended.
  /// `over` is called once when a room that could be opened has ended, with the reason.
  Room(Terms terms, Make make, Opened opened, std::function<void(const std::string& why)> over);
  /// Ends the room and waits for its running call.
  ~Room();
  Room(const Room&) = delete;
  Room& operator=(const Room&) = delete;

  const Terms& terms() const { return terms_; }

  void submit(Call call);
  /// Renews the lease. `finish` gets the number of the next call, when those before have ended.
  void resume(std::function<void(const grpc::Status& status, std::uint64_t next_number)> finish,
              std::function<bool()> is_abandoned);

  /// No more calls; those waiting are answered with `why`. Does not wait for the running one.
  void end(const grpc::Status& why);
  /// Ends the room; `finish` is called when its running call has ended too.
  void close(std::function<void()> finish);
  /// Waits until the running call has ended; false if it takes longer.
  bool wait_for_end(std::chrono::steady_clock::time_point until);
  bool has_ended() const;

  /// A stream that is attached keeps the lease from running out. A newer one takes the place of an older.
  std::uint64_t attach();
  bool is_attached(std::uint64_t stream) const;
  void detach(std::uint64_t stream);
  /// The agent's stop signal, set by the scheduling client.
  const std::shared_ptr<StopEvent>& stop() const { return stop_; }

 private:
  struct Work {
    std::function<void(RoomPlay& play)> run;
    std::function<void(const grpc::Status& why)> refuse;
    std::function<bool()> is_abandoned;
  };

  void live(const Make& make, const Opened& opened, const std::function<void(const std::string&)>& over);
  std::optional<Work> next_work();
  void drop_abandoned();
  std::optional<grpc::Status> why_refused();
  void enqueue(Work work);
  Outcome carry_out(RoomPlay& play, const Call& call);

  const Terms terms_;
  const std::shared_ptr<StopEvent> stop_ = std::make_shared<StopEvent>();

  // For the room's thread alone.
  std::uint64_t last_number_ = 0;
  std::uint64_t last_digest_ = 0;
  grpc::ByteBuffer last_reply_;

  mutable std::mutex mutex_;  // guards the members below
  std::condition_variable changed_;
  std::deque<Work> waiting_;
  std::chrono::steady_clock::time_point last_used_ = std::chrono::steady_clock::now();
  std::uint64_t streams_ = 0;   // attached so far
  std::uint64_t attached_ = 0;  // the number of the one that is; 0: none
  std::vector<std::function<void()>> closers_;
  std::optional<grpc::Status> why_ended_;
  bool is_over_ = false;  // the thread has nothing left to do

  std::thread thread_;
};

}  // namespace tessra::remote
