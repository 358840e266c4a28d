// The check of an agent: it runs in a child process (watched_check.h) and plays each trial through two proxies, one for
// the agent (checked_agent.h) and one for the service (checking_service.h), which collect the findings.

#include "apps/deduce/check_command.h"

#include <fmt/format.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <unistd.h>

#include <filesystem>

#include "Tessra/base/guard.h"
#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "apps/deduce/checked_agent.h"
#include "apps/deduce/checking_service.h"
#include "apps/deduce/configuration.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/output.h"
#include "apps/deduce/watched_check.h"
#include "services/data_directory.h"
#include "services/embedded_server.h"
#include "services/scheduling_client.h"

namespace tessra::app {

namespace {

constexpr std::string_view kSide = "红方";
constexpr std::string_view kSideId = "side-1";
constexpr std::string_view kAgentId = "checked-1";

/// One situation, played in both modes.
struct Trial {
  const char* name;
  const char* folder;  ///< below the shipped scenarios
  const char* scenario;
  bool unnamed_contact;
};

constexpr Trial kTrials[] = {
    {"an ordinary episode", "", "skirmish", false},
    {"a side without units", "check", "empty_side", false},
    {"a unit lost between decisions", "check", "lost_unit", false},
    {"a contact known by its id alone", "", "skirmish", true},
};

/// Settings that a scheduling client may send in the middle of a round.
Dict late_settings() {
  return {{"units", List{"Red fighter 1"}}, {"targets", List{"Blue base"}}, {"decision_interval", 60}};
}

/// Turns the end of the program into an exception, so that the check can go on.
class CarryOn : public ProgramExit {
 public:
  [[noreturn]] void end(int status) override { throw ProgramEnd{status}; }
};

class Check {
 public:
  Check(const CheckOptions& options, std::filesystem::path log_folder, CheckProgress& progress)
      : limit_(options.limit), log_folder_(std::move(log_folder)), progress_(progress) {
    try {
      if (!options.agents.empty()) load_agent_library(agent_library_path(options.agents));
      agent_class_ = AgentRegistry::instance().get(options.agent_class);
    } catch (const KeyError& error) {
      throw InputError(error.what());
    } catch (const AgentLibraryError& error) {
      throw InputError(error.what());
    }
    data_directory();  // throws here already: missing data is not a finding about the agent
    if (!agent_class_->is_learn() && !agent_class_->is_built_from_side()) {
      throw InputError("class '" + options.agent_class +
                       "' is not a learning class and has no constructor from a side");
    }
    GameServer::register_backend("checking", [this](const Dict& section, std::string_view) {
      const std::filesystem::path folder = data_directory() / "scenarios" / trial_->folder;
      return service_ = std::make_shared<CheckingService>(
                 make_embedded_server(section, folder.string()),
                 CheckingService::Watched{.side_id = std::string(kSideId),
                                          .side_name = std::string(kSide),
                                          .findings = &findings_,
                                          .progress = &progress_,
                                          .unnamed_contact = trial_->unnamed_contact});
    });
  }

  Findings run() {
    for (const Trial& trial : kTrials) {
      trial_ = &trial;
      enter(trial.name, "standard mode");
      play_standard(1, false);
      enter(trial.name, "AI-apply mode");
      play_scheduled(std::nullopt);
    }
    trial_ = &kTrials[0];
    check_memory();
    enter("settings that arrive late", "AI-apply mode");
    play_scheduled(late_settings());
    return findings_;
  }

 private:
  void enter(const std::string& situation, const char* mode) {
    say("playing {}, {}\n", situation, mode);
    findings_.enter(fmt::format("{}, {}", situation, mode));
    progress_.enter(fmt::format("{}, {}", situation, mode));
  }

  /// Plays two episodes each time; the orders of the second must not depend on the first. Fresh agents are compared
  /// with each other first: if they already differ, the agent is random and the comparison proves nothing.
  void check_memory() {
    enter("a second episode after `reset`", "standard mode");
    const std::vector<std::string> fresh = play_standard(2, true);
    if (play_standard(2, true) != fresh) {
      say("  fresh agents decide differently each time: cannot check whether `reset` keeps state\n");
      return;
    }
    if (play_standard(2, false) != fresh) {
      findings_.add("orders in the second episode differ from those of a fresh agent: it keeps state over `reset`", 0);
    }
  }

