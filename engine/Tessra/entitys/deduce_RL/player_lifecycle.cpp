// Calls to all agents at episode start and end, in the order of the players and of their lists of agents.

#include <fmt/format.h>
#include <fmt/printf.h>

#include "Tessra/entitys/deduce_RL/agent_calls.h"
#include "Tessra/entitys/deduce_RL/element_lookup.h"
#include "Tessra/entitys/deduce_RL/messages.h"

namespace tessra {

void Deduction::get_agent_client_params() {
  for (const auto& [side, player] : players) {
    for (const auto& agent : *player->agents_list) {
      if (!game->is_ai_apply) break;
      agent->client_info = game->conn_req().req_client_agent_config(agent_id_from_client, agent_names_from_client);
    }
  }
}

void Deduction::players_update_attribute() {
  for (const auto& [side, player] : players) {
    for (const auto& agent : *player->agents_list) {
      show_player(*this, agent, *player);
      call_bare(*this, agent, "update_object_attribute", [&, &own = *player] { agent->update_object_attribute(own); });
      call_bare(*this, agent, "info_extract", [&] { agent->info_extract(); });
    }
  }
}

std::optional<BatResult> Deduction::player_init() {
  for (const auto& [side, player] : players) {
    const Situation& situation = player->get_situation();
    for (const auto& agent : *player->agents_list) {
      const std::string name = agent->agent_type;
      const bool succeeded = call_agent(
          *this, agent, "initial", [&] { agent->initial(situation); }, LogLevel::info,
          [&](const auto& error) {
            return fmt::format("智能体初始化代码出错, 推演方: {}, 智能体名:{} 错误信息:{}", agent->Side(), name, error);
          });
      if (!succeeded) return get_game_result(agent->Side());
    }
  }
  log_or_print(*this, LogLevel::info,
               fmt::sprintf("第%d局, 当前推演时间:%ds, 智能体initial完成, 决策间隔:%ds ", current_round,
                            whole_number(time_elapsed), whole_number(decision_interval)));
  return std::nullopt;
}

std::optional<BatResult> Deduction::agents_end() {
  for (const auto& [side, player] : players) {
    for (const auto& agent : *player->agents_list) {
      const std::string name = agent->agent_type;
      show_player(*this, agent, *player);
      const bool succeeded = call_agent(
          *this, agent, "deduction_end", [&] { agent->deduction_end(); }, LogLevel::info,
          [&](const auto& error) {
            return fmt::format("智能体deduction_end代码出错, 推演方: {}, 智能体名:{} 错误信息:{}", agent->Side(), name,
                               error);
          });
      if (!succeeded) return get_game_result(agent->Side());
    }
  }
  return std::nullopt;
}

std::variant<bool, BatResult> Deduction::agents_check_end() {
  for (const auto& [side, player] : players) {
    for (const auto& agent : *player->agents_list) {
      const std::string name = agent->agent_type;
      show_player(*this, agent, *player);
      bool done = false;
      const bool succeeded = call_agent(
          *this, agent, "is_done", [&] { done = agent->is_done(); }, LogLevel::error,
          [&](const auto& error) {
            return fmt::sprintf("推演方-%s, 智能体-%s, is_done函数调用出错，%s", agent->Side(), name, error);
          });
      if (!succeeded) return get_game_result(agent->Side());
      if (done) {
        log_only(*this, LogLevel::info, [&] {
          return fmt::sprintf("推演方-%s, 智能体-%s, is_done函数返回True, 结束本局！", agent->Side(), name);
        });
        return true;
      }
    }
  }
  return false;
}

void Deduction::agent_delete(std::string_view side, std::string_view guid) {
  auto* const element = find_element(*this, guid);
  if (element == nullptr) return;
  const auto code = static_cast<int>(element->element_type());
  if (element->get_attribute("Side") == Value(side) && code >= 11 && code <= 17) elements.erase(guid);
}

void Deduction::agent_add_unit(std::string_view unit_id, std::shared_ptr<Element> unit) {
  elements.set(unit_id, std::move(unit));
}

}  // namespace tessra
