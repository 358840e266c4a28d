#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra::testing {

/// What every service backend must do, in the order an episode calls it. Instantiate it for a backend of your own:
///
///     TEST(FileService, conforms) { check_service([] { return std::make_shared<FileService>("…"); }, "only"); }
template <class Make>
void check_service(Make&& make, const std::string& scenario) {
  const std::shared_ptr<GameServer> service = make();
  ASSERT_FALSE(service->connect_server().is_none());
  service->check_clean_rooms();
  for (const int flag : {0, 1, 2}) {
    ASSERT_NE(service->reset(flag), Value(-1));
    if (!scenario.empty()) {
      EXPECT_FALSE(service->load_scenario("no such scenario").is_true());
      ASSERT_TRUE(service->load_scenario(scenario).is_true());
    }
    const Value sides = service->set_data_receive();
    ASSERT_FALSE(sides.as_dict().empty());
    for (auto [side_id, side] : sides.as_dict()) {
      EXPECT_TRUE(side.as_dict().at("Name").is_string());
      for (const Value& friend_id : side.as_dict().at_list("Friend")) EXPECT_TRUE(sides.as_dict().contains(friend_id));
    }
    service->request_full_situation();
    Value initial = service->get_init_situation();
    ASSERT_TRUE(has_sides(initial));
    EXPECT_TRUE(initial.as_dict().at_dict("ScenarioInfo").contains("ScenarioID"));
    for (const char* field : {"Time", "StartTime", "Duration"}) {
      EXPECT_TRUE(initial.as_dict().at_dict("ScenarioInfo").at(field).is_integer()) << field;
    }

    // Records are handed over: what the engine does to one must not show in the next.
    initial.as_dict().clear();
    service->run_command("ChangeSpeed({SPEED='1'})");
    EXPECT_FALSE(service->need_do_package_command()) << "nothing is queued";
    service->run_simulate();
    Value update = service->get_step_situation();
    ASSERT_TRUE(update.truthy());
    EXPECT_FALSE(update.as_dict().non_empty("IsEnd"));
    update.as_dict().clear();
    service->run_simulate();
    ASSERT_TRUE(service->get_step_situation().truthy());
    service->update_simulate_timestamp(1);
  }
}

}  // namespace tessra::testing