  /// Returns the orders of the last episode.
  std::vector<std::string> play_standard(int episodes, bool fresh_each_episode) {
    Dict config{{"game_server", Dict{{"simulate", simulate()},
                                     {"server", Dict{{"url", "checking:"}}},
                                     {"logger", std::make_shared<spdlog::logger>("check", null_output())}}},
                {"rule_config", agents(fresh_each_episode)}};
    const bool ended = survives([&] {
      Deduction engine(config, seams());
      for (int episode = 1; episode <= episodes; ++episode) {
        if (const int code = engine.reset(episode); code != 1) throw Error(fmt::format("reset returns {}", code));
        while (!std::holds_alternative<BatResult>(engine.step(Dict()))) continue;
      }
    });
    return ended ? service_->orders() : std::vector<std::string>();
  }

  /// With settings the client changes them in the middle of the round.
  void play_scheduled(const std::optional<Dict>& later) {
    Dict config{{"is_ai_apply", true},
                {"simulate", simulate()},
                {"server", Dict{{"url", "checking:"}}},
                {"player", Dict{{"agent_id", kAgentId}, {"agent_name", "checked"}, {"player_side", kSide}}},
                {"rule_config", agents(false)}};
    survives([&] {
      Deduction engine(config, seams());
      SchedulingClient& client = *find_client<SchedulingClient>(*engine.game);
      if (later) {
        client.on_decision = [&](std::int64_t decisions) {
          constexpr std::int64_t kArrive = 3;
          if (decisions == kArrive) client.set_agent_settings(std::string(kAgentId), *later);
        };
      }
      engine.normal_simulate();
    });
  }

  /// Errors of the agent do not reach this point (see `CheckedAgent`); what does is the engine failing on something the
  /// agent did to it.
  bool survives(const std::function<void()>& work) {
    bool ended = true;
    try {
      ended = guarded(work, [&](const std::exception_ptr& error) {
        findings_.add("the episode cannot go on: " + error_text(error), 0);
      });
    } catch (const ProgramEnd&) {
      const auto* client = find_client<SchedulingClient>(*service_);
      const std::vector<std::string> texts = client != nullptr ? client->error_texts() : std::vector<std::string>();
      findings_.add("the run ended early: " + (texts.empty() ? "" : texts.back()), 0);
      ended = false;
    }
    return ended;
  }

  Dict simulate() const { return {{"scenario", trial_->scenario}, {"decision_interval", 30}}; }

  Dict agents(bool fresh_each_episode) {
    const AgentWatch watch{agent_class_, &findings_, &progress_, limit_, fresh_each_episode};
    const Value checked(AgentClass::from_factory(
        "checked", [watch](std::string side) { return std::make_shared<CheckedAgent>(std::move(side), watch); }));
    return {{kSide, Dict{{"checked", Dict{{"class", checked}}}}}};
  }

  Seams seams() const {
    Seams seams = default_seams();
    seams.exit = std::make_shared<CarryOn>();
    seams.config_directory = log_folder_;
    return seams;
  }

  static spdlog::sink_ptr null_output() { return std::make_shared<spdlog::sinks::null_sink_mt>(); }

  double limit_;
  std::filesystem::path log_folder_;
  CheckProgress& progress_;
  std::shared_ptr<AgentClass> agent_class_;
  Findings findings_;
  const Trial* trial_ = kTrials;
  std::shared_ptr<CheckingService> service_;
};

}  // namespace

int check_agent(const CheckOptions& options) {
  const std::filesystem::path log_folder =
      std::filesystem::temp_directory_path() / fmt::format("tessra-check-{}", ::getpid());
  CheckProgress progress;
  const int status = run_watched(progress, options.limit, [&] {
    const Findings findings = Check(options, log_folder, progress).run();
    findings.print_all();
    return findings.all().empty() ? kPlayed : kFailed;
  });
  std::filesystem::remove_all(log_folder);
  return status;
}

}  // namespace tessra::app
