// Agents behind the wire: what they see, what they may order, and how the scheduling client and they lose each other.

#include <thread>

#include "Tessra/base/json_write.h"
#include "services/remote/remote_backends.h"
#include "services/scheduling_client.h"
#include "services/side_server.h"
#include "support/embedded_episode.h"
#include "support/fake_seams.h"
#include "support/faulty_proxy.h"
#include "support/remote_fixture.h"

namespace tessra::testing {
namespace {

using remote::RemoteError;
using ::testing::HasSubstr;

constexpr const char* kRed = "红方";

Dict apply_config(const std::string& url) {
  register_sample_agents(AgentRegistry::instance());
  Dict config = read_json(R"({"is_ai_apply": true, "simulate": {"scenario": "strait"}, "player": {"agent_id": "id",
                              "agent_name": "patrol-1", "player_side": "红方"}, "RL_agents": {"红方": {"enemy": "蓝方"}},
                              "rule_config": {"红方": {"patrol-1": {"class": "patrol"}}}})")
                    .as_dict();
  config.set("server", Dict{{"url", url}, {"agent_settings", read_json(R"({"id": {"decision_interval": 90}})")}});
  return config;
}

class RemoteAgents : public Remote {
 protected:
  RemoteAgents() {
    remote::register_remote_backends();
    remote::RoomOptions options;
    options.agent_side = kRed;
    options.make_backend = [this](const remote::RoomPlan&) {
      auto service = GameServer::create(apply_config("embedded:" TESSRA_SOURCE_DIR "/scenarios"));
      client_ = find_client<SchedulingClient>(*service);
      return std::make_shared<SideServer>(std::move(service), SideServer::Agent{kRed, "id", 60});
    };
    options.on_end = [this](const std::string& why) { ended_ = why; };
    serve(options);
  }
  ~RemoteAgents() override { host_.reset(); }

  std::string url() const { return "grpc+unix:" + socket(); }

  remote::RemoteSettings agent() const {
    remote::RemoteSettings agent = settings();
    agent.is_ai_apply = true;
    agent.side = kRed;
    return agent;
  }

  std::atomic<SchedulingClient*> client_ = nullptr;
  std::string ended_;
};

/// The ids and names of everything that a record holds under a name.
void collect_names(const Value& value, std::set<std::string>& names) {
  const Dict* dict = value.if_dict();
  if (dict == nullptr) return;
  for (auto [key, entry] : *dict) {
    const Dict* inner = entry.if_dict();
    if (inner != nullptr && inner->contains("Name")) {
      names.insert('"' + key.to_text() + '"');
      names.insert('"' + inner->at("Name").to_text() + '"');
    }
    collect_names(entry, names);
  }
}

/// What red may see, as text, and the names of everything else, over the initial record and two advances.
struct Truth {
  std::string of_red;
  std::set<std::string> hidden;
  std::set<std::string> hidden_sides;  // as keys

  Truth() {
    const auto service = GameServer::create(apply_config("embedded:" TESSRA_SOURCE_DIR "/scenarios"));
    service->connect_client(std::make_shared<StopEvent>());
    const Value sides = service->set_data_receive();
    add(service->get_init_situation(), sides.as_dict());
    for (int i = 0; i < 2; ++i) add(service->get_step_situation(), sides.as_dict());
    // Of some of it red has a contact.
    std::erase_if(hidden, [this](const std::string& name) { return of_red.find(name) != std::string::npos; });
  }

  void add(const Value& record, const Dict& sides) {
    std::set<std::string> seen;  // ids of red, and of those who share with it
    for (auto [id, side] : sides) {
      if (!side.as_dict().at("Name").is_text(kRed)) continue;
      seen.insert(id.to_text());
      for (const Value& sharer : side.as_dict().at_list("Friend")) seen.insert(sharer.to_text());
    }
    const Dict situation = record.as_dict().at_dict("Situation");
    for (auto [id, part] : situation.at_dict("SituationSides")) {
      if (seen.contains(id.to_text())) {
        of_red += write_json(part);
      } else {
        collect_names(part, hidden);
        hidden_sides.insert('"' + id.to_text() + "\":");
      }
    }
  }
};

