// The round that a scheduling client runs: the selected agent decides once per simulation step.

#include <fmt/printf.h>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/agent_call.h"
#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/deduce_RL/scheduled_reports.h"
#include "Tessra/entitys/deduce_RL/step_timing.h"

namespace tessra {

namespace {

std::shared_ptr<RuleAgentBase> scheduled_player(const Deduction& engine) {
  const auto* player = engine.players.find(engine.import_agent_side.to_text());
  return player != nullptr && !(*player)->agents_list->empty() ? *player : nullptr;
}

std::optional<BatResult> end_round(Deduction& engine, Agent& agent) {
  log_only(engine, LogLevel::info,
           [&] { return fmt::sprintf("当前推演时间:%ds, 推演结束", whole_number(engine.time_elapsed)); });
  std::string error_side;
  guarded(
      [&] {
        const AgentCall running(agent, "deduction_end");
        agent.deduction_end();
      },
      [&](const std::exception_ptr& error) {
        error_side = engine.import_agent_side.to_text();
        report_to_client(engine, "智能体'deduction_end'函数代码出错:%s.\n详情请查看-%s", error);
        log_trace(engine, "智能体'deduction_end'函数代码出错:%s", error);
        set_stop_signal(engine);
      });
  engine.cmd_package();
  return engine.get_game_result(error_side);
}

/// The larger of the client's and the agent's interval, in seconds.
Value decision_interval_of(const Deduction& engine, Agent& agent, const Value& client_interval) {
  const AgentCall running(agent, "agent_decision_time");
  const Value own = agent.agent_decision_time();
  log_only(engine, LogLevel::info, [&] { return "选手配置控制决策间隔：决策间隔为" + own.to_text() + "s"; });
  return own.as_real() > client_interval.as_real() ? own : client_interval;
}

bool request_client_settings(Deduction& engine, Agent& agent) {
  constexpr int kAttempts = 3;
  for (int attempt = 1; attempt <= kAttempts; ++attempt) {
    const bool succeeded = guarded(
        [&] {
          agent.client_info = engine.game->conn_req().req_client_agent_config(engine.agent_id_from_client,
                                                                              engine.agent_names_from_client);
          log_only(engine, LogLevel::info, "智能体请求前端配置参数成功！");
        },
        [&](const std::exception_ptr& error) {
          if (attempt < kAttempts) {
            log_trace(engine, "智能体请求前端配置参数出错，再次请求:%s", error);
            engine.seams().clock->wait(1, engine.main_exit_event.get());
            return;
          }
          report_to_client(engine, "智能体请求前端配置参数出错，智能体运行结束:%s.\n详情请查看-%s", error);
          log_trace(engine, "智能体请求前端配置参数出错，智能体运行结束:%s", error);
          set_stop_signal(engine);
        });
    if (succeeded) return true;
  }
  return false;
}

/// One decision with its commands; false when the client's settings could not be had.
bool decide(Deduction& engine, RuleAgentBase& player, Agent& agent, StepTimes& step_times) {
  const Situation& situation = player.get_situation();
  {
    const AgentCall running(agent, "update_constant_attribute");
    agent.update_constant_attribute(player);
  }
  const double start = engine.seams().clock->now();
  if (!request_client_settings(engine, agent)) return false;
  guarded(
      [&] {
        const AgentCall running(agent, "info_extract");
        agent.info_extract();
      },
      [&](const std::exception_ptr& error) {
        report_to_client(engine, "智能体'info_extract'函数代码出错:%s.\n详情请查看-%s", error);
        log_trace(engine, "智能体'info_extract'函数代码出错:%s", error);
      });
  guarded(
      [&] {
        const AgentCall running(agent, "step");
        agent.step(engine.time_elapsed, situation);
      },
      [&](const std::exception_ptr& error) {
        report_once(engine, "智能体'step'函数代码出错:%s.\n详情请查看-%s.\n后续不再弹出提示！", error);
        log_trace(engine, "智能体'step'函数代码出错:%s", error);
      });
  guarded([&] { engine.cmd_package(); },
          [&](const std::exception_ptr& error) {
            report_once(engine, "智能体累积指令下达出错:%s.\n详情请查看-%s.\n后续不再弹出提示！", error);
            log_trace(engine, "智能体累积指令下达出错:%s", error);
          });
  step_times.set(player.get_attribute("Side").to_text(), engine.seams().clock->now() - start);
  return true;
}

void report_decision(const Deduction& engine, std::int64_t decisions) {
  guarded(
      [&] {
        engine.game->conn_req().req_agent_times(engine.agent_id_from_client, engine.agent_names_from_client, decisions);
      },
      [&](const std::exception_ptr& error) {
        engine.game->agent_error_message_output(fmt::sprintf("智能体step函数执行次数发送错误:%s", error_text(error)));
        log_trace(engine, "智能体step函数执行次数发送错误:%s", error);
      });
}

}  // namespace

std::optional<BatResult> Deduction::game_run_round(std::optional<std::int64_t> /*max_index*/) {
  const std::shared_ptr<RuleAgentBase> player = scheduled_player(*this);
  if (player == nullptr) {
    game->agent_error_message_output("创建调度的智能体失败，智能体退出！");
    log_only(*this, LogLevel::error, "创建调度的智能体失败，智能体退出！");
    set_stop_signal(*this);
    return std::nullopt;
  }
  Agent& agent = *player->agents_list->front();
  const bool is_end = deduce_is_end;
  std::int64_t decisions = 0;
  const Value client_interval = read_decision_time();
  log_only(*this, LogLevel::info, [&] { return "管理后台决策间隔：决策间隔为" + client_interval.to_text() + "s"; });

  // The flag is read once: a round that is entered ends only through the returns below.
  while (!is_end) {
    if (is_done()) return end_round(*this, agent);
    const Value interval = decision_interval_of(*this, agent, client_interval);
    log_only(*this, LogLevel::info, [&] {
      return fmt::sprintf("智能体初始运行时间:%ds, 当前推演时间:%ds 满足决策间隔:%ds, 进行决策",
                          whole_number(start_game_time_elapsed ? Value(*start_game_time_elapsed) : Value()),
                          whole_number(time_elapsed), whole_number(interval));
    });
    StepTimes step_times;
    if (!decide(*this, *player, agent, step_times)) return std::nullopt;
    report_decision(*this, ++decisions);

    const Value next_interval = decision_interval_of(*this, agent, client_interval);
    log_only(*this, LogLevel::info,
             [&] { return "取选手和管理后台智能体决策间隔最大值：决策间隔为" + next_interval.to_text() + "s"; });
    game->update_step_interval(next_interval);

    const double start = seams_.clock->now();
    const Value update = game->get_step_situation();
    if (const Dict* record = update.if_dict(); record != nullptr && record->non_empty("Crash")) return std::nullopt;
    const double data_time = seams_.clock->now() - start;
    process_step_situation(update);
    const double update_time = seams_.clock->now() - start - data_time;
    if (logger != nullptr && is_timing_due(*this, decisions)) {
      const double total = seams_.clock->now() - start;
      log_only(*this, LogLevel::info,
               timing_line(*this, {"get data", decisions, total, data_time, update_time}, step_times));
    }
  }
  return std::nullopt;
}

}  // namespace tessra
