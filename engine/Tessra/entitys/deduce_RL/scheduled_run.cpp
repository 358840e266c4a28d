// The run of one agent for a scheduling client, from connection to result.

#include <fmt/printf.h>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/agent_call.h"
#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/deduce_RL/scheduled_reports.h"

namespace tessra {

namespace {

/// One guarded piece of work; the texts take the error and, for the client, the run log's path.
struct Stage {
  std::function<void()> work;
  const char* client_text;
  const char* log_text;
};

[[noreturn]] void end_program(const Deduction& engine) {
  set_stop_signal(engine);
  engine.seams().exit->end(0);
  std::terminate();  // not reached: an exit that returns breaks its promise
}

void run_stage(Deduction& engine, const Stage& stage) {
  guarded(stage.work, [&](const std::exception_ptr& error) {
    engine.fatal_error = error;
    report_to_client(engine, stage.client_text, error);
    set_stop_signal(engine);
    log_trace(engine, stage.log_text, error);
    end_program(engine);
  });
}

void attempt_thrice(Deduction& engine, const std::function<void()>& work, const char* retry_text,
                    const char* exit_text) {
  constexpr int kAttempts = 3;
  bool succeeded = false;
  for (int attempt = 1; attempt <= kAttempts && !succeeded; ++attempt) {
    succeeded = guarded(work, [&](const std::exception_ptr& error) {
      // Without a run log a failure is neither told nor waited for, and the run goes on after the last one.
      if (engine.logger == nullptr) return;
      if (attempt == kAttempts) {
        engine.fatal_error = error;
        log_only(engine, LogLevel::error, fmt::sprintf(exit_text, error_text(error)));
        end_program(engine);
      }
      log_only(engine, LogLevel::error, fmt::sprintf(retry_text, error_text(error)));
      engine.seams().clock->wait(1, engine.main_exit_event.get());
    });
  }
}

/// From configuration to agents that are ready for the round.
void prepare(Deduction& engine, const Value& situation) {
  const Stage stages[] = {
      {[&] {
         if (engine.agents.empty()) engine.config_agent(engine.rule_agent_config, engine.rl_agent_config);
       },
       "读取配置创建智能体错误:%s.\n详情请查看-%s", "读取配置创建智能体错误:%s"},
      {[&] {
         engine.process_init_situation(situation);
         log_only(engine, LogLevel::info, "初始态势处理完成！");
       },
       "解析初始态势错误:%s.\n详情请查看-%s", "解析初始态势错误:%s"},
      {[&] {
         log_only(engine, LogLevel::info,
                  engine.rl_agents_load_model() ? "强化学习智能体加载模型成功！" : "非强化学习智能体不用加载模型！");
       },
       "强化学习智能体加载模型报错:%s.\n详情请查看-%s", "强化学习智能体加载模型报错:%s"},
      {[&] {
         engine.get_agent_client_params();
         log_only(engine, LogLevel::info, "智能体请求客户端参数完成！");
       },
       "智能体请求客户端配置的单元、目标等参数报错:%s.\n详情请查看-%s",
       "智能体请求客户端配置的单元、目标等参数报错:%s"},
      {[&] {
         engine.players_update_attribute();
         log_only(engine, LogLevel::info, "智能体根据客户端设置的参数更新属性！");
       },
       "智能体更新属性值报错:%s.\n详情请查看-%s", "智能体更新属性值报错:%s"},
      {[&] { engine.player_apply_init(); }, "框架player_apply_init函数报错:%s.\n详情请查看-%s",
       "框架player_apply_init函数报错:%s"},
  };
  for (const Stage& stage : stages) run_stage(engine, stage);
}

}  // namespace

RoundResults Deduction::normal_simulate() {
  failed_call = {};
  fatal_error = nullptr;
  main_exit_event = std::make_shared<StopEvent>();
  attempt_thrice(
      *this, [&] { game->connect_client(main_exit_event); }, "连接客户端错误:%s，再次请求！",
      "连接客户端错误:%s，退出！");
  ++current_round;
  attempt_thrice(
      *this, [&] { game->request_full_situation(); }, "请求客户端完整态势错误:%s，再次请求！",
      "请求客户端完整态势错误:%s，退出！");
  log_only(*this, LogLevel::info, "请求客户端完整态势成功！");
  const Value situation = game->get_init_situation();
  if (!situation.truthy()) {
    game->agent_error_message_output("智能体未收到当前完整态势，退出！");
    end_program(*this);
  }
  log_only(*this, LogLevel::info, "收到客户端完整态势！");
  init_connect_data = false;

  prepare(*this, situation);
  cmd_package();
  log_only(*this, LogLevel::info, "智能体initial函数执行完成");

  round_result.reset();
  saved_result = 0;
  run_stage(*this, {[&] {
                      round_result = game_run_round();
                      if (save_result.truthy())
                        saved_result = tessra::save_result(round_result, seams_.config_directory);
                    },
                    "智能体决策step函数报错:%s.\n详情请查看-%s", "智能体决策step函数报错:%s"});
  return {{current_round, round_result}};
}

void Deduction::player_apply_init() {
  for (const auto& [side, player] : players) {
    const Situation& situation = player->get_situation();
    for (const auto& agent : *player->agents_list) {
      guarded(
          [&] {
            const AgentCall running(*agent, "initial");
            agent->initial(situation);
          },
          [&](const std::exception_ptr& error) {
            fatal_error = error;
            report_to_client(*this, "智能体initial函数报错:%s.\n详情请查看-%s", error);
            log_trace(*this, "智能体initial函数报错:%s", error);
            end_program(*this);
          });
    }
  }
}

}  // namespace tessra
