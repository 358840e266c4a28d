#include "services/remote/attachment.h"

#include "services/remote/call_failure.h"
#include "tessra/v1/simulation.grpc.pb.h"

namespace tessra::remote {

Attachment::Attachment(const Transport& transport, const RoomLink& link, std::shared_ptr<StopEvent> stop)
    : transport_(transport), lease_(link.lease()), stop_(std::move(stop)) {
  request_.set_room(link.room());
  request_.set_token(link.token());
  thread_ = std::thread([this] { follow(); });
  answered_.wait_for(std::chrono::seconds(10));
  if (attached_) return;
  end();
  const grpc::Status late(grpc::StatusCode::DEADLINE_EXCEEDED, "the stream does not begin");
  throw call_failure(transport.url(), "Attach", refusal_.ok() ? late : refusal_);
}

Attachment::~Attachment() { end(); }

void Attachment::end() {
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
  broken_since_ = std::chrono::steady_clock::now();
  while (!ending_.is_set()) {
    const Ended ended = read_stream();
    if (ended != Ended::broken || std::chrono::steady_clock::now() - broken_since_ > lease_) break;
    ending_.wait_for(std::chrono::milliseconds(200));
  }
  if (attached_ && !ending_.is_set()) stop_->set();
  answered_.set();
}

Attachment::Ended Attachment::read_stream() {
  const auto context = new_context();
  transport_.authorize(*context);
  const auto stub = v1::Simulation::NewStub(transport_.channel());
  const auto stream = stub->Attach(context.get(), request_);
  v1::AttachEvent event;
  bool works = false;
  while (stream->Read(&event)) {
    attached_ = true;
    works = true;
    answered_.set();
    if (event.kind() != v1::AttachEvent::KIND_ATTACHED) {
      context->TryCancel();
      static_cast<void>(stream->Finish());
      return Ended::stopped;
    }
  }
  if (works) broken_since_ = std::chrono::steady_clock::now();
  const grpc::Status status = stream->Finish();
  const grpc::StatusCode code = status.error_code();
  const bool refused = code == grpc::StatusCode::NOT_FOUND || code == grpc::StatusCode::PERMISSION_DENIED ||
                       code == grpc::StatusCode::UNAUTHENTICATED || code == grpc::StatusCode::UNIMPLEMENTED;
  if (refused) refusal_ = status;
  return refused ? Ended::refused : Ended::broken;
}

}  // namespace tessra::remote
