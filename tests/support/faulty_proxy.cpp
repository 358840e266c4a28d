#include "support/faulty_proxy.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace tessra::testing {

namespace {

constexpr int kData = 0;
constexpr int kHeaders = 1;
constexpr std::size_t kFrameHead = 9;

sockaddr_un address_of(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
  return address;
}

bool read_all(int socket, std::string& bytes, std::size_t count) {
  const std::size_t start = bytes.size();
  bytes.resize(start + count);
  for (std::size_t got = 0; got < count;) {
    const ssize_t more = ::recv(socket, bytes.data() + start + got, count - got, 0);
    if (more <= 0) return false;
    got += static_cast<std::size_t>(more);
  }
  return true;
}

bool write_all(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::size_t payload_size(const std::string& head) {
  const auto byte = [&](std::size_t i) { return static_cast<std::size_t>(static_cast<unsigned char>(head[i])); };
  return byte(0) << 16 | byte(1) << 8 | byte(2);
}

}  // namespace

struct FaultyProxy::Link {
  int client, server;
  std::thread to_server, to_client;

  void cut() const {
    ::shutdown(client, SHUT_RDWR);
    ::shutdown(server, SHUT_RDWR);
  }
  ~Link() {
    cut();
    to_server.join();
    to_client.join();
    ::close(client);
    ::close(server);
  }
};

FaultyProxy::FaultyProxy(std::string listen, std::string server)
    : server_(std::move(server)), listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const sockaddr_un address = address_of(listen);
  if (::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(listener_, 16) != 0) {
    throw std::runtime_error("the proxy cannot listen on " + listen);
  }
  thread_ = std::thread([this] { accept_links(); });
}

FaultyProxy::~FaultyProxy() {
  ::shutdown(listener_, SHUT_RDWR);
  thread_.join();
  ::close(listener_);
  links_.clear();
}

void FaultyProxy::spoil(int call, Fault fault) {
  const std::lock_guard lock(mutex_);
  spoiled_call_ = call;
  fault_ = fault;
  calls_ = 0;
}

void FaultyProxy::cut() {
  is_cut_ = true;
  const std::lock_guard lock(mutex_);
  for (const auto& link : links_) link->cut();
}

void FaultyProxy::accept_links() {
  for (int client = ::accept(listener_, nullptr, nullptr); client >= 0;
       client = ::accept(listener_, nullptr, nullptr)) {
    const int server = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = address_of(server_);
    if (is_cut_ || ::connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      ::close(client);
      ::close(server);
      continue;
    }
    auto link = std::make_unique<Link>(client, server);
    link->to_server = std::thread([this, &link = *link] { pump(link, true); });
    link->to_client = std::thread([this, &link = *link] { pump(link, false); });
    const std::lock_guard lock(mutex_);
    links_.push_back(std::move(link));
  }
}

void FaultyProxy::pump(Link& link, bool from_client) {
  const int source = from_client ? link.client : link.server;
  constexpr std::size_t kPreface = 24;
  std::string bytes;
  bool open = !from_client || (read_all(source, bytes, kPreface) && write_all(link.server, bytes));
  while (open) {
    std::string frame;
    open = read_all(source, frame, kFrameHead) && read_all(source, frame, payload_size(frame)) &&
           pass_frame(link, from_client, std::move(frame));
  }
  link.cut();
}

FaultyProxy::Fault FaultyProxy::fault_for(bool from_client, int type) {
  const std::lock_guard lock(mutex_);
  if (from_client && type == kHeaders) ++calls_;
  if (calls_ != spoiled_call_ || (type != kHeaders && type != kData)) return Fault::none;
  const bool is_content = type == kData;
  switch (fault_) {
    case Fault::cut_request:
      if (!from_client) return Fault::none;
      break;
    case Fault::spoil_request:
      if (!from_client || !is_content) return Fault::none;
      break;
    case Fault::halve_reply:
    case Fault::spoil_reply:
      if (from_client || !is_content) return Fault::none;
      break;
    default:
      if (from_client) return Fault::none;
  }
  return std::exchange(fault_, Fault::none);
}

bool FaultyProxy::pass_frame(Link& link, bool from_client, std::string frame) {
  const int target = from_client ? link.server : link.client;
  switch (fault_for(from_client, frame[3])) {
    case Fault::cut_request:
    case Fault::cut_reply:
      return false;
    case Fault::halve_reply:
      write_all(target, std::string_view(frame).substr(0, kFrameHead + (frame.size() - kFrameHead) / 2));
      return false;
    case Fault::delay_reply:
      std::this_thread::sleep_for(delay);
      break;
    case Fault::spoil_request:
    case Fault::spoil_reply:
      if (frame.size() > kFrameHead) frame[kFrameHead + (frame.size() - kFrameHead) / 2] ^= 0x01;
      break;
    case Fault::none:
      break;
  }
  return write_all(target, frame);
}

}  // namespace tessra::testing
