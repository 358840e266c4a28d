// Agents: how they are built, when they are called, what they see, and the results of their sides.

#include "Tessra/entitys/gameunit.h"
#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

class Learner : public ScriptedAgent {
 public:
  static constexpr bool is_learn = true;
  explicit Learner(const AgentConf& given) : ScriptedAgent(given.side), conf(given) {}
  AgentConf conf;
};

class Both : public ScriptedAgent {
 public:
  explicit Both(const AgentConf& given) : ScriptedAgent("conf of " + given.side) {}
  explicit Both(std::string side_name) : ScriptedAgent(std::move(side_name)) {}
};

class Odd : public Agent {
 public:
  Odd(std::string side_name, int) : Agent(std::move(side_name)) {}
};

class Agents : public EngineTest {
 protected:
  void add_rule_agent(const char* side, const char* name, const Value& agent_class) {
    config.at_dict("rule_config").at_dict(side).set(name, Dict{{"class", agent_class}});
  }
};

/// Every call into three agents of two sides, over two episodes.
TEST_F(Agents, are_called_in_order) {
  add_rule_agent("红方", "tank", AgentClass::of<Learner>("learner"));
  const Value tick = json("{'ScenarioInfo': {'Time': 90000}}");
  server->updates = {tick, json("{'IsEnd': true}")};
  ScriptedAgent::journal.clear();
  start();
  red().agents_list->at(1)->is_rule_agent = false;
  for (int step = 0; step < 2; ++step) engine().step(Dict());
  engine().reset(2);
  std::vector<std::string> expected;
  const auto each = [&expected](std::initializer_list<const char*> operations) {
    for (const std::string agent : {"patrol-1", "tank", "strike-1"}) {
      for (const std::string operation : operations)
        expected.push_back(agent + " " + operation + (agent == "tank" && operation == "step" ? "_rl" : ""));
    }
  };
  each({"update_constant_attribute", "update_object_attribute", "info_extract"});
  each({"initial"});
  each({"update_constant_attribute", "step"});
  each({"update_constant_attribute", "is_done"});
  each({"update_constant_attribute", "step"});
  each({"update_constant_attribute", "deduction_end"});
  each({"reset"});
  each({"update_constant_attribute", "update_object_attribute", "info_extract"});
  each({"initial"});
  EXPECT_EQ(ScriptedAgent::journal, expected);
}

TEST_F(Agents, are_built_by_the_form_of_their_class) {
  const Value learner(AgentClass::of<Learner>("learner"));
  add_rule_agent("红方", "odd", AgentClass::of<Odd>("odd"));
  add_rule_agent("蓝方", "thinker", learner);
  add_rule_agent("蓝方", "both", AgentClass::of<Both>("both"));
  const Dict tanks{{"tank", Dict{{"class", learner}, {"speed", 3}}}};
  section().set("RL_agents", Dict{{"红方", Dict{{"enemy", "黄方"}, {"agents", tanks}}}});
  start();
  const AgentList& list = *red().agents_list;
  ASSERT_EQ(list.size(), 2u) << "a class with another constructor is passed over";
  EXPECT_EQ(list.at(0)->client_info, Value(json("{'range': 5}")));
  const auto& tank = dynamic_cast<const Learner&>(*list.at(1));
  EXPECT_TRUE(tank.conf.uid == 1001 && tank.conf.enemy_side == "黄方" && tank.conf.agent_name == "RL-tank");
  EXPECT_FALSE(tank.is_rule_agent);
  EXPECT_EQ(dynamic_cast<const Learner&>(*blue().agents_list->at(1)).conf.uid, 1000);
  EXPECT_EQ(blue().agents_list->at(2)->side, "蓝方") << "a class that does not learn is built from its side";
  EXPECT_EQ(engine().agents.at("红方"), red().agents_list);
  EXPECT_THAT(engine().unreported_sides(), ElementsAre("黄方"));
  EXPECT_EQ(Value(engine().agent_names),
            Value(json("{'红方': 'patrol-1', '蓝方': 'strike-1', '黄方': 'Data-NoAgent'}")));
  EXPECT_THROW(engine().config_agent(engine().rule_agent_config, engine().rl_agent_config), KeyError)
      << "`class` was taken out of the entries";
}

TEST_F(Agents, of_a_training_host_are_told_what_they_are) {
  Dict sides = json("{'红方': {'enemy': '蓝方', 'agents': {'tank': {'unit': ['u1', 'u2']}}}}");
  sides.at_dict("红方").at_dict("agents").at_dict("tank").set("class", AgentClass::of<Learner>("learner"));
  std::string told;
  for (const auto& agent : Deduction::create_rl_agents(sides, json("{'framework': 'f', 'alg': 'a'}"))) {
    const AgentConf& conf = dynamic_cast<const Learner&>(*agent).conf;
    told += agent->agent_type + std::to_string(conf.uid);
    for (const std::string& text : {conf.framework, conf.enemy_side, conf.side, conf.agent_name, conf.alg})
      told += " " + text;
  }
  EXPECT_EQ(told, "tank0 f 蓝方 红方 u1 atank1 f 蓝方 红方 u2 a");
}

