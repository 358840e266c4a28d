// remote_benchmark [--units N] [--rounds N]
//
// What a simulation in another process costs, over loopback. The lock step, one `Advance` per decision, is compared
// with a bare call that answers with the same bytes; reading a large record that came over the wire is compared with
// reading the same bytes in this process. Calls are timed by the clock and take turns, and the median counts; work in
// this process is CPU time. The records that arrive are checked.

#include <fmt/format.h>
#include <grpcpp/create_channel.h>
#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/security/credentials.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <iostream>
#include <limits>
#include <numeric>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "bench/large_allocations.h"
#include "bench/measure.h"
#include "bench/remote_servers.h"
#include "services/forwarding_server.h"
#include "services/remote/message_bytes.h"
#include "services/remote/remote_server.h"
#include "tessra/v1/simulation.grpc.pb.h"

namespace tessra::bench {

namespace {

/// The best time of each record, in seconds.
class Times {
 public:
  void keep(std::size_t record, double seconds) {
    if (best_.size() <= record) best_.resize(record + 1, std::numeric_limits<double>::infinity());
    best_[record] = std::min(best_[record], seconds);
  }
  double mean() const { return std::accumulate(best_.begin(), best_.end(), 0.0) / static_cast<double>(best_.size()); }

 private:
  std::vector<double> best_;
};

/// Time by the clock, in seconds.
template <class Work>
double clocked(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// ---- Clients ------------------------------------------------------------------------------------------------------

/// As long as the request of a room.
v1::AdvanceRequest usual_request() {
  v1::AdvanceRequest request;
  request.mutable_call()->set_room(std::string(32, 'r'));
  request.mutable_call()->set_token(std::string(32, 't'));
  request.mutable_call()->set_number(1'000);
  return request;
}

/// The least that a client of an echo server can do, and what a usual client does.
class EchoClient {
 public:
  explicit EchoClient(const std::string& address) {
    grpc::ChannelArguments arguments;
    arguments.SetMaxReceiveMessageSize(remote::kLargestMessage);
    channel_ = grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
    raw_ = std::make_unique<grpc::GenericStub>(channel_);
    usual_ = v1::Simulation::NewStub(channel_);
  }

  /// Leaves the reply as the bytes that arrived. The server is busy for so many seconds first.
  void call_raw(double server_seconds = 0) {
    v1::AdvanceRequest request = request_;
    request.set_timestamp(static_cast<std::int64_t>(1e6 * server_seconds));
    grpc::ClientContext context;
    grpc::ByteBuffer reply;
    grpc::Status status;
    const auto call = raw_->PrepareUnaryCall(&context, "/tessra.v1.Simulation/Advance", remote::pack(request), &calls_);
    call->StartCall();
    call->Finish(&reply, &status, nullptr);
    void* tag = nullptr;
    bool ok = false;
    calls_.Next(&tag, &ok);
    if (!status.ok()) throw Error(status.error_message());
  }

  /// Reads the reply into a message, with the generated code.
  void call_usual() {
    grpc::ClientContext context;
    v1::AdvanceReply reply;
    const grpc::Status status = usual_->Advance(&context, request_, &reply);
    if (!status.ok()) throw Error(status.error_message());
  }

 private:
  std::shared_ptr<grpc::Channel> channel_;
  std::unique_ptr<grpc::GenericStub> raw_;
  std::unique_ptr<v1::Simulation::Stub> usual_;
  const v1::AdvanceRequest request_ = usual_request();
  grpc::CompletionQueue calls_;
};

/// The service client with a scenario loaded.
std::unique_ptr<remote::RemoteServer> start_remote(const std::string& address, const char* scenario) {
  remote::RemoteSettings settings;
  settings.address = remote::read_url("grpc://" + address);
  auto client = std::make_unique<remote::RemoteServer>(std::move(settings));
  if (client->connect_server().is_none()) throw Error(client->last_failure());
  client->reset(0);
  client->load_scenario(scenario);
  return client;
}

/// Takes the time of the simulation behind a server.
class TimedServer : public ForwardingServer {
 public:
  TimedServer(std::shared_ptr<GameServer> inner, std::atomic<double>& seconds)
      : ForwardingServer(std::move(inner)), seconds_(seconds) {}

  void run_simulate() override {
    seconds_ = clocked([&] { ForwardingServer::run_simulate(); });
  }
  Value get_step_situation() override {
    Value record;
    seconds_ = seconds_ + clocked([&] { record = ForwardingServer::get_step_situation(); });
    return record;
  }

 private:
  std::atomic<double>& seconds_;  // of the last step
};

// ---- The lock step ------------------------------------------------------------------------------------------------

struct LockStep {
  Times raw_echo, usual_echo, prepared;
  Times late_echo, played;  // less the simulation's own time
  Times own;
  // Of these, CPU time of what both ends do with a record's bytes.
  Times write, pack, checksum, unpack, read;
};

void check_record(const Value& record, const std::string& expected) {
  if (write_json(record) != expected) throw Error("a record arrives that is not the one sent");
}

/// The calls take turns, in another order in each round.
void play_prepared(const Servers& servers, const Records& records, int round, LockStep& times) {
  EchoClient echo(servers.echo.at("strait"));
  const auto client = start_remote(servers.prepared, "strait");
  for (std::size_t i = 0; i < records.size(); ++i) {
    const std::function<void()> calls[] = {
        [&] { times.raw_echo.keep(i, clocked([&] { echo.call_raw(); })); },
        [&] { times.usual_echo.keep(i, clocked([&] { echo.call_usual(); })); },
        [&] { times.prepared.keep(i, clocked([&] { client->run_simulate(); })); },
    };
    for (int call = 0; call < 3; ++call) calls[(call + round) % 3]();
    check_record(client->get_step_situation(), records[i]);
  }
}

/// The real simulation, without the time that it takes itself. Its server is in this process, to know that time. The
/// echo's server is busy as long: threads that have waited are slower to go on.
void play_real(const Servers& servers, const Records& records, LockStep& times) {
  std::atomic<double> own = 0;
  const auto host = start_host([&](const remote::RoomPlan& plan) {
    return std::make_shared<TimedServer>(remote::backend_of("embedded:")(plan), own);
  });
  EchoClient echo(servers.echo.at("strait"));
  const auto client = start_remote(host->address().target, "strait");
  client->get_init_situation();
  for (std::size_t i = 0; i < records.size(); ++i) {
    const double whole = clocked([&] { client->run_simulate(); });
    const double busy = 1e-6 * std::floor(1e6 * own);
    times.own.keep(i, own);
    times.played.keep(i, whole - own);
    check_record(client->get_step_situation(), records[i]);
    times.late_echo.keep(i, clocked([&] { echo.call_raw(busy); }) - busy);
  }
}

void play_parts(const Records& records, LockStep& times) {
  JsonReader reader;
  for (std::size_t i = 0; i < records.size(); ++i) {
    Value record;
    times.read.keep(i, timed([&] { record = reader.read(records[i]); }));
    v1::AdvanceReply reply;
    times.write.keep(i, timed([&] { reply.mutable_record()->set_text(write_json(record)); }));
    grpc::ByteBuffer bytes;
    times.pack.keep(i, timed([&] { bytes = remote::pack(reply); }));
    times.checksum.keep(i, timed([&] { remote::checksum(bytes); }));
    v1::AdvanceReply again;
    times.unpack.keep(i, timed([&] { remote::unpack(bytes, again); }));
  }
}

double mean_size(const Records& records) {
  double bytes = 0;
  for (const std::string& text : records) bytes += static_cast<double>(text.size());
  return bytes / static_cast<double>(records.size());
}

void print_row(std::string_view name, double seconds, double echo) {
  fmt::print("  {:<46}{:>9.1f}{:>10.0f}{:>12.0f} %\n", name, 1e6 * seconds, 1 / seconds, 100 * echo / seconds);
}

void print_lock_step(const LockStep& times, const Records& records) {
  const double echo = times.raw_echo.mean();
  const double late_echo = times.late_echo.mean();
  const double write = times.write.mean();
  fmt::print("strait: {} updates, {:.0f} bytes on average\n", records.size(), mean_size(records));
  fmt::print("  {:<46}{:>9}{:>10}{:>13}\n", "call", "µs", "calls/s", "of the echo");
  print_row("echo, the reply left as bytes", echo, echo);
  print_row("echo, the reply read by generated code", times.usual_echo.mean(), echo);
  print_row("advance, records prepared", times.prepared.mean(), echo);
  print_row("… less writing them as JSON", times.prepared.mean() - write, echo);
  print_row("echo, the server busy as long as strait", late_echo, late_echo);
  print_row("advance, strait played", times.played.mean(), late_echo);
  print_row("… less writing the records as JSON", times.played.mean() - write, late_echo);
  fmt::print(
      "  µs of CPU: strait itself {:.1f}, which the last three leave out; a record's JSON written {:.1f}, read\n"
      "  {:.1f}; its message packed {:.1f}, unpacked {:.1f}, a checksum {:.1f}, which both ends make\n\n",
      1e6 * times.own.mean(), 1e6 * write, 1e6 * times.read.mean(), 1e6 * times.pack.mean(), 1e6 * times.unpack.mean(),
      1e6 * times.checksum.mean());
}

void measure_lock_step(const Servers& servers, const Records& records, int rounds) {
  LockStep times;
  for (int round = 0; round < rounds; ++round) {
    play_prepared(servers, records, round, times);
    play_real(servers, records, times);
    play_parts(records, times);
  }
  print_lock_step(times, records);
}

// ---- Large records ------------------------------------------------------------------------------------------------

struct Large {
  Times wire, here;              // reading it
  LargeAllocations usual, ours;  // in one call; ours includes reading
};

void play_large(const Servers& servers, const std::string& name, const Records& records, JsonReader& reader,
                Large& best) {
  EchoClient echo(servers.echo.at(name));
  const auto client = start_remote(servers.prepared, name.c_str());
  for (std::size_t play = 0; play < 2 * records.size(); ++play) {  // in the first half buffers grow
    const std::size_t i = play % records.size();
    count_large_allocations(records[i].size() / 2);
    echo.call_usual();
    best.usual = large_allocations();
    count_large_allocations(records[i].size() / 2);
    client->run_simulate();
    Value record;
    best.wire.keep(i, timed([&] { record = client->get_step_situation(); }));
    best.ours = large_allocations();
    Value same;
    best.here.keep(i, timed([&] { same = reader.read(records[i]); }));
    if (record != same) throw Error("a record arrives that is not the one sent");
  }
}

void measure_large(const Servers& servers, const std::string& name, const Records& records, int rounds) {
  Large best;
  JsonReader reader;
  for (int round = 0; round < rounds; ++round) play_large(servers, name, records, reader, best);
  fmt::print("{}: {} of {:.0f} bytes on average\n", name, records.size(), mean_size(records));
  fmt::print("  reading one, ms of CPU: {:.2f} from the wire, {:.2f} here, ratio {:.3f}\n", 1e3 * best.wire.mean(),
             1e3 * best.here.mean(), best.wire.mean() / best.here.mean());
  fmt::print("  blocks of half its size or more: {} with {} bytes, in an echo with generated code {} with {}\n",
             best.ours.count, best.ours.bytes, best.usual.count, best.usual.bytes);
}

}  // namespace
}  // namespace tessra::bench

int main(int argc, char** argv) {
  int units = 10'000;
  int rounds = 20;
  bool serve = false;
  CLI::App app("Times calls on a simulation in another process.", "remote_benchmark");
  app.add_option("--units", units, "Size of the generated situation")->check(CLI::Range(30, 100'000));
  app.add_option("--rounds", rounds, "How often everything is played")->check(CLI::PositiveNumber);
  app.add_flag("--serve", serve)->group("");
  CLI11_PARSE(app, argc, argv);
  try {
    if (serve) {
      tessra::bench::serve(units);
      return 0;
    }
    const tessra::bench::ServerProcess process("/proc/self/exe", units);
    const auto records = tessra::bench::all_records(units);
    tessra::bench::measure_lock_step(process.servers(), records.at("strait"), rounds);
    for (const char* name : {"updates", "initial"}) {
      tessra::bench::measure_large(process.servers(), name, records.at(name), rounds);
    }
  } catch (const std::exception& error) {
    std::cerr << "remote_benchmark: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
