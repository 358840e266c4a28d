#include "apps/deduce/run_command.h"

#include <fmt/format.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <unistd.h>

#include "Tessra/base/guard.h"
#include "Tessra/base/json_write.h"
#include "Tessra/base/log_file.h"
#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "apps/deduce/configuration_checks.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/progress.h"
#include "apps/deduce/results.h"
#include "apps/deduce/stop_signals.h"

namespace tessra::app {

namespace {

/// The engine always gets a sink: without a log file one that drops everything, so that nothing is printed.
LogSink make_log(const std::string& file) {
  auto output = file.empty() ? std::make_shared<spdlog::sinks::null_sink_mt>() : log_file_output(file);
  auto log = std::make_shared<spdlog::logger>("deduce", std::move(output));
  log->set_level(spdlog::level::info);
  return log;
}

/// Before anything is played, so that no result is lost for want of a place.
void require_writable(const std::filesystem::path& directory) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  if (!error && ::access(directory.c_str(), W_OK) == 0) return;
  throw InputError("results cannot be saved: the configuration directory " + directory.string() +
                   " (TESSRA_CONFIG) cannot be written");
}

std::string_view reset_failure(int code) {
  switch (code) {
    case 0:
      return "no connection to the simulation service";
    case -1:
      return "the service's room reset failed";
    case -2:
      return "the scenario does not exist or could not be loaded";
    case -3:
      return "no initial situation was received";
    default:
      return "the initial situation could not be processed";
  }
}

class Run {
 public:
  explicit Run(const RunOptions& options) : options_(options), progress_(!options.quiet) {
    Dict config = run_configuration(options);
    Dict section = engine_section(config);
    for (const std::string& line : configuration_warnings(config)) fmt::print(stderr, "warning: {}\n", line);
    episodes_ =
        section.at_dict("simulate").contains("episodes") ? section.at_dict("simulate").at_integer("episodes") : 1;
    seed_ = section.at_dict("server").contains("seed") ? section.at_dict("server").at_integer("seed") : 1;
    if (!options.record.empty()) {
      std::filesystem::create_directories(options.record);
      write_json_file(std::filesystem::path(options.record) / "config.json", without_host_objects(config),
                      JsonStyle::pretty);
    }
    if (section.at_dict("simulate").non_empty("save_result")) require_writable(default_seams().config_directory);
    section.set("logger", make_log(options.log));
    engine_ = std::make_unique<Deduction>(config);
  }

  int play() {
    int status = kPlayed;
    guarded([&] { status = play_episodes(); },
            [&](const std::exception_ptr& error) {
              progress_.clear();
              report(error);
              status = kFailed;
            });
    progress_.clear();
    if (!options_.json && !options_.quiet && status != kWrongInput) fmt::print("{}", result_table(played_));
    return signals_.received() ? signals_.status() : status;
  }

 private:
  int play_episodes() {
    int status = kPlayed;
    for (std::int64_t episode = 1; episode <= episodes_ && !signals_.received(); ++episode) {
      progress_.start_episode(episode, episodes_);
      if (const std::optional<int> failure = start(episode)) return *failure;
      const std::optional<BatResult> result = play_steps();
      if (!result) break;
      if (engine_->save_result.truthy()) save_result(result, default_seams().config_directory);
      if (!result->error_side.empty()) status = kFailed;
    }
    return status;
  }

  /// Starts an episode; the exit status when that fails.
  std::optional<int> start(std::int64_t episode) {
    int code = 0;
    try {
      code = engine_->reset(episode);
      if (code == 1) check_reported_sides(*engine_);
    } catch (const InputError& error) {
      return refuse(error);
    } catch (const UnknownAgentClass& error) {
      return refuse(error);
    } catch (const AgentLibraryError& error) {
      return refuse(error);
    }
    if (code == 1) return std::nullopt;
    progress_.clear();
    fmt::print(stderr, "error: episode {} did not start: {} ({})\n", episode, reset_failure(code), code);
    return kFailed;
  }

  int refuse(const Error& error) {
    progress_.clear();
    fmt::print(stderr, "error: {}\n", error.what());
    return kWrongInput;
  }

  /// None when a signal came before the end.
  std::optional<BatResult> play_steps() {
    const auto clock = real_clock();
    const double start = clock->now();
    while (!signals_.received()) {
      const StepOutcome outcome = engine_->step(Dict());
      if (const auto* result = std::get_if<BatResult>(&outcome)) {
        keep({*result, engine_->step_index, seed_, clock->now() - start});
        return *result;
      }
      if (std::holds_alternative<std::monostate>(outcome)) throw Error("the service delivered no situation");
      progress_.show(engine_->step_index, engine_->time_elapsed);
    }
    return std::nullopt;
  }

  /// Only the table at the end needs the episodes before; a run without it stays as small as it began.
  void keep(const PlayedEpisode& episode) {
    if (options_.json) {
      fmt::print("{}\n", json_line(episode));
    } else if (!options_.quiet) {
      played_.push_back(episode);
    }
  }

  void report(const std::exception_ptr& error) {
    if (const auto& [agent, operation] = engine_->failed_call(); agent != nullptr) {
      fmt::print(stderr, "error: agent '{}' of side '{}' failed in `{}` at {} of episode {}: {}\n", agent->agent_type,
                 agent->Side(), operation, clock_text(engine_->time_elapsed), engine_->current_round,
                 error_text(error));
    } else {
      fmt::print(stderr, "error: {}\n", error_text(error));
    }
    fmt::print(stderr, "{}\n", trace_text(error));
  }

  RunOptions options_;
  StopSignals signals_;
  Progress progress_;
  std::int64_t episodes_ = 1;
  std::int64_t seed_ = 1;
  std::unique_ptr<Deduction> engine_;
  std::vector<PlayedEpisode> played_;
};

}  // namespace

int run_episodes(const RunOptions& options) { return Run(options).play(); }

}  // namespace tessra::app
