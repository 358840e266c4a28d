#include "services/remote/message_bytes.h"

#include <fmt/format.h>
#include <grpcpp/support/proto_buffer_reader.h>
#include <xxhash.h>

#include <memory>

namespace tessra::remote {

grpc::ByteBuffer pack(const google::protobuf::MessageLite& message) {
  grpc::Slice slice(message.ByteSizeLong());
  // A slice is read-only to everybody but the one who makes it.
  message.SerializeWithCachedSizesToArray(const_cast<std::uint8_t*>(slice.begin()));
  return {&slice, 1};
}

bool unpack(const grpc::ByteBuffer& bytes, google::protobuf::MessageLite& message) {
  if (!bytes.Valid()) return false;
  grpc::ByteBuffer shared(bytes);  // the reader wants one it may change
  grpc::ProtoBufferReader reader(&shared);
  return message.ParseFromZeroCopyStream(&reader) && reader.status().ok();
}

std::uint64_t checksum(const grpc::ByteBuffer& bytes) {
  const std::unique_ptr<XXH64_state_t, decltype(&XXH64_freeState)> state(XXH64_createState(), XXH64_freeState);
  XXH64_reset(state.get(), 0);
  grpc::ByteBuffer shared(bytes);
  grpc::ProtoBufferReader reader(&shared);
  const void* data = nullptr;
  for (int size = 0; reader.Next(&data, &size);) XXH64_update(state.get(), data, static_cast<std::size_t>(size));
  return XXH64_digest(state.get());
}

std::string checksum_text(const grpc::ByteBuffer& bytes) { return fmt::format("{:016x}", checksum(bytes)); }

}  // namespace tessra::remote
