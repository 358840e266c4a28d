#include <fmt/format.h>
#include <fmt/printf.h>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/agent_call.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra {

void Deduction::call_bare(const std::shared_ptr<Agent>& agent, const char* operation,
                          const std::function<void()>& call) {
  failed_call_ = {agent, operation, agent->side, agent->agent_type};
  const AgentCall running(*agent, operation);
  call();
  failed_call_ = {};
}

std::shared_ptr<Agent> Deduction::build(const std::string& side, const std::string& name,
                                        const std::function<std::shared_ptr<Agent>()>& make) {
  failed_call_ = {nullptr, "constructor", side, name};
  const AgentCall running(side, name, failed_call_.operation);
  auto agent = make();
  failed_call_ = {};
  return agent;
}

void Deduction::work_on(std::string_view side) { failed_call_ = {nullptr, "", std::string(side), ""}; }

bool Deduction::call_agent(const std::shared_ptr<Agent>& agent, const char* operation,
                           const std::function<void()>& call, LogLevel level,
                           const std::function<std::string(const std::string& error)>& message) {
  if (is_testing.truthy()) {
    call_bare(agent, operation, call);
    return true;
  }
  const auto named_call = [&] {
    const AgentCall running(*agent, operation);
    call();
  };
  return guarded(named_call, [&](const std::exception_ptr& error) {
    ++calls_failed;
    seams_.console->print_error(trace_text(error));
    log_only(level, [&] { return message(error_text(error)); });
  });
}

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
      call_bare(agent, "update_constant_attribute", [&, &own = *player] { agent->update_constant_attribute(own); });
      call_bare(agent, "update_object_attribute", [&, &own = *player] { agent->update_object_attribute(own); });
      call_bare(agent, "info_extract", [&] { agent->info_extract(); });
    }
  }
}

std::optional<BatResult> Deduction::player_init() {
  for (const auto& [side, player] : players) {
    const Situation& situation = player->get_situation();
    for (const auto& agent : *player->agents_list) {
      const std::string name = agent->agent_type;
      const bool succeeded = call_agent(
          agent, "initial", [&] { agent->initial(situation); }, LogLevel::info,
          [&](const auto& error) {
            return fmt::format("智能体初始化代码出错, 推演方: {}, 智能体名:{} 错误信息:{}", agent->Side(), name, error);
          });
      if (!succeeded) return get_game_result(agent->Side());
    }
  }
  log_or_print(LogLevel::info, fmt::sprintf("第%d局, 当前推演时间:%ds, 智能体initial完成, 决策间隔:%ds ", current_round,
                                            whole_number(time_elapsed), whole_number(decision_interval)));
  return std::nullopt;
}

std::optional<BatResult> Deduction::agents_end() {
  for (const auto& [side, player] : players) {
    for (const auto& agent : *player->agents_list) {
      const std::string name = agent->agent_type;
      call_bare(agent, "update_constant_attribute", [&, &own = *player] { agent->update_constant_attribute(own); });
      const bool succeeded = call_agent(
          agent, "deduction_end", [&] { agent->deduction_end(); }, LogLevel::info,
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
      call_bare(agent, "update_constant_attribute", [&, &own = *player] { agent->update_constant_attribute(own); });
      bool done = false;
      const bool succeeded = call_agent(
          agent, "is_done", [&] { done = agent->is_done(); }, LogLevel::error,
          [&](const auto& error) {
            return fmt::sprintf("推演方-%s, 智能体-%s, is_done函数调用出错，%s", agent->Side(), name, error);
          });
      if (!succeeded) return get_game_result(agent->Side());
      if (done) {
        log_only(LogLevel::info, [&] {
          return fmt::sprintf("推演方-%s, 智能体-%s, is_done函数返回True, 结束本局！", agent->Side(), name);
        });
        return true;
      }
    }
  }
  return false;
}

void Deduction::agent_delete(std::string_view side, std::string_view guid) {
  auto* const element = find_element(guid);
  if (element == nullptr) return;
  const auto code = static_cast<int>(element->element_type());
  if (element->get_attribute("Side") == Value(side) && code >= 11 && code <= 17) elements.erase(guid);
}

void Deduction::agent_add_unit(std::string_view unit_id, std::shared_ptr<Element> unit) {
  elements.set(unit_id, std::move(unit));
}

}  // namespace tessra
