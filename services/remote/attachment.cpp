#include "services/remote/attachment.h"

#include "tessra/v1/simulation.grpc.pb.h"

namespace tessra::remote {

Attachment::Attachment(const Transport& transport, const RoomLink& link, std::shared_ptr<StopEvent> stop)
    : transport_(transport), lease_(link.lease()), stop_(std::move(stop)) {
  request_.set_room(link.room());
  request_.set_token(link.token());
  thread_ = std::thread([this] { follow(); });
  if (attached_.wait_for(std::chrono::seconds(10))) return;
  ending_.set();
  new_context();
  thread_.join();
  throw RemoteError(RemoteError::Reason::timed_out, transport.url() + ": Attach: the service did not answer in time");
}

Attachment::~Attachment() {
  if (!thread_.joinable()) return;
  ending_.set();
  new_context();
  thread_.join();
}

/// Replaces the context of the open stream, which is cancelled.
std::shared_ptr<grpc::ClientContext> Attachment::new_context() {
  auto context = std::make_shared<grpc::ClientContext>();
  const std::lock_guard lock(mutex_);
  if (context_ != nullptr) context_->TryCancel();
  context_ = context;
  // A stream that is opened while this object ends must not stay open.
  if (ending_.is_set()) context->TryCancel();
  return context;
}

void Attachment::follow() {
  using Clock = std::chrono::steady_clock;
  auto broken_since = Clock::now();
  while (!ending_.is_set()) {
    const auto opened = Clock::now();
    const Ended ended = read_stream();
    if (ending_.is_set()) return;
    if (ended != Ended::broken) break;
    if (attached_.is_set() && Clock::now() - opened > std::chrono::seconds(1)) broken_since = Clock::now();
    if (Clock::now() - broken_since > lease_) break;
    ending_.wait_for(std::chrono::milliseconds(200));
  }
  if (!ending_.is_set()) stop_->set();
}

Attachment::Ended Attachment::read_stream() {
  const auto context = new_context();
  transport_.authorize(*context);
  const auto stub = v1::Simulation::NewStub(transport_.channel());
  const auto stream = stub->Attach(context.get(), request_);
  v1::AttachEvent event;
  while (stream->Read(&event)) {
    attached_.set();
    if (event.kind() == v1::AttachEvent::KIND_STOP) {
      context->TryCancel();
      static_cast<void>(stream->Finish());
      return Ended::stopped;
    }
  }
  const grpc::StatusCode code = stream->Finish().error_code();
  const bool refused = code == grpc::StatusCode::NOT_FOUND || code == grpc::StatusCode::PERMISSION_DENIED ||
                       code == grpc::StatusCode::UNAUTHENTICATED || code == grpc::StatusCode::UNIMPLEMENTED;
  return refused ? Ended::refused : Ended::broken;
}

}  // namespace tessra::remote
