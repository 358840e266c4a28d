// Replays recorded records through an engine with idle agents and dumps the model after each one. Dumps must not depend
// on time or machine, so that two of them can be compared.

#include "apps/deduce/replay_command.h"

#include <fmt/format.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>

#include <cerrno>
#include <fstream>
#include <mutex>
#include <system_error>

#include "Tessra/base/guard.h"
#include "Tessra/base/json_write.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "apps/deduce/configuration.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/model_dump.h"
#include "apps/deduce/output.h"
#include "apps/deduce/recording.h"
#include "apps/deduce/results.h"
#include "services/recorded_server.h"

namespace tessra::app {

namespace {

/// Replaces the agents of the recorded episode by idle ones: the records already contain the effects of their orders.
class ReplayAgent : public Agent {
 public:
  explicit ReplayAgent(std::string side_name) : Agent(std::move(side_name)) {}
};

class ReplayLearner : public Agent {
 public:
  explicit ReplayLearner(const AgentConf& conf) : Agent(conf.side) {}
};

/// Log sink that collects messages for the dump.
class Collector : public spdlog::sinks::base_sink<std::mutex> {
 public:
  List take() { return std::exchange(messages_, List()); }
  /// The last message of level error; empty if there is none.
  std::string last_error() const {
    std::string text;
    for (const Value& message : messages_) {
      if (message.as_dict().at("level").is_text("error")) text = message.as_dict().at_text("text");
    }
    return text;
  }

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    const std::string text(message.payload.data(), message.payload.size());
    if (text.starts_with("round:") || text.starts_with("process:")) return;  // timing lines: dumps must be reproducible
    messages_.push_back(Dict{{"level", spdlog::level::to_string_view(message.level).data()}, {"text", text}});
  }
  void flush_() override {}

 private:
  List messages_;
};

void set_classes(Dict agents, const Value& agent_class) {
  for (auto [name, entry] : agents) entry.as_dict().set("class", agent_class);
}

/// The recorded configuration, adapted for replay. Its values are not checked, since most are not used.
Dict replay_configuration(const std::filesystem::path& folder, const std::filesystem::path& file) {
  Dict config = read_object_file(file);
  Dict section = engine_section(config);
  section.at_dict("simulate").set("load_scenario", false);
  section.at_dict("server").set("url", "records:" + folder.string());
  section.at_dict("server").erase("record");
  if (Dict* sides = config.find_dict("rule_config")) {
    const Value agent_class(AgentClass::of<ReplayAgent>("replay"));
    for (auto [side, agents] : *sides) set_classes(agents.as_dict(), agent_class);
  }
  if (Dict* sides = section.find_dict("RL_agents")) {
    const Value agent_class(AgentClass::of<ReplayLearner>("replay-learner"));
    for (auto [side, entry] : *sides) {
      if (const Dict* agents = entry.as_dict().find_dict("agents")) set_classes(*agents, agent_class);
    }
  }
  return config;
}

class Replay {
 public:
  explicit Replay(const ReplayOptions& options) : folder_(episode_folder(options.folder, options.episode)) {
    make_engine();
    if (!options.dump.empty()) {
      dump_file_ = options.dump;
      errno = 0;
      dump_.open(options.dump, std::ios::binary | std::ios::trunc);
      if (!dump_) throw InputError(unwritable());
      write("[");
    }
  }

  int play() {
    bool goes_on = attempt("initial", [&](Value& returned) { return start(returned); });
    int number = 1;
    for (; goes_on && std::filesystem::is_regular_file(recorded_update(folder_, number)); ++number) {
      goes_on =
          attempt(recorded_update(folder_, number).stem().string(), [&](Value& returned) { return step(returned); });
    }
    if (dump_.is_open()) write("\n]\n");
    say("{} updates played, {} elements\n", updates_, engine_->elements.size());
    if (goes_on) report_break(number);
    return failed_ ? kFailed : kPlayed;
  }

 private:
  void make_engine() {
    const bool own = std::filesystem::is_regular_file(folder_ / "config.json");
    const std::filesystem::path file = (own ? folder_ : folder_.parent_path()) / "config.json";
    auto log = std::make_shared<spdlog::logger>("replay", messages_);
    log->set_level(spdlog::level::info);
    try {
      Dict config = replay_configuration(folder_, file);
      engine_section(config).set("logger", log);
      engine_ = std::make_unique<Deduction>(config);
    } catch (const InputError&) {
      throw;
    } catch (const Error& error) {
      throw InputError(file.string() + ": " + error.what());
    }
  }

  /// Starts the episode; false if the initial situation cannot be played.
  bool start(Value& returned) {
    const int code = engine_->reset(1);
    returned = code;
    if (code == 1) return true;
    const std::string message = messages_->last_error();
    report("initial.json", fmt::format("the episode does not start (reset answers {}){}{}", code,
                                       message.empty() ? "" : ": ", message));
    return false;
  }

  /// Plays one step; false if it was the last.
  bool step(Value& returned) {
    const StepOutcome outcome = engine_->step(Dict());
    ++updates_;
    if (const auto* result = std::get_if<BatResult>(&outcome)) {
      returned = result_dict(*result);
      return false;
    }
    if (std::holds_alternative<int>(outcome)) returned = 1;
    return true;
  }

  /// Plays a record and writes its entry; false if the replay ends with it.
  template <class Work>
  bool attempt(const std::string& record, Work&& work) {
    Value returned;
    Value error;
    bool goes_on = false;
    guarded([&] { goes_on = work(returned); },
            [&](const std::exception_ptr& thrown) {
              error = error_text(thrown);
              report(record, error.to_text());
            });
    write_entry(record, returned, error);
    return goes_on;
  }

  /// Reports a missing update although the episode has not ended.
  void report_break(int number) {
    const std::filesystem::path missing = recorded_update(folder_, number).filename();
    const std::vector<std::string> later = updates_after(folder_, number);
    report(folder_.string(), later.empty()
                                 ? fmt::format("the recording breaks off: there is no {}, and no record "
                                               "before it ends the episode",
                                               missing.string())
                                 : fmt::format("{} is missing, {} is there", missing.string(), later.front()));
  }

  void report(const std::string& place, const std::string& what) {
    tell("error: {}: {}\n", place, what);
    failed_ = true;
  }

  void write_entry(const std::string& record, const Value& returned, const Value& error) {
    const List messages = messages_->take();
    if (!dump_.is_open()) return;
    const Dict entry{{"record", record},
                     {"returned", returned},
                     {"error", error},
                     {"messages", messages},
                     {"elements", dump_elements(*engine_)},
                     {"players", dump_players(*engine_)},
                     {"engine", dump_engine(*engine_)}};
    write((first_ ? "\n" : ",\n") + write_json(entry));
    first_ = false;
  }

  /// Flushes each time: a failure is noticed while `errno` still has the reason.
  void write(std::string_view text) {
    errno = 0;
    dump_ << text << std::flush;
    if (!dump_) throw SurroundingsError(unwritable());
  }

  std::string unwritable() const {
    return "cannot write " + dump_file_ + ": " + std::generic_category().message(errno);
  }

  std::filesystem::path folder_;
  std::shared_ptr<Collector> messages_ = std::make_shared<Collector>();
  std::unique_ptr<Deduction> engine_;
  std::string dump_file_;
  std::ofstream dump_;
  bool first_ = true;
  bool failed_ = false;
  int updates_ = 0;
};

}  // namespace

int replay_records(const ReplayOptions& options) { return Replay(options).play(); }

}  // namespace tessra::app
