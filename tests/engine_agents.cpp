// Agents: how they are built, when they are called, what they see, and the results of their sides.

#include "Tessra/entitys/aircraft.h"
#include "Tessra/entitys/patrolmission.h"
#include "Tessra/entitys/strikemission.h"
#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

class Learner : public ScriptedAgent {
 public:
  static constexpr bool is_learn = true;
  explicit Learner(const AgentConf& given) : ScriptedAgent(given.side), conf(given) {}
  AgentConf conf;

  std::string conf_text() const {
    std::string text = agent_type + std::to_string(conf.uid);
    for (const std::string& part : {conf.framework, conf.enemy_side, conf.side, conf.agent_name, conf.alg})
      text += " " + part;
    return text;
  }
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
  add_rule_agent("蓝方", "odd", AgentClass::of<Odd>("odd"));
  add_rule_agent("蓝方", "thinker", learner);
  add_rule_agent("蓝方", "both", AgentClass::of<Both>("both"));
  const Dict tanks{{"tank", Dict{{"class", learner}, {"speed", 3}}}};
  section().set("RL_agents", Dict{{"红方", Dict{{"enemy", "黄方"}, {"agents", tanks}}}});
  start();
  const AgentList& list = *red().agents_list;
  ASSERT_EQ(blue().agents_list->size(), 3u) << "a class with another constructor is passed over";
  EXPECT_EQ(list.at(0)->client_info, Value(json("{'range': 5}")));
  const auto& tank = dynamic_cast<const Learner&>(*list.at(1));
  EXPECT_EQ(tank.conf_text(), "tank1001 torch 黄方 红方 RL-tank no");
  EXPECT_FALSE(tank.is_rule_agent);
  EXPECT_EQ(dynamic_cast<const Learner&>(*blue().agents_list->at(1)).conf_text(),
            "thinker1000 torch  蓝方 RL-thinker no");
  EXPECT_EQ(blue().agents_list->at(2)->side, "蓝方") << "a class that does not learn is built from its side";
  EXPECT_EQ(engine().agents.at("红方"), red().agents_list);
  EXPECT_THAT(engine().unreported_sides(), ElementsAre("黄方"));
  EXPECT_EQ(Value(engine().agent_names),
            Value(json("{'红方': 'patrol-1', '蓝方': 'strike-1', '黄方': 'Data-NoAgent'}")));
  EXPECT_THROW(engine().config_agent(engine().rule_agent_config, engine().rl_agent_config), KeyError)
      << "`class` was taken out of the entries";
}

TEST(AgentClasses, name_themselves_when_asked_for_another_form) {
  const auto factory =
      AgentClass::from_factory("made", [](const std::string& side) { return std::make_shared<Both>(side); });
  EXPECT_EQ(factory->make("side")->side, "side");
  EXPECT_EQ(thrown([&] { factory->make(AgentConf()); }),
            "tessra::Error: agent class 'made' has no constructor from an AgentConf");
  EXPECT_EQ(thrown([] { AgentClass::of<Learner>("learner")->make("side"); }),
            "tessra::Error: agent class 'learner' has no constructor from a side");
}

TEST_F(Agents, of_a_training_host_are_told_what_they_are) {
  Dict sides = json("{'红方': {'enemy': '蓝方', 'agents': {'tank': {'unit': ['u1', 'u2']}}}}");
  sides.at_dict("红方").at_dict("agents").at_dict("tank").set("class", AgentClass::of<Learner>("learner"));
  std::string told;
  for (const auto& agent : Deduction::create_rl_agents(sides, json("{'framework': 'f', 'alg': 'a'}")))
    told += dynamic_cast<const Learner&>(*agent).conf_text() + "; ";
  EXPECT_EQ(told, "tank0 f 蓝方 红方 u1 a; tank1 f 蓝方 红方 u2 a; ");
}

TEST_F(Agents, action_records_go_to_the_first_learner_of_their_type) {
  const Value learner(AgentClass::of<Learner>("learner"));
  const Dict tanks{{"agents", Dict{{"tank", Dict{{"class", learner}}}}}};
  section().set("RL_agents", Dict{{"红方", tanks}, {"蓝方", tanks.deep_copy()}});
  start();
  const Dict actions = json("{'u3': {}, 'u2': {'_agent_type_': 'patrol-1'}, 'u1': {'_agent_type_': 'tank', 'go': 1}}");
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
    ASSERT_NE(situation.mission("Cap"), nullptr);
    EXPECT_EQ(situation.mission("Cap")->guid(), "m1");
    EXPECT_EQ(situation.mission("m1"), nullptr) << "missions go by their names";
    EXPECT_TRUE(situation.contacts().contains("c1"));
    EXPECT_EQ(situation.duration(), Value(3600));
    EXPECT_EQ(situation.posture_toward(situation.contacts().at_dict("c1").at("Side")), 3) << "by the name it shows";
    EXPECT_EQ(situation.posture_toward("g"), 1);
    EXPECT_EQ(situation.posture_toward("nobody"), std::nullopt);
  };
  engine().agents_step(Dict());
}

