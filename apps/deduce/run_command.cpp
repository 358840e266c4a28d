// Standard mode: the host's loop over episodes and steps, with its results, failures and signals.

#include "apps/deduce/run_command.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <unistd.h>

#include "Tessra/base/folder.h"
#include "Tessra/base/guard.h"
#include "Tessra/base/json_write.h"
#include "Tessra/base/log_file.h"
#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "apps/deduce/configuration_checks.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/failure.h"
#include "apps/deduce/output.h"
#include "apps/deduce/run_report.h"
#include "apps/deduce/saved_runs.h"
#include "apps/deduce/stop_signals.h"
#include "services/remote/remote_backends.h"

namespace tessra::app {

namespace {

/// The engine always gets a logger. Without a log file it drops everything; with none at all the engine would print.
std::shared_ptr<spdlog::logger> make_log(const std::string& file) {
  auto output = file.empty() ? std::make_shared<spdlog::sinks::null_sink_mt>() : log_file_output(file);
  auto log = std::make_shared<spdlog::logger>("deduce", std::move(output));
  log->set_level(spdlog::level::info);
  return log;
}

std::int64_t number_or_one(const Dict& section, std::string_view key) {
  return section.contains(key) ? section.at_integer(key) : 1;
}

/// Called before anything is played, so that no result is lost because it cannot be saved.
void require_writable(const std::filesystem::path& directory) {
  make_folder(directory);
  if (::access(directory.c_str(), W_OK) == 0) return;
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
  explicit Run(const RunOptions& options) : Run(options, run_configuration(options)) {}

  int play() {
    int status = kPlayed;
    guarded([&] { status = play_episodes(); },
            [&](const std::exception_ptr& error) {
              tell_failure(error);
              status = kFailed;
            });
    if (status != kWrongInput) report_.end(signals_.received());
    if (signals_.received()) return signals_.status();
    return status == kPlayed && *log_failed_ ? static_cast<int>(kFailed) : status;
  }

 private:
  Run(const RunOptions& options, const Dict& config)
      : options_(options),
        section_(engine_section(config)),
        first_(number_or_one(section_.at_dict("server"), "first_episode")),
        episodes_(number_or_one(section_.at_dict("simulate"), "episodes")),
        seed_(number_or_one(section_.at_dict("server"), "seed")),
        progress_(!options.quiet),
        report_({options.json, options.quiet, options.log, episodes_}, progress_),
        saved_runs_(default_seams().config_directory, run_info("run", section_, seed_)) {
    for (const std::string& line : configuration_warnings(config)) tell("warning: {}\n", line);
    if (!options.record.empty()) keep_configuration(config);
    if (section_.at_dict("simulate").non_empty("save_result")) require_writable(default_seams().config_directory);
    const auto log = make_log(options.log);
    log_failed_ = watch_log(*log, progress_);
    section_.set("logger", log);
    Seams seams = default_seams();
    seams.console = std::make_shared<FailureConsole>(progress_, options.trace);
    engine_ = std::make_unique<Deduction>(config, seams);
    if (remote::RemoteControl* link = remote::remote_control(*engine_->game)) {
      link->watch_link([this](const std::string& what) {
        progress_.clear();
        tell("{}\n", what);
      });
    }
    signals_.on_end([this, call = &AgentCall::of_this_thread()] {
      tell_unreturned(*call);
      report_.end_without_waiting();
    });
  }

  void keep_configuration(const Dict& config) const {
    make_folder(options_.record);
    write_json_file(std::filesystem::path(options_.record) / "config.json", without_host_objects(config),
                    JsonStyle::pretty);
  }

  int play_episodes() {
    int status = kPlayed;
    const std::int64_t last = first_ + episodes_ - 1;
    for (std::int64_t episode = first_; episode <= last && !signals_.received(); ++episode) {
      episode_ = episode;
      progress_.start_episode(episode, last);
      if (const std::optional<int> failure = start(episode)) return *failure;
      const std::optional<PlayedEpisode> played = play_steps();
      if (!played) break;
      if (!save_and_show(*played)) return kFailed;
      if (!played->result.error_side.empty()) status = kFailed;
    }
    return status;
  }

  /// Saves the result before printing it, so that a failing standard output does not lose it. False if it could not be
  /// saved.
  bool save_and_show(const PlayedEpisode& played) {
    const bool saved = guarded(
        [&] {
          if (!engine_->save_result.truthy()) return;
          saved_runs_.add(save_result(played.result, default_seams().config_directory), played);
        },
        [&](const std::exception_ptr& error) { tell_failure(error); });
    report_.add(played);
    return saved;
  }

  void tell_failure(const std::exception_ptr& error) {
    progress_.clear();
    tell_error(failure_text(*engine_, episode_, error), error, options_.trace);
  }

  /// Starts an episode; returns the exit status on failure.
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
    std::string why(reset_failure(code));
    const remote::RemoteControl* link = remote::remote_control(*engine_->game);
    if (link != nullptr && !link->last_failure().empty()) why += ": " + link->last_failure();
    tell("error: episode {} did not start: {} ({})\n", episode, why, code);
    return kFailed;
  }

  int refuse(const Error& error) {
    progress_.clear();
    tell("error: {}\n", error.what());
    return kWrongInput;
  }

  /// None if a signal arrived before the end of the episode.
  std::optional<PlayedEpisode> play_steps() {
    const auto clock = real_clock();
    const double start = clock->now();
    while (!signals_.received()) {
      const StepOutcome outcome = engine_->step(Dict());
      if (const auto* result = std::get_if<BatResult>(&outcome)) {
        BatResult numbered = *result;  // the engine counts from 1, whatever the first episode
        numbered.current_round = episode_;
        return played_episode(*engine_, numbered, engine_->step_index, seed_, clock->now() - start);
      }
      if (std::holds_alternative<std::monostate>(outcome)) throw Error("the service delivered no situation");
      progress_.show(engine_->step_index, engine_->time_elapsed);
    }
    return std::nullopt;
  }

  RunOptions options_;
  Dict section_;
  std::int64_t first_;
  std::int64_t episodes_;
  std::int64_t seed_;
  std::int64_t episode_ = 0;  // the current one
  Progress progress_;
  RunReport report_;
  SavedRuns saved_runs_;
  StopSignals signals_;  // after the members its last action reads, so that it is destroyed before them
  std::shared_ptr<const std::atomic<bool>> log_failed_;
  std::unique_ptr<Deduction> engine_;
};

}  // namespace

int run_episodes(const RunOptions& options) { return Run(options).play(); }

}  // namespace tessra::app
