// What breaks between client and server: every episode ends as without the fault or in the typed error, and the next
// one plays.

#include <thread>

#include "Tessra/base/json_write.h"
#include "services/forwarding_server.h"
#include "support/faulty_proxy.h"
#include "support/remote_fixture.h"

namespace tessra::testing {
namespace {

using Fault = FaultyProxy::Fault;
using remote::RemoteError;
using Reason = RemoteError::Reason;

/// An episode with orders, as an engine plays it: its records and what became of the orders, as text.
std::string play(GameServer& service, int advances = 3) {
  std::string transcript;
  const auto note = [&](const Value& value) { transcript += write_json(value) + "\n"; };
  if (service.connect_server().is_none()) throw RemoteError(Reason::unreachable, "no connection");
  service.check_clean_rooms();
  const Value answer = service.reset(0);
  if (answer == Value(-1)) throw RemoteError(Reason::unreachable, "no room");
  note(service.get_scenarios());
  if (!service.load_scenario("tiny").is_true()) throw Error("not loaded");
  note(service.set_data_receive());
  service.request_full_situation();
  note(service.get_init_situation());
  service.update_simulate_timestamp(1);
  service.run_command("ChangeSpeed({SPEED='1'})");
  for (int i = 0; i < advances; ++i) {
    service.add_command("SetSpeed({SIDE='红方', UNIT='nobody', SPEED=" + std::to_string(i) + "})");
    note(service.do_package_command());
    if (i == advances - 1) service.simulate_end();
    service.run_simulate();
    note(service.get_step_situation());
  }
  return transcript;
}

class RemoteFaults : public Remote {
 protected:
  RemoteFaults() { serve(scenarios("check")); }

  std::string played_without_faults() {
    remote::RemoteServer client(settings());
    return play(client);
  }
  std::string proxied() const { return (folder_.path() / "p").string(); }
};

TEST_F(RemoteFaults, spoil_any_call_and_cost_nothing) {
  const std::string expected = played_without_faults();
  FaultyProxy proxy(proxied(), socket());
  int calls = 0;
  {
    remote::RemoteServer client(settings(proxied()));
    proxy.spoil(0, Fault::none);
    EXPECT_EQ(play(client), expected);
    calls = proxy.calls();
  }
  ASSERT_GE(calls, 15);
  for (const Fault fault :
       {Fault::cut_request, Fault::cut_reply, Fault::halve_reply, Fault::spoil_request, Fault::spoil_reply}) {
    for (int call = 1; call <= calls; ++call) {
      SCOPED_TRACE(::testing::Message() << "fault " << static_cast<int>(fault) << " at call " << call);
      remote::RemoteServer client(settings(proxied()));
      proxy.spoil(call, fault);
      try {
        EXPECT_EQ(play(client), expected);
      } catch (const RemoteError& error) {
        // The handshake is not repeated: the engine does that. Anything later is.
        EXPECT_LE(call, 2) << error.what();
        remote::RemoteServer next(settings(proxied()));
        EXPECT_EQ(play(next), expected);
      }
    }
  }
}

TEST_F(RemoteFaults, replies_that_come_too_late_end_the_episode_and_not_the_next_one) {
  const std::string expected = played_without_faults();
  FaultyProxy proxy(proxied(), socket());
  for (int call = 4; call <= 12; call += 4) {
    remote::RemoteSettings impatient = settings(proxied());
    impatient.deadlines.usual = impatient.deadlines.start = FaultyProxy::delay / 2;
    remote::RemoteServer client(impatient);
    proxy.spoil(call, Fault::delay_reply);
    EXPECT_EQ(reason_of([&] { play(client); }), Reason::timed_out) << call;
    std::this_thread::sleep_for(FaultyProxy::delay);
    // The same client goes on in its room: it asks which number is next.
    EXPECT_THAT(play(client), ::testing::Not(::testing::IsEmpty()));
  }
}

/// A simulation whose advances wait until they are let go.
class Slow : public ForwardingServer {
 public:
  Slow(std::shared_ptr<GameServer> inner, const StopEvent& go) : ForwardingServer(std::move(inner)), go_(go) {}
  void run_simulate() override {
    go_.wait_for(std::chrono::seconds(10));
    ForwardingServer::run_simulate();
  }

 private:
  const StopEvent& go_;
};

class SlowRemote : public Remote {
 protected:
  SlowRemote() {
    remote::RoomOptions one = scenarios("check");
    one.limits.rooms = 1;
    one.make_backend = [this, make = one.make_backend](const remote::RoomPlan& plan) {
      return std::make_shared<Slow>(make(plan), go_);
    };
    serve(one);
  }
  ~SlowRemote() override {
    go_.set();
    host_.reset();
  }