TEST_F(Agents, orders_are_texts_for_the_service) {
  start();
  auto& jet = dynamic_cast<Aircraft&>(element("a1"));
  auto& cap = dynamic_cast<Mission&>(element("m1"));
  const GeoPoint places[] = {{1.5, -2.25}, {3, 4}};
  const std::string targets[] = {"c1", "c\x7F\n2\\"};
  jet.plot_course(places);
  jet.set_speed(250.5);
  jet.set_radar(true);
  jet.set_altitude(900);
  jet.attack("c1");
  jet.attack("c1'}) Evil({'", "Missile", 2);
  jet.cancel_attack();
  jet.set_weapon_control("hold");
  jet.assign_to_mission("Cap");
  jet.unassign_from_mission();
  jet.return_to_base();
  cap.assign_unit(jet);
  cap.unassign_unit(jet);
  cap.remove();
  PatrolMission::order_new(*server, "红方", "P", places);
  StrikeMission::order_new(*server, "红方", "S", targets);
  std::string orders;
  for (const std::string& order : server->commands) orders += order + "\n";
  EXPECT_EQ(orders, R"(PlotCourse({SIDE='红方', UNIT='a1', COURSE={{LON=1.5, LAT=-2.25}, {LON=3, LAT=4}}})
SetSpeed({SIDE='红方', UNIT='a1', SPEED=250.5})
SetRadar({SIDE='红方', UNIT='a1', ON=true})
SetAltitude({SIDE='红方', UNIT='a1', ALTITUDE=900})
Attack({SIDE='红方', UNIT='a1', CONTACT='c1'})
Attack({SIDE='红方', UNIT='a1', CONTACT='c1\039}) Evil({\039', WEAPON='Missile', QUANTITY=2})
CancelAttack({SIDE='红方', UNIT='a1'})
SetWeaponControl({SIDE='红方', UNIT='a1', CONTROL='hold'})
AssignUnit({SIDE='红方', UNIT='a1', MISSION='Cap'})
UnassignUnit({SIDE='红方', UNIT='a1'})
ReturnToBase({SIDE='红方', UNIT='a1'})
AssignUnit({SIDE='红方', UNIT='a1', MISSION='Cap'})
UnassignUnit({SIDE='红方', UNIT='a1'})
DeleteMission({SIDE='红方', NAME='Cap'})
AddPatrolMission({SIDE='红方', NAME='P', ZONE={{LON=1.5, LAT=-2.25}, {LON=3, LAT=4}}})
AddStrikeMission({SIDE='红方', NAME='S', TARGETS={'c1', 'c\127\0102\092'}})
)");
  EXPECT_EQ(thrown([&] { jet.set_speed(HUGE_VAL); }), "tessra::ConversionError: numbers in a command must be finite");
  EXPECT_EQ(thrown([&] { Aircraft("a2", "Invented", "红方"); }),
            "tessra::Error: unit 'a2' made without the creation key of its side");
}

TEST_F(Agents, calls_to_them_are_remembered_in_bounded_memory) {
  const AgentCall::Memory& memory = AgentCall::of_this_thread();
  for (const std::string& name : {std::string("tank"), std::string(300, 'x')}) {
    const AgentCall running("红方", name, "step");
    EXPECT_EQ(memory.running_text(), ("agent '" + name + "' of side '红方' in `step`").substr(0, 255));
  }
  EXPECT_EQ(memory.running_text(), "");
}

TEST_F(Agents, callbacks_end_with_the_engine) {
  start();
  const auto agent = red().agents_list->at(0);
  EXPECT_TRUE(agent->_game_server == server && agent->log == engine().logger);
  agent->deduce_add_unit("added", engine().elements.at("a1"));
  EXPECT_EQ(&element("added"), &element("a1"));
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
  EXPECT_EQ(thrown([&] { red().agents_list->back()->deduce_remove_mission("x", "m"); }),
            "tessra::Error: the engine of this agent has ended");
}

TEST_F(Agents, unit_ids_reach_the_agents_of_the_map) {
  auto agent = std::make_shared<ScriptedAgent>("红方");
  agent->agent_unit_name = "Ship 1";
  const auto nobodys = std::make_shared<ScriptedAgent>("nobody");
  config.set("agent_map", Dict{{"0", std::shared_ptr<Agent>(nobodys)}, {"1", std::shared_ptr<Agent>(agent)}});
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
      {"{'蓝方': 'B', '红方': 'A'}", "", "A", "B", 10},
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
  const auto first = engine().players.at("红方"), second = engine().players.at("蓝方");
  const struct {
    const char *first, *second, *names, *scores;
  } others[] = {
      {"X", "蓝方", "{}", "[10.0, -10.0]"},
      {"红方", "Y", "{}", "[10.0, -10.0]"},
      {"蓝方", "X", "{}", "[-10.0, 10.0]"},
      {"Y", "X", "{'X': 'x', 'Y': 'y', 'Z': 'z'}", "[-10.0, 10.0]"},
      {"X", "Z", "{'X': 'x', 'Y': 'y', 'Z': 'z'}", "[10.0, 0]"},
  };
  for (const auto& given : others) {
    engine().agent_names = json(given.names);
    engine().players = {};
    engine().players.set(given.first, first);
    engine().players.set(given.second, second);
    const BatResult result = engine().get_game_result();
    EXPECT_EQ(Value(List{result.red_score, result.blue_score}).to_text(), given.scores);
  }
  engine().players.set("红方", first);
  red().attributes().erase("TotalScore");
  EXPECT_EQ(thrown([&] { engine().get_game_result(); }),
            "tessra::KeyError: side '红方' has no attribute 'TotalScore': the service has reported none");
}

}  // namespace
}  // namespace tessra::testing
