#include <fmt/printf.h>

#include <algorithm>
#include <regex>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/messages.h"

namespace tessra {

namespace {

std::int64_t milliseconds(Scenario& scenario, const char* name) {
  const Value value = scenario.get_attribute(name);
  if (value.is_number() || value.is_string()) return value.to_integer();
  throw KindError(fmt::sprintf("the scenario's '%s' is a %s", name, std::string(kind_name(value.kind()))));
}

}  // namespace

Value Deduction::init_connect_server() { return game->connect_server(); }

bool Deduction::scenario_exists(const Value& name) {
  const Value names = game->get_scenarios();
  if (const Dict* by_name = names.if_dict()) {
    return std::any_of(by_name->begin(), by_name->end(), [&](const auto& entry) { return entry.key == name; });
  }
  const List& list = names.as_list();
  return std::find(list.begin(), list.end(), name) != list.end();
}

bool Deduction::load_scenario(const Value& name) {
  if (!name.truthy()) {
    log_only(*this, LogLevel::info, "无需加载想定");
    return true;
  }
  const double start = seams_.clock->now();
  bool loaded = false;
  for (int attempt = 0; attempt < 5 && !loaded; ++attempt) {
    const bool answered = guarded(
        [&] { loaded = game->load_scenario(name).is_true(); },
        [&](const std::exception_ptr& error) {
          log_or_print(*this, LogLevel::error, fmt::sprintf("加载想定-%s-出错:%s!", name.to_text(), error_text(error)));
        });
    if (loaded) break;
    if (answered) log_or_print(*this, LogLevel::error, fmt::sprintf("加载想定-%s-失败!", name.to_text()));
    seams_.clock->wait(1);
  }
  const double seconds = seams_.clock->now() - start;
  if (!loaded) {
    log_only(*this, LogLevel::info, "加载想定失败!");
    return false;
  }
  log_only(*this, LogLevel::info, [&] {
    const auto line =
        fmt::sprintf("第%d局,想定'%s'加载成功,加载想定耗时:%.1lfs", current_round, name.to_text(), seconds);
    return process_id.is_none() ? line : fmt::sprintf("进程:%d,", whole_number(process_id)) + line;
  });
  return true;
}

void Deduction::delete_scenario() { game->net_sdk().delete_scen(1, scenario_name.to_text()); }

void Deduction::set_simulate_compression(const Value& n_compression) {
  game->run_command(fmt::sprintf("ChangeSpeed({SPEED='%d'})", whole_number(n_compression)));
}

void Deduction::update_simulate_info() {
  if (scenario_obj == nullptr) throw Error("there is no scenario element, so no scenario time");
  const std::int64_t time = milliseconds(*scenario_obj, "Time");
  const std::int64_t start_time = milliseconds(*scenario_obj, "StartTime");
  time_elapsed = (static_cast<double>(time) - static_cast<double>(start_time)) / 1000;
  if (!start_game_time_elapsed) start_game_time_elapsed = time_elapsed;
  simulate_time = cf::get_scenario_time(time, true);
  simulate_timestamp = time;
  for (const auto& [side, player] : players) {
    player->set_time_elapse(time_elapsed);
    player->simulate_timestamp = simulate_timestamp;
    player->scenario = scenario_obj;
  }
  game->update_simulate_timestamp(simulate_timestamp);
}

WargameCommand Deduction::get_command_check(std::string_view unit_guid) {
  const Dict* position = init_units.find_dict(unit_guid);
  return {std::string(unit_guid), time_elapsed, plan_time, position != nullptr ? *position : Dict()};
}

std::chrono::sys_seconds Deduction::datetime_transfer(std::string_view simulate_time) {
  // `strptime` would also take signs, and blanks where there are none or none where there is one.
  const std::regex form(R"((\d{4})[-/](\d\d?)[-/](\d\d?) (\d\d?):(\d\d?):(\d\d?))");
  const std::string text(simulate_time);
  std::smatch parts;
  if (std::regex_match(text, parts, form)) {
    const auto field = [&parts](std::size_t number) { return std::stoi(parts[number]); };
    const std::chrono::year_month_day date(std::chrono::year(field(1)),
                                           std::chrono::month(static_cast<unsigned>(field(2))),
                                           std::chrono::day(static_cast<unsigned>(field(3))));
    if (date.ok() && field(4) < 24 && field(5) < 60 && field(6) < 60) {
      return std::chrono::sys_days(date) + std::chrono::hours(field(4)) + std::chrono::minutes(field(5)) +
             std::chrono::seconds(field(6));
    }
  }
  throw ConversionError("no date and time of the form 2024-05-01 08:00:00: '" + text + "'");
}

}  // namespace tessra