  remote::RemoteSettings impatient() const {
    remote::RemoteSettings impatient = settings();
    impatient.deadlines.usual = std::chrono::milliseconds(100);
    impatient.lease = 5;
    return impatient;
  }

  StopEvent go_;
};

void start(GameServer& client) {
  client.connect_server();
  client.reset(0);
  client.load_scenario("tiny");
  client.get_init_situation();
}

TEST_F(SlowRemote, an_advance_that_took_too_long_is_not_passed_over) {
  std::string expected;
  {
    const auto embedded = scenarios("check").make_backend({});
    start(*embedded);
    embedded->run_simulate();
    expected = write_json(embedded->get_step_situation());
  }
  remote::RemoteServer client(impatient());
  start(client);
  client.update_simulate_timestamp(7);
  EXPECT_EQ(reason_of([&] { client.run_simulate(); }), Reason::timed_out);
  go_.set();
  EXPECT_EQ(reason_of([&] { client.simulate_end(); }), Reason::timed_out) << "the record comes first";
  client.run_simulate();
  EXPECT_EQ(write_json(client.get_step_situation()), expected);
}

TEST_F(SlowRemote, a_busy_room_is_waited_for_as_long_as_the_lease) {
  remote::RemoteServer client(impatient());
  start(client);
  EXPECT_EQ(reason_of([&] { client.run_simulate(); }), Reason::timed_out);
  std::jthread later([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    go_.set();
  });
  client.run_simulate();
  EXPECT_TRUE(client.get_step_situation().truthy());
}

TEST_F(SlowRemote, a_closed_room_is_taken_until_it_has_ended) {
  auto first = std::make_unique<remote::RemoteServer>(impatient());
  start(*first);
  EXPECT_EQ(reason_of([&] { first->run_simulate(); }), Reason::timed_out);
  first.reset();
  remote::RemoteServer second(impatient());
  second.connect_server();
  EXPECT_EQ(reason_of([&] { second.reset(0); }), Reason::too_large);
  go_.set();
  while (host_ != nullptr) {
    try {
      EXPECT_EQ(second.reset(0), Value(0));
      break;
    } catch (const RemoteError&) {
      std::this_thread::yield();
    }
  }
}

TEST_F(RemoteFaults, end_with_the_lease_when_the_link_does_not_come_back) {
  FaultyProxy proxy(proxied(), socket());
  remote::RemoteServer client(settings(proxied()));
  const std::string first = play(client);
  proxy.cut();
  EXPECT_EQ(reason_of([&] { client.run_simulate(); }), Reason::unreachable);
  EXPECT_EQ(client.reset(0), Value(-1)) << client.last_failure();
  EXPECT_THAT(client.last_failure(), ::testing::HasSubstr(proxied()));
  proxy.restore();
  EXPECT_EQ(client.reset(1), Value(2)) << "a new room: sides and situation are to be asked for again";
}

TEST_F(RemoteFaults, a_server_that_is_started_anew_has_lost_the_episode_and_plays_the_next) {
  remote::RemoteServer client(settings());
  const std::string first = play(client);
  serve(scenarios("check"));
  EXPECT_EQ(reason_of([&] { client.run_simulate(); }), Reason::room_lost);
  EXPECT_EQ(client.reset(0), Value(2));
  EXPECT_TRUE(client.load_scenario("tiny").is_true());
  client.run_simulate();
  EXPECT_TRUE(client.get_step_situation().truthy());
}

TEST_F(RemoteFaults, a_client_that_dies_frees_its_room_with_the_lease) {
  remote::RoomOptions one = scenarios("check");
  one.limits.rooms = 1;
  std::atomic<int> ended = 0;
  one.on_end = [&](const std::string& why) {
    if (++ended == 1) {
      EXPECT_EQ(why, "the room's lease ran out");
    }
  };
  serve(one);
  FaultyProxy proxy(proxied(), socket());
  remote::RemoteServer dead(settings(proxied()));
  play(dead);
  proxy.cut();
  remote::RemoteServer next(settings());
  EXPECT_EQ(reason_of([&] { play(next); }), Reason::too_large) << "all rooms are taken";
  while (ended == 0) std::this_thread::yield();
  EXPECT_NO_THROW(play(next));
  host_.reset();
}

}  // namespace
}  // namespace tessra::testing