TEST_F(Agents, action_records_go_to_the_first_learner_of_their_type) {
  const Value learner(AgentClass::of<Learner>("learner"));
  const Dict tanks{{"agents", Dict{{"tank", Dict{{"class", learner}}}}}};
  section().set("RL_agents", Dict{{"红方", tanks}, {"蓝方", tanks.deep_copy()}});
  start();
  const Dict actions = json("{'u1': {'_agent_type_': 'tank', 'go': 1}, 'u2': {'_agent_type_': 'patrol-1'}, 'u3': {}}");
  engine().agents_step(actions);
  const auto& first = dynamic_cast<const Learner&>(*red().agents_list->at(1));
  const auto& second = dynamic_cast<const Learner&>(*blue().agents_list->at(1));
  EXPECT_EQ(Value(first.action_records.at(0)), Value(json("{'u1': {'go': 1}}")));
  EXPECT_TRUE(second.action_records.at(0).empty());
  EXPECT_TRUE(actions.at_dict("u2").contains("_agent_type_")) << "not delivered, not changed";
}

TEST_F(Agents, see_their_side_and_order_their_units) {
  Dict sides = server->initial.as_dict().at_dict("ScenarioInfo").at_dict("SideInfo");
  sides.at_dict("r").set("Postures", json("{'b': 3, 'g': 1}"));
  start();
  agent_of(red()).on_situation = [](const Situation& situation) {
    ASSERT_NE(situation.unit("a1"), nullptr);
    EXPECT_EQ(situation.unit_named("Alpha 1"), situation.unit("a1"));
    EXPECT_EQ(situation.unit("u9"), nullptr) << "not red's";
    EXPECT_TRUE(situation.contacts().contains("c1"));
    EXPECT_EQ(situation.duration(), Value(3600));
    EXPECT_EQ(situation.posture_toward(situation.contacts().at_dict("c1").at("Side")), 3) << "by the name it shows";
    EXPECT_EQ(situation.posture_toward("g"), 1);
    EXPECT_EQ(situation.posture_toward("nobody"), std::nullopt);
    situation.unit("a1")->attack("c1'}) Evil({'", "Missile", 2);
    const GeoPoint course[] = {{1.5, -2.25}};
    situation.unit("s1")->plot_course(course);
  };
  engine().agents_step(Dict());
  EXPECT_THAT(
      server->commands,
      ElementsAre("Attack({SIDE='红方', UNIT='a1', CONTACT='c1\\039}) Evil({\\039', WEAPON='Missile', QUANTITY=2})",
                  "PlotCourse({SIDE='红方', UNIT='s1', COURSE={{LON=1.5, LAT=-2.25}}})"));
}

TEST_F(Agents, callbacks_end_with_the_engine) {
  start();
  const auto agent = red().agents_list->at(0);
  const WargameCommand command = agent->get_command_check("a1");
  EXPECT_EQ(command.time_elapsed, 60.0);
  EXPECT_EQ(command.plan_time, Value(300));
  EXPECT_EQ(command.position.at("Lon"), Value(1.0));
  EXPECT_TRUE(agent->get_command_check("unheard").position.empty());
  {
    Deduction short_lived(Dict(json("{'game_server': {'simulate': {}, 'server': {'url': 'scripted:'}}}")),
                          seams.seams());
    short_lived.agents_side_config.set("x", List());
    short_lived.config_agent(Dict{{"x", Dict{{"y", Dict{{"class", AgentClass::of<ScriptedAgent>("s")}}}}}}, Dict());
    short_lived.players.at("x")->agents_list->at(0)->deduce_remove_mission("x", "m");
    red().agents_list->push_back(short_lived.players.at("x")->agents_list->at(0));
  }
  EXPECT_THROW(red().agents_list->back()->deduce_remove_mission("x", "m"), Error);
}

TEST_F(Agents, unit_ids_reach_the_agents_of_the_map) {
  auto agent = std::make_shared<ScriptedAgent>("红方");
  agent->agent_unit_name = "Ship 1";
  config.set("agent_map", Dict{{"0", std::shared_ptr<Agent>(agent)}});
  start();
  EXPECT_EQ(agent->agent_unit_id, Value("s1"));
}

TEST_F(Agents, results_map_sides_onto_camps) {
  start();
  const struct {
    const char *names, *error_side, *red, *blue;
    double red_score;
  } cases[] = {
      {"{'红方': 'A', '蓝方': 'B'}", "", "A", "B", 10},
      {"{'蓝方': 'B', '红方': 'A'}", "蓝方", "A", "B", 90000},
      {"{'X': 'x', 'Y': 'y'}", "Y", "x", "y", 90000},
      {"{'X': 'x', 'Y': 'y', 'Z': 'z'}", "X", "x", "y", -90000},
      {"{'X': 'x', 'Y': 'y', 'Z': 'z'}", "Z", "x", "y", 90000},
      {"{'X': 'x', '蓝方': 'B', 'Z': 'z'}", "nobody", "z", "B", 0},
  };
  for (const auto& given : cases) {
    engine().agent_names = json(given.names);
    const BatResult result = engine().get_game_result(given.error_side);
    EXPECT_EQ(result.red_name, given.red) << given.names;
    EXPECT_EQ(result.blue_name, given.blue) << given.names;
    EXPECT_EQ(result.red_score, Value(given.red_score)) << given.names << given.error_side;
    EXPECT_EQ(result.blue_score, Value(-given.red_score));
    EXPECT_EQ(result.error_side, given.error_side);
  }
  red().attributes().erase("TotalScore");
  EXPECT_THROW(engine().get_game_result(), KeyError);
}

}  // namespace
}  // namespace tessra::testing
