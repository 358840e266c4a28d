#include <fmt/format.h>
#include <fmt/printf.h>

#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra {

namespace {

/// The host's records for agents of this type. Delivered records lose their `_agent_type_`, so each goes to the first
/// matching agent of a call only.
Dict take_action_records(Dict& action_dict, const std::string& agent_type) {
  Dict own;
  for (auto [id, record] : action_dict) {
    const Value* wanted = record.as_dict().find("_agent_type_");
    if (wanted == nullptr || !wanted->is_text(agent_type)) continue;
    record.as_dict().erase("_agent_type_");
    own.set(id, record);
  }
  return own;
}

}  // namespace

std::variant<StepTimes, BatResult> Deduction::agents_step(Dict action_dict) {
  StepTimes times;
  for (const auto& [side, player] : players) {
    const Situation& situation = player->get_situation();
    for (const auto& agent : *player->agents_list) {
      const std::string name = agent->agent_type;
      call_bare(agent, "update_constant_attribute", [&, &own = *player] { agent->update_constant_attribute(own); });
      const Dict records = agent->is_rule_agent ? Dict() : take_action_records(action_dict, name);
      const double start = seams_.clock->now();
      const auto decide = [&] {
        if (agent->is_rule_agent) {
          agent->step(time_elapsed, situation);
        } else {
          agent->step_rl(time_elapsed, situation, records);
        }
      };
      const char* operation = agent->is_rule_agent ? "step" : "step_rl";
      const bool succeeded = call_agent(agent, operation, decide, LogLevel::info, [&](const auto& error) {
        return fmt::format("智能体初始化代码出错, 推演方: {}, 智能体名:{} 错误信息:{}", agent->Side(), name, error);
      });
      if (!succeeded) return get_game_result(agent->Side());
      times.set(name, seams_.clock->now() - start);
    }
  }
  return times;
}

void Deduction::cmd_package() {
  if (!game->need_do_package_command()) return;
  const Value response = game->do_package_command();
  if (!response.as_dict().at("message").is_text("Error")) return;
  log_or_print(LogLevel::error, fmt::sprintf("打包发送指令错误:%s", response.as_dict().at_text("resbin")));
}

}  // namespace tessra
