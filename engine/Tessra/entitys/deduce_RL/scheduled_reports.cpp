#include "Tessra/entitys/deduce_RL/scheduled_reports.h"

#include <fmt/printf.h>

#include "Tessra/entitys/deduce_RL/messages.h"

namespace tessra {

void report_to_client(const Deduction& engine, const char* text, const std::exception_ptr& error) {
  engine.game->agent_error_message_output(fmt::sprintf(text, error_text(error), engine.log_file_path));
}

void report_once(Deduction& engine, const char* text, const std::exception_ptr& error) {
  if (engine.step_log_out) return;
  engine.step_log_out = true;
  report_to_client(engine, text, error);
}

void log_trace(const Deduction& engine, const char* text, const std::exception_ptr& error) {
  log_only(engine, LogLevel::error, [&] { return fmt::sprintf(text, trace_text(error)); });
}

void set_stop_signal(const Deduction& engine) {
  if (engine.main_exit_event == nullptr) throw Error("there is no stop signal: no scheduled run was started");
  engine.main_exit_event->set();
}

}  // namespace tessra
