// Simulation, engine and scheduling client as processes of their own.

#include "support/command_line_fixture.h"

namespace tessra::testing {
namespace {

class Processes : public CommandLine {
 protected:
  /// Runs shell commands while this one serves at `$url`; its process is `$server`, its output `$out`.
  Output beside(const std::string& command, const std::string& script) {
    const std::string socket = path("s");
    return shell("out=" + path("out") + "; url=grpc+unix:" + socket + "; " + TESSRA_DEDUCE + " " + command +
                 " --listen unix:" + socket + " >$out & server=$!; until grep -qs grpc " + path("out") +
                 "; do sleep 0.02; done; deduce=" TESSRA_DEDUCE "; " + script);
  }
  static std::string config(const std::string& name) { return TESSRA_SOURCE_DIR "/scenarios/" + name; }
};

TEST_F(Processes, serve_plays_for_others_and_ends_when_told) {
  const Output output = beside("serve",
                               "$deduce run --scenario skirmish --json --url $url; time -p kill $server; "
                               "wait $server; echo status $?");
  const Dict line = read_json(output.out.substr(0, output.out.find('\n'))).as_dict();
  const Output alone = run("run --scenario skirmish --json");
  EXPECT_EQ(line.at("red_score"), read_json(alone.out).as_dict().at("red_score"));
  EXPECT_THAT(output.out, EndsWith("status 0\n"));
  EXPECT_EQ(read(path("out")), "listening on grpc+unix:" + path("s") + "\n");
}

TEST_F(Processes, a_killed_server_ends_the_run_with_one_line) {
  const std::string file = write("c.json", R"({"game_server": {"simulate": {"scenario": "strait", "episodes": 100},
                                               "server": {"lease": 1}}})");
  const Output output = beside("serve --lease 1", "$deduce run --quiet --config " + file +
                                                      " --url $url & run=$!; sleep 1; kill -9 $server; wait $run; "
                                                      "echo status $?");
  EXPECT_THAT(output.out, EndsWith("status 1\n"));
  EXPECT_THAT(output.err, HasSubstr("error: "));
  EXPECT_THAT(output.err, HasSubstr("no answer within 1 s, the room's lease"));
}

TEST_F(Processes, schedule_lets_one_agent_after_the_other_play) {
  const std::string settings = write("settings.json", R"({"1": {"decision_interval": 600}})");
  const std::string example = apply_config("patrol", 30);
  const Output output = beside(
      "schedule --lease 1 --config " + example + " --settings " + settings,
      "for i in 1 2; do $deduce apply --json --config " + example +
          " --url $url; done; "
          // One that dies in the middle, and one that fails.
          "$deduce apply --quiet --config " +
          apply_config("never-returns", 30) + library() + " --url $url & agent=$!; " +
          "until [ $(grep -c 'an agent plays' $out) = 3 ]; do sleep 0.02; done; kill -9 $agent; " +
          "until grep -q 'before the end' $out; do sleep 0.05; done; : >" + settings +
          "; until grep -q error $out; do sleep 0.05; done; sleep 0.5; " + "$deduce apply --quiet --config " +
          apply_config("throws-in-step", 600) + library() + " --url $url; kill $server; wait $server; echo status $?");
  EXPECT_THAT(output.out, EndsWith("status 0\n"));
  const Dict line = read_json(output.out.substr(0, output.out.find('\n'))).as_dict();
  EXPECT_EQ(line.at("steps"), Value(9)) << "the settings' interval";
  const std::string shown = read(path("out"));
  EXPECT_THAT(shown, HasSubstr("decision 9\nthe round has ended; 红方 "));
  EXPECT_THAT(shown, HasSubstr("the agent has left before the end: the room's lease ran out\n"));
  EXPECT_EQ(shown.find("error: "), shown.rfind("error: ")) << "a wrong file is told once";
  EXPECT_THAT(shown, HasSubstr("the settings stay as they were\n"));
  EXPECT_THAT(shown, HasSubstr("agent: 智能体'step'函数代码出错:lost in step."));
}

TEST_F(Processes, serve_ends_with_the_process_that_started_it) {
  const Output output = shell("sh -c '" TESSRA_DEDUCE " serve --exit-with-parent --listen unix:" + path("s") + " >" +
                              path("out") + " & echo $!; until grep -qs grpc " + path("out") +
                              "; do sleep 0.02; done' >" + path("pid") + "; for i in $(seq 100); do kill -0 $(cat " +
                              path("pid") + ") 2>/dev/null || exit 0; sleep 0.02; done; exit 1");
  EXPECT_EQ(output.status, 0);
}

TEST_F(Processes, wrong_addresses_and_files_are_refused) {
  expect_refused("serve --listen nowhere", "'nowhere' is no address");
  expect_refused("serve --listen 0.0.0.0:0", "0.0.0.0:0 is open to the network");
  expect_refused("serve --backend nosuch:x", "--backend nosuch:x: no service backend");
  expect_refused("serve --backend embedded:/nosuch --listen 127.0.0.1:0", "--backend embedded:/nosuch: ");
  expect_refused("serve --token-file /nosuch", "cannot read /nosuch", 1);
  expect_refused("serve --tls-cert " + write("c.pem", "x"), "not a PEM file");
  expect_refused("run --url grpc:nowhere", "'grpc:nowhere' is no address");
  expect_refused("run --url nosuch:x", "'nosuch:x': expected a URL with one of the schemes embedded:, grpc:");
  expect_refused("run --scenario " + config("strait.json") + " --url grpc://localhost:1", "must be a name");
  expect_refused("schedule --config " + write("r.json", R"({"is_ai_apply": true, "server": {"url": "records:."},
                                                          "player": {"player_side": "x"}})"),
                 "no agent can join this service");
  expect_refused("schedule --config " + config("skirmish.json"), "not for a scheduling client");
  expect_refused("schedule --config " + config("apply_strait.json") + " --settings " + write("s.json", R"({"a": 1})"),
                 "a: must be an object");
}

}  // namespace
}  // namespace tessra::testing
