#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace tessra::testing {

/// Stands between a client and a server, both on Unix sockets, and spoils one call. Reads as much of HTTP/2 as it takes
/// to know where a call begins and where its reply does.
class FaultyProxy {
 public:
  enum class Fault {
    none,
    cut_request,    ///< the link is cut before the request has reached the server
    cut_reply,      ///< the server has answered, and the link is cut
    halve_reply,    ///< half of the reply's bytes, then the link is cut
    delay_reply,    ///< the reply arrives after `delay`
    spoil_request,  ///< one byte of the request's content is another one
    spoil_reply,
  };

  FaultyProxy(std::string listen, std::string server);
  ~FaultyProxy();
  FaultyProxy(const FaultyProxy&) = delete;
  FaultyProxy& operator=(const FaultyProxy&) = delete;

  /// From now on calls are counted from 1, and this one meets the fault, once.
  void spoil(int call, Fault fault);
  /// Calls seen since then.
  int calls() const { return calls_; }
  /// Cuts every link, and from now on those that are made, until `restore`.
  void cut();
  void restore() { is_cut_ = false; }

  static constexpr std::chrono::milliseconds delay{400};

 private:
  struct Link;

  void accept_links();
  void pump(Link& link, bool from_client);
  bool pass_frame(Link& link, bool from_client, std::string frame);
  /// The fault for a frame of the current call; it is used up.
  Fault fault_for(bool from_client, int type);

  std::string server_;
  int listener_;
  std::mutex mutex_;  // guards the links and the fault
  std::list<std::unique_ptr<Link>> links_;
  int spoiled_call_ = 0;
  Fault fault_ = Fault::none;
  std::atomic<int> calls_ = 0;
  std::atomic<bool> is_cut_ = false;
  std::thread thread_;
};

}  // namespace tessra::testing
