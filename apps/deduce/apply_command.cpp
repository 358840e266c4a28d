#include "apps/deduce/apply_command.h"

#include <fmt/format.h>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/gameenvs/scheduling_client.h"
#include "apps/deduce/configuration.h"
#include "apps/deduce/configuration_checks.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/progress.h"
#include "apps/deduce/results.h"
#include "apps/deduce/stop_signals.h"

namespace tessra::app {

namespace {

Dict apply_configuration(const ApplyOptions& options) {
  Dict config = read_configuration(options.config);
  if (!config.non_empty("is_ai_apply")) {
    throw InputError(options.config + ": not for a scheduling client ('is_ai_apply' is not true); use 'deduce run'");
  }
  for (const char* key : {"simulate", "server"}) child_section(config, key);
  if (config.find_dict("player") == nullptr) throw InputError(options.config + ": 'player' is missing");
  checked_scenario(config, config, options.config);
  check_recording(config.at_dict("server"));
  if (options.seed) config.at_dict("server").set("seed", *options.seed);
  if (!options.agents.empty()) config.at_dict("player").set("agent_path", agent_library_path(options.agents));
  return config;
}

class Apply {
 public:
  explicit Apply(const ApplyOptions& options) : options_(options), signals_(kGrace), progress_(!options.quiet) {
    config_ = apply_configuration(options);
    for (const std::string& line : configuration_warnings(config_)) fmt::print(stderr, "warning: {}\n", line);
    Seams seams = default_seams();
    seams.exit = std::make_shared<EarlyEnd>(*this);
    engine_ = std::make_unique<Deduction>(config_, seams);
    if (client_ = find_client<SchedulingClient>(*engine_->game); client_ != nullptr) connect();
  }
  ~Apply() { signals_.on_signal(nullptr); }
  Apply(const Apply&) = delete;
  Apply& operator=(const Apply&) = delete;

  int run() {
    const double start = real_clock()->now();
    progress_.start_episode(1, 1);
    RoundResults results;
    const bool ended = guarded([&] { results = engine_->normal_simulate(); },
                               [&](const std::exception_ptr& error) {
                                 progress_.clear();
                                 fmt::print(stderr, "error: {}\n{}\n", error_text(error), trace_text(error));
                               });
    progress_.clear();
    if (signals_.received()) {
      fmt::print(stderr, "interrupted at {}; run log: {}\n", clock_text(engine_->time_elapsed), engine_->log_file_path);
      return signals_.status();
    }
    if (!ended) return kFailed;
    return report(results, real_clock()->now() - start);
  }

 private:
  /// Time to end by the round's own rules after a signal, in seconds.
  static constexpr double kGrace = 0.8;

  /// How the engine ends the program after a fatal failure.
  class EarlyEnd : public ProgramExit {
   public:
    explicit EarlyEnd(const Apply& run) : run_(run) {}
    [[noreturn]] void end(int status) override {
      run_.progress_.clear();
      if (!run_.signals_.received())
        fmt::print(stderr, "the run has ended early; see {}\n", run_.engine_->log_file_path);
      real_exit()->end(run_.signals_.received() ? run_.signals_.status() : status);
      std::terminate();  // not reached
    }

   private:
    const Apply& run_;
  };

  void connect() {
    client_->on_error_text = [this](const std::string& text) {
      progress_.clear();
      fmt::print(stderr, "{}\n", text);
    };
    client_->on_decision = [this](std::int64_t decisions) { progress_.show(decisions, engine_->time_elapsed); };
    signals_.on_signal([client = client_] { client->stop(); });
  }

  int report(const RoundResults& results, double wall_seconds) {
    const auto& [round, result] = *results.begin();
    if (!result) {
      fmt::print(stderr, "error: the round was abandoned; see {}\n", engine_->log_file_path);
      return kFailed;
    }
    const std::string agent_id = engine_->agent_id_from_client.to_text();
    const std::int64_t decisions = client_ != nullptr ? client_->agent_times(agent_id) : 0;
    const Dict server = config_.at_dict("server");
    const std::int64_t seed = server.contains("seed") ? server.at_integer("seed") : 1;
    const PlayedEpisode episode{*result, decisions, seed, wall_seconds};
    if (options_.json) {
      fmt::print("{}\n", json_line(episode));
    } else if (!options_.quiet) {
      fmt::print("{}run log: {}\n", result_table({episode}), engine_->log_file_path);
    }
    return result->error_side.empty() ? kPlayed : kFailed;
  }

  ApplyOptions options_;
  StopSignals signals_;
  Progress progress_;
  Dict config_;
  std::unique_ptr<Deduction> engine_;
  SchedulingClient* client_ = nullptr;
};

}  // namespace

int apply_agent(const ApplyOptions& options) { return Apply(options).run(); }

}  // namespace tessra::app
