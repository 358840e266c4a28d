// One decision of every agent, and sending the commands they queued.

#include <fmt/format.h>
#include <fmt/printf.h>

#include <algorithm>

#include "Tessra/entitys/deduce_RL/agent_calls.h"
#include "Tessra/entitys/deduce_RL/messages.h"

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

std::string text_under(const Dict& entry, std::string_view key) {
  const Value text = entry.get(key);
  return text.is_string() ? std::string(text.as_text()) : std::string();
}

/// Hands each player what was refused of its side's orders; returns how many orders were refused. A service that does
/// not list them still reports each in a line.
std::int64_t hand_out_refusals(const Dict& response, const OrderedMap<std::shared_ptr<RuleAgentBase>>& players) {
  const Value refused = response.get("refused");
  if (!refused.is_list()) {
    const std::string_view lines = response.at_text("resbin");
    return std::ranges::count(lines, '\n') + (lines.empty() || lines.ends_with('\n') ? 0 : 1);
  }
  for (const Value& item : refused.as_list()) {
    const Dict* entry = item.if_dict();
    if (entry == nullptr) continue;
    const auto* player = players.find(text_under(*entry, "side"));
    if (player != nullptr) {
      (*player)->refused_orders.push_back({text_under(*entry, "command"), text_under(*entry, "reason")});
    }
  }
  return static_cast<std::int64_t>(refused.as_list().size());
}

}  // namespace

std::variant<StepTimes, BatResult> Deduction::agents_step(Dict action_dict) {
  StepTimes times;
  for (const auto& [side, player] : players) {
    const Situation& situation = player->get_situation();
    for (const auto& agent : *player->agents_list) {
      const std::string name = agent->agent_type;  // a copy: the agent may change its fields
      show_player(*this, agent, *player);
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
      const bool succeeded = call_agent(*this, agent, operation, decide, LogLevel::info, [&](const auto& error) {
        return fmt::format("智能体初始化代码出错, 推演方: {}, 智能体名:{} 错误信息:{}", agent->Side(), name, error);
      });
      if (!succeeded) return get_game_result(agent->Side());
      times.set(name, seams_.clock->now() - start);
    }
  }
  return times;
}

void Deduction::cmd_package() {
  // Agents see the refusals of the last package only.
  for (const auto& [side, player] : players) player->refused_orders.clear();
  if (!game->need_do_package_command()) return;
  const Value response = game->do_package_command();
  if (!response.as_dict().at("message").is_text("Error")) return;
  log_or_print(*this, LogLevel::error, fmt::sprintf("打包发送指令错误:%s", response.as_dict().at_text("resbin")));
  orders_refused += hand_out_refusals(response.as_dict(), players);
}

}  // namespace tessra
