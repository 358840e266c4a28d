// AI-apply mode: the engine runs the whole round by itself and ends the program on a fatal failure. This host supplies
// the in-process scheduling client and turns the outcome into output and an exit status.

#include "apps/deduce/apply_command.h"

#include <spdlog/logger.h>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "apps/deduce/configuration.h"
#include "apps/deduce/configuration_checks.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/failure.h"
#include "apps/deduce/output.h"
#include "apps/deduce/run_report.h"
#include "apps/deduce/saved_runs.h"
#include "apps/deduce/stop_signals.h"
#include "services/remote/remote_backends.h"
#include "services/scheduling_client.h"

namespace tessra::app {

namespace {

/// Exit status for a failure on which the engine ends the program. The engine's own `status`, which a scheduler takes
/// for a normal end, applies to failures of agent and service, not to those of the environment.
int status_of(const std::exception_ptr& error, int status) {
  if (is_error<AgentLibraryError>(error)) return kWrongInput;
  return is_error<SurroundingsError>(error) ? static_cast<int>(kFailed) : status;
}

class Apply {
 public:
  explicit Apply(const ApplyOptions& options)
      : options_(options), progress_(!options.quiet), config_(apply_configuration(options)) {
    for (const std::string& line : configuration_warnings(config_)) tell("warning: {}\n", line);
    // The engine adds the run log's file to this logger.
    auto log = std::make_shared<spdlog::logger>("Apply");
    log_failed_ = watch_log(*log, progress_);
    config_.set("logger", log);
    Seams seams = default_seams();
    seams.exit = std::make_shared<EarlyEnd>(*this);
    engine_ = std::make_unique<Deduction>(config_, seams);
    signals_.on_end([call = &AgentCall::of_this_thread()] { tell_unreturned(*call); });
    client_ = find_client<SchedulingClient>(*engine_->game);
    link_ = remote::remote_control(*engine_->game);
    if (client_ != nullptr) connect();
    if (link_ != nullptr) follow_link();
  }
  ~Apply() { signals_.on_signal(nullptr); }
  Apply(const Apply&) = delete;
  Apply& operator=(const Apply&) = delete;

  int run() {
    start_ = real_clock()->now();
    progress_.start_episode(1, 1);
    const bool ended =
        guarded([&] { engine_->normal_simulate(); },
                [&](const std::exception_ptr& error) {
                  progress_.clear();
                  tell_error(failure_text(*engine_, engine_->current_round, error), error, options_.trace);
                });
    progress_.clear();
    if (signals_.received()) {
      tell("interrupted at {}; run log: {}\n", clock_text(engine_->time_elapsed), engine_->log_file_path);
      return signals_.status();
    }
    if (!ended) return kFailed;
    const int status = report();
    return status == kPlayed && *log_failed_ ? static_cast<int>(kFailed) : status;
  }

 private:
  /// The engine's way to end the program after a fatal failure: report it first.
  class EarlyEnd : public ProgramExit {
   public:
    explicit EarlyEnd(const Apply& run) : run_(run) {}
    [[noreturn]] void end(int status) override {
      run_.progress_.clear();
      const int own = run_.signals_.received() ? run_.signals_.status() : run_.end_early(status);
      real_exit()->end(own);
      std::terminate();  // not reached
    }

   private:
    const Apply& run_;
  };

  /// Reports the actual cause where the texts sent to the client do not name it, and prints the round's result if there
  /// already is one.
  int end_early(int status) const {
    const std::exception_ptr& error = engine_->fatal_error;
    const int own = status_of(error, status);
    const FailedCall& failed = engine_->failed_call;
    if (own != status || *failed.operation != '\0' || !failed.side.empty()) {
      tell_error(failure_text(*engine_, engine_->current_round, error), error, options_.trace);
    } else if (options_.trace && error != nullptr) {
      tell("{}\n", trace_text(error));
    }
    if (!engine_->round_result) tell("the run ended early; see {}\n", engine_->log_file_path);
    int shown = own;
    guarded(
        [&] {
          if (engine_->round_result && !note_and_show(episode())) shown = kFailed;
        },
        [&](const std::exception_ptr& unshown) {
          tell_error(error_text(unshown), unshown, options_.trace);
          shown = kFailed;
        });
    return shown == kPlayed && *log_failed_ ? static_cast<int>(kFailed) : shown;
  }

  void connect() {
    client_->on_error_text = [this](const std::string& text) {
      progress_.clear();
      tell("{}\n", text);
    };
    client_->on_decision = [this](std::int64_t decisions) { progress_.show(decisions, engine_->time_elapsed); };
    signals_.on_signal([client = client_] { client->stop(); });
  }

  void follow_link() {
    link_->watch_link([this](const std::string& what) {
      progress_.clear();
      tell("{}\n", what);
    });
    signals_.on_signal([link = link_] { link->stop(); });
  }

  int report() const {
    if (!engine_->round_result) {
      tell("error: the round was abandoned; see {}\n", engine_->log_file_path);
      return kFailed;
    }
    const PlayedEpisode played = episode();
    const bool noted = note_and_show(played);
    return noted && played.result.error_side.empty() ? kPlayed : kFailed;
  }

  /// Records the run of a saved result before printing it, so that a failing standard output does not lose it. False if
  /// it could not be recorded.
  bool note_and_show(const PlayedEpisode& played) const {
    const bool noted = guarded(
        [&] {
          if (engine_->saved_result == 0) return;
          SavedRuns(default_seams().config_directory, run_info("apply", config_, played.seed))
              .add(engine_->saved_result, played);
        },
        [&](const std::exception_ptr& error) { tell_error(error_text(error), error, options_.trace); });
    show(played);
    return noted;
  }

  PlayedEpisode episode() const {
    const std::string agent_id = engine_->agent_id_from_client.to_text();
    const std::int64_t decisions = link_ != nullptr     ? link_->decisions()
                                   : client_ != nullptr ? client_->agent_times(agent_id)
                                                        : 0;
    const Dict server = config_.at_dict("server");
    const std::int64_t seed = server.contains("seed") ? server.at_integer("seed") : 1;
    return played_episode(*engine_, *engine_->round_result, decisions, seed, real_clock()->now() - start_);
  }

  void show(const PlayedEpisode& played) const {
    RunReport report({options_.json, options_.quiet, engine_->log_file_path, 1}, progress_);
    report.add(played);
    report.end(false);
    if (!options_.json && !options_.quiet) say("run log: {}\n", engine_->log_file_path);
  }

  ApplyOptions options_;
  Progress progress_;
  StopSignals signals_;
  Dict config_;
  std::shared_ptr<const std::atomic<bool>> log_failed_;
  std::unique_ptr<Deduction> engine_;
  SchedulingClient* client_ = nullptr;     // in this process, or
  remote::RemoteControl* link_ = nullptr;  // the link to one in another
  double start_ = 0;
};

}  // namespace

int apply_agent(const ApplyOptions& options) { return Apply(options).run(); }

}  // namespace tessra::app