TEST_F(RemoteAgents, receive_nothing_of_the_sides_that_do_not_share_with_them) {
  const Truth truth;
  ASSERT_GT(truth.hidden.size(), 20U);
  remote::RemoteServer client(agent());
  client.connect_client(std::make_shared<StopEvent>());
  std::string received = write_json(client.set_data_receive()) + write_json(client.get_init_situation());
  for (int i = 0; i < 2; ++i) received += write_json(client.get_step_situation());
  for (const std::string& name : truth.hidden) EXPECT_EQ(received.find(name), std::string::npos) << name;
  for (const std::string& side : truth.hidden_sides) EXPECT_EQ(received.find(side), std::string::npos) << side;
  EXPECT_GT(received.size(), truth.of_red.size()) << "and all that red may see";
}

TEST_F(RemoteAgents, give_no_orders_to_other_sides) {
  remote::RemoteServer client(agent());
  client.connect_client(std::make_shared<StopEvent>());
  const char* foreign[] = {"SetSpeed({SIDE='蓝方', UNIT='x', SPEED=1})", "SetSpeed({UNIT='x', SPEED=1})", "os.exit()",
                           "SetSpeed({SIDE='红方', UNIT='x', SPEED=1, SIDE='蓝方'})"};
  for (const char* command : foreign) {
    client.add_command(command);
    EXPECT_THROW(client.run_command(command), Error) << command;
  }
  client.add_command("SetSpeed({SIDE='红方', UNIT='nobody', SPEED=1})");
  const Value answer = client.do_package_command();
  const List& refused = answer.as_dict().at_list("refused");
  ASSERT_EQ(refused.size(), 5U);
  EXPECT_THAT(refused.at(0).as_dict().at("reason").to_text(), HasSubstr("gives no orders to side '蓝方'"));
  EXPECT_THAT(refused.at(1).as_dict().at("reason").to_text(), HasSubstr("must name its side"));
  EXPECT_EQ(refused.at(4).as_dict().at("number"), Value(5)) << "numbered as the agent knows them";
  EXPECT_THAT(refused.at(4).as_dict().at("reason").to_text(), HasSubstr("nobody"));
  // The scenario is the scheduling client's.
  for (const auto& work : {std::function<void()>([&] { client.simulate_end(); }),
                           {[&] { client.load_scenario("strait"); }},
                           {[&] { client.reset(0); }},
                           {[&] { client.get_scenarios(); }},
                           {[&] { client.net_sdk().delete_scen(1, "strait"); }}}) {
    EXPECT_EQ(reason_of(work), RemoteError::Reason::refused_token);
  }
}

TEST_F(RemoteAgents, of_other_sides_are_not_let_in) {
  for (const char* side : {"蓝方", ""}) {
    remote::RemoteSettings other = agent();
    other.side = side;
    EXPECT_EQ(reason_of([&] { remote::RemoteServer(other).connect_client(std::make_shared<StopEvent>()); }),
              RemoteError::Reason::refused_token);
  }
}

TEST_F(RemoteAgents, play_a_round_and_report_over_the_wire) {
  const FakeSeams seams;
  Deduction engine(apply_config(url()), seams.seams());
  const RoundResults results = engine.normal_simulate();
  ASSERT_TRUE(engine.round_result.has_value());
  EXPECT_GT(engine.round_result->red_score.as_real(), 0);
  EXPECT_EQ(engine.round_result->blue_score, Value(0.0)) << "the agent does not know it";
  EXPECT_EQ(client_.load()->agent_times("id"), 60) << "the settings' decision interval of 90 s";
  engine.game->agent_error_message_output("a text\nof two lines");
  EXPECT_THAT(client_.load()->error_texts(), ::testing::ElementsAre("a text\nof two lines"));
}

TEST_F(RemoteAgents, hear_of_the_end_from_the_scheduling_client) {
  remote::RemoteServer client(agent());
  const auto stop = std::make_shared<StopEvent>();
  client.connect_client(stop);
  EXPECT_TRUE(client.get_step_situation().as_dict().contains("ScenarioInfo"));
  client_.load()->stop();
  EXPECT_TRUE(stop->wait_for(std::chrono::seconds(2)));
  EXPECT_TRUE(client.get_step_situation().as_dict().non_empty("Crash"));
}

