#pragma once

#include <google/protobuf/message_lite.h>
#include <grpcpp/support/byte_buffer.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace tessra::remote {

/// Metadata with the checksum of a message: `checksum_text` of its bytes.
inline constexpr char kChecksumKey[] = "tessra-xxh64";

/// Largest message either end takes, in bytes.
inline constexpr std::size_t kLargestMessage = std::size_t{64} << 20;

/// The message as it travels.
grpc::ByteBuffer pack(const google::protobuf::MessageLite& message);

/// Reads a message; false if the bytes are not one. Of a `bytes` field the content is copied once, out of the
/// transport's buffers.
bool unpack(const grpc::ByteBuffer& bytes, google::protobuf::MessageLite& message);

/// XXH64 of the bytes, with seed 0.
std::uint64_t checksum(const grpc::ByteBuffer& bytes);
/// As 16 hexadecimal digits.
std::string checksum_text(const grpc::ByteBuffer& bytes);

/// Whether the metadata of a message has no checksum, or the right one.
template <class Metadata>
bool fits_checksum(const grpc::ByteBuffer& bytes, const Metadata& metadata) {
  const auto found = metadata.find(kChecksumKey);
  if (found == metadata.end()) return true;
  return checksum_text(bytes) == std::string(found->second.data(), found->second.size());
}

}  // namespace tessra::remote
