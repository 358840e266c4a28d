#include "services/remote/room.h"

#include <fmt/format.h>

namespace tessra::remote {

using grpc::StatusCode;

Room::Room(Terms terms, Make make, Opened opened, std::function<void(const std::string&)> over)
    : terms_(std::move(terms)),
      thread_([this, make = std::move(make), opened = std::move(opened), over = std::move(over)] {
        live(make, opened, over);
      }) {}

Room::~Room() {
  end({StatusCode::NOT_FOUND, "the room was closed"});
  thread_.join();
}

// The room's thread.

void Room::live(const Make& make, const Opened& opened, const std::function<void(const std::string&)>& over) {
  std::unique_ptr<RoomPlay> play;
  const grpc::Status made = status_of([&] { play = make(stop_); });
  if (!made.ok()) end({StatusCode::NOT_FOUND, "the room could not be opened"});
  opened(made);
  while (std::optional<Work> work = next_work()) work->run(*play);
  play.reset();
  last_reply_.Clear();
  if (made.ok() && over) over(why_ended_->error_message());
  std::vector<std::function<void()>> closers;
  {
    const std::lock_guard lock(mutex_);
    is_over_ = true;
    closers.swap(closers_);
    changed_.notify_all();
  }
  for (const auto& close : closers) close();
}

/// Waits for work. None when the room has ended, which it does by itself when the lease runs out.
std::optional<Room::Work> Room::next_work() {
  std::unique_lock lock(mutex_);
  while (!why_ended_) {
    drop_abandoned();
    if (!waiting_.empty()) {
      Work work = std::move(waiting_.front());
      waiting_.pop_front();
      return work;
    }
    const auto lease_ends = last_used_ + terms_.lease;
    if (attached_ != 0) {
      changed_.wait(lock);
    } else if (std::chrono::steady_clock::now() < lease_ends) {
      changed_.wait_until(lock, lease_ends);
    } else {
      why_ended_.emplace(StatusCode::NOT_FOUND, "the room's lease ran out");
    }
  }
  return std::nullopt;
}

Room::Outcome Room::carry_out(RoomPlay& play, const Call& call) {
  if (call.number == last_number_ && call.digest == last_digest_ && last_number_ > 0) return {{}, last_reply_};
  if (call.number != last_number_ + 1) {
    return {{StatusCode::OUT_OF_RANGE,
             fmt::format("call number {} is not the one expected, {}", call.number, last_number_ + 1)},
            {}};
  }
  Outcome outcome;
  outcome.status = status_of([&] { outcome.reply = call.run(play); });
  if (outcome.status.ok()) {
    last_number_ = call.number;
    last_digest_ = call.digest;
    last_reply_ = outcome.reply;
  }
  return outcome;
}

// From any thread.

/// Calls that were given up make room for others. They have not run, so they take no number. The mutex is held.
void Room::drop_abandoned() {
  std::erase_if(waiting_, [](const Work& work) {
    const bool drop = work.is_abandoned();
    if (drop) work.refuse({StatusCode::CANCELLED, "given up"});
    return drop;
  });
}

/// Why no work is taken; none if it is. The mutex is held.
std::optional<grpc::Status> Room::why_refused() {
  if (why_ended_) return why_ended_;
  drop_abandoned();
  if (waiting_.size() < terms_.most_waiting) return std::nullopt;
  return grpc::Status(StatusCode::RESOURCE_EXHAUSTED,
                      fmt::format("more than {} calls wait in this room", terms_.most_waiting));
}

void Room::enqueue(Work work) {
  std::unique_lock lock(mutex_);
  if (const std::optional<grpc::Status> why = why_refused()) {
    lock.unlock();
    return work.refuse(*why);
  }
  last_used_ = std::chrono::steady_clock::now();
  waiting_.push_back(std::move(work));
  changed_.notify_all();
}

void Room::submit(Call call) {
  const auto shared = std::make_shared<const Call>(std::move(call));
  enqueue({[this, shared](RoomPlay& play) {
             const Outcome outcome = carry_out(play, *shared);
             {
               const std::lock_guard lock(mutex_);  // the lease starts when the reply leaves
               last_used_ = std::chrono::steady_clock::now();
             }
             shared->finish(outcome);
           },
           [shared](const grpc::Status& why) {
             shared->finish({why, {}});
           },
           shared->is_abandoned});
}

void Room::resume(std::function<void(const grpc::Status&, std::uint64_t)> finish, std::function<bool()> is_abandoned) {
  enqueue({[this, finish](RoomPlay&) { finish({}, last_number_ + 1); },
           [finish](const grpc::Status& why) { finish(why, 0); }, std::move(is_abandoned)});
}

void Room::close(std::function<void()> finish) {
  end({StatusCode::NOT_FOUND, "the room was closed"});
  {
    const std::lock_guard lock(mutex_);
    if (!is_over_) {
      closers_.push_back(std::move(finish));
      return;
    }
  }
  finish();
}

void Room::end(const grpc::Status& why) {
  std::deque<Work> refused;
  {
    const std::lock_guard lock(mutex_);
    if (!why_ended_) why_ended_ = why;
    refused.swap(waiting_);
    changed_.notify_all();
  }
  for (const Work& work : refused) work.refuse(why);
}

bool Room::wait_for_end(std::chrono::steady_clock::time_point until) {
  std::unique_lock lock(mutex_);
  return changed_.wait_until(lock, until, [this] { return is_over_; });
}

bool Room::has_ended() const {
  const std::lock_guard lock(mutex_);
  return why_ended_.has_value();
}

std::uint64_t Room::attach() {
  const std::lock_guard lock(mutex_);
  return attached_ = ++streams_;
}

bool Room::is_attached(std::uint64_t stream) const {
  const std::lock_guard lock(mutex_);
  return attached_ == stream;
}

void Room::detach(std::uint64_t stream) {
  const std::lock_guard lock(mutex_);
  if (attached_ != stream) return;
  attached_ = 0;
  last_used_ = std::chrono::steady_clock::now();
  changed_.notify_all();
}

}  // namespace tessra::remote