TEST_F(RemoteAgents, stop_when_the_scheduling_client_is_gone_longer_than_the_lease) {
  const std::string proxied = (folder_.path() / "p").string();
  FaultyProxy proxy(proxied, socket());
  remote::RemoteSettings far = agent();
  far.address = remote::read_url("grpc+unix:" + proxied);
  remote::RemoteServer client(far);
  const auto stop = std::make_shared<StopEvent>();
  client.connect_client(stop);
  proxy.cut();
  EXPECT_FALSE(stop->wait_for(std::chrono::milliseconds(300)));
  EXPECT_TRUE(stop->wait_for(std::chrono::seconds(4)));
}

TEST_F(RemoteAgents, stop_when_the_scheduling_client_says_that_it_ends) {
  remote::RemoteSettings patient = agent();
  patient.lease = 10;
  remote::RemoteServer client(patient);
  const auto stop = std::make_shared<StopEvent>();
  client.connect_client(stop);
  host_.reset();
  EXPECT_TRUE(stop->wait_for(std::chrono::seconds(2)));
}

TEST_F(RemoteAgents, may_think_longer_than_the_lease_while_they_are_attached) {
  remote::RemoteServer client(agent());
  client.connect_client(std::make_shared<StopEvent>());
  std::this_thread::sleep_for(std::chrono::milliseconds(1300));
  EXPECT_TRUE(client.get_step_situation().truthy());
}

TEST_F(RemoteAgents, have_settings_and_an_interval_of_their_own) {
  remote::RemoteServer client(agent());
  client.connect_client(std::make_shared<StopEvent>());
  EXPECT_EQ(client.conn_req().req_client_agent_config("id", "x").as_dict().at("decision_interval"), Value(90));
  EXPECT_THROW(client.conn_req().req_client_agent_config("other", "x"), RemoteError);
  EXPECT_THROW(client.conn_req().req_agent_times("other", "x", 1), RemoteError);
  EXPECT_EQ(reason_of([&] { client.conn_req().req_agent_times("id", "x", -1); }), RemoteError::Reason::bad_request);
  const auto time = [](const Value& record) { return record.as_dict().at_dict("ScenarioInfo").at_integer("Time"); };
  client.update_step_interval(1);
  const std::int64_t first = time(client.get_step_situation());
  EXPECT_EQ(time(client.get_step_situation()) - first, 60'000) << "not shorter than the scheduling client has it";
}

TEST_F(RemoteAgents, are_refused_at_once_where_nobody_attaches_them) {
  remote::RoomOptions whole = scenarios("check");
  serve(whole);
  remote::RemoteSettings other = agent();
  other.side = "";
  EXPECT_EQ(reason_of([&] { remote::RemoteServer(other).connect_client(std::make_shared<StopEvent>()); }),
            RemoteError::Reason::refused);
}

TEST_F(RemoteAgents, keys_that_are_no_json_or_too_deep_are_refused) {
  remote::Transport transport(settings().address, {});
  v1::OpenRoomRequest open;
  open.set_request_id("r");
  open.set_side(kRed);
  v1::OpenRoomReply room;
  ASSERT_TRUE(transport.call("OpenRoom", open, room, std::chrono::seconds(5)).ok());
  for (const std::string& text : {std::string("{"), std::string(65, '[') + std::string(65, ']'), std::string("\xff")}) {
    v1::GetAgentSettingsRequest request;
    request.mutable_call()->set_room(room.room());
    request.mutable_call()->set_token(room.token());
    request.mutable_call()->set_number(1);
    request.mutable_agent_id()->set_text(text);
    request.mutable_agent_name()->set_text("1");
    v1::GetAgentSettingsReply reply;
    const grpc::Status status = transport.call("GetAgentSettings", request, reply, std::chrono::seconds(5));
    EXPECT_EQ(status.error_code(), grpc::StatusCode::INVALID_ARGUMENT) << text;
    EXPECT_THAT(status.error_message(), HasSubstr("agent_id: "));
  }
}

}  // namespace
}  // namespace tessra::testing
