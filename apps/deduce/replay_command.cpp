#include "apps/deduce/replay_command.h"

#include <fmt/format.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>

#include <fstream>
#include <mutex>

#include "Tessra/base/guard.h"
#include "Tessra/base/json_write.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/gameenvs/recorded_server.h"
#include "apps/deduce/configuration.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/model_dump.h"
#include "apps/deduce/results.h"

namespace tessra::app {

namespace {

/// Stand in for the agents of the recorded episode: the records already hold what those ordered.
class ReplayAgent : public Agent {
 public:
  explicit ReplayAgent(std::string side_name) : Agent(std::move(side_name)) {}
};

class ReplayLearner : public Agent {
 public:
  explicit ReplayLearner(const AgentConf& conf) : Agent(conf.side) {}
};

/// Keeps messages instead of writing them.
class Collector : public spdlog::sinks::base_sink<std::mutex> {
 public:
  List take() { return std::exchange(messages_, List()); }

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    const std::string text(message.payload.data(), message.payload.size());
    if (text.starts_with("round:") || text.starts_with("process:")) return;  // wall-clock times
    messages_.push_back(Dict{{"level", spdlog::level::to_string_view(message.level).data()}, {"text", text}});
  }
  void flush_() override {}

 private:
  List messages_;
};

void set_classes(Dict agents, const Value& agent_class) {
  for (auto [name, entry] : agents) entry.as_dict().set("class", agent_class);
}

/// The folder with the records: the one given, or an episode below it.
std::filesystem::path episode_folder(const ReplayOptions& options) {
  std::filesystem::path folder = options.folder;
  if (std::filesystem::is_regular_file(folder / "initial.json")) return folder;
  std::filesystem::path below = folder / fmt::format("episode-{:06}", options.episode);
  if (std::filesystem::is_regular_file(below / "initial.json")) return below;
  throw InputError("no initial.json in " + folder.string() + " or " + below.string());
}

Dict replay_configuration(const std::filesystem::path& folder) {
  const bool own = std::filesystem::is_regular_file(folder / "config.json");
  Dict config = read_configuration((own ? folder : folder.parent_path()) / "config.json");
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
  explicit Replay(const ReplayOptions& options) : folder_(episode_folder(options)) {
    Dict config = replay_configuration(folder_);
    auto log = std::make_shared<spdlog::logger>("replay", messages_);
    log->set_level(spdlog::level::info);
    engine_section(config).set("logger", log);
    engine_ = std::make_unique<Deduction>(config);
    if (!options.dump.empty()) {
      dump_.open(options.dump, std::ios::binary | std::ios::trunc);
      if (!dump_) throw InputError("cannot write " + options.dump);
      dump_ << "[";
    }
  }

  int play() {
    Value returned;
    bool goes_on = attempt(
        "initial",
        [&] {
          const int code = engine_->reset(1);
          returned = code;
          return code == 1;
        },
        returned);
    for (int number = 1; goes_on; ++number) {
      const std::filesystem::path file = recorded_update(folder_, number);
      if (!std::filesystem::is_regular_file(file)) break;
      goes_on = attempt(
          file.stem().string(), [&] { return step(returned); }, returned);
    }
    if (dump_.is_open()) {
      dump_ << "\n]\n";
      dump_.flush();
      if (!dump_) throw Error("the dump could not be written");
    }
    fmt::print("{} updates played, {} elements\n", updates_, engine_->elements.size());
    return failed_ ? kFailed : kPlayed;
  }

 private:
  /// One step; false when it was the last.
  bool step(Value& returned) {
    const StepOutcome outcome = engine_->step(Dict());
    if (const auto* result = std::get_if<BatResult>(&outcome)) {
      returned = result_dict(*result);
      ++updates_;
      return false;
    }
    if (std::holds_alternative<int>(outcome)) returned = 1;
    ++updates_;
    return true;
  }

  template <class Work>
  bool attempt(const std::string& record, Work&& work, Value& returned) {
    returned = Value();
    Value error;
    bool goes_on = false;
    guarded([&] { goes_on = work(); },
            [&](const std::exception_ptr& thrown) {
              error = error_text(thrown);
              fmt::print(stderr, "error: {}: {}\n", record, trace_text(thrown));
              failed_ = true;
            });
    write_entry(record, returned, error);
    return goes_on;
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
    dump_ << (first_ ? "\n" : ",\n") << write_json(entry);
    first_ = false;
  }

  std::filesystem::path folder_;
  std::shared_ptr<Collector> messages_ = std::make_shared<Collector>();
  std::unique_ptr<Deduction> engine_;
  std::ofstream dump_;
  bool first_ = true;
  bool failed_ = false;
  int updates_ = 0;
};

}  // namespace

int replay_records(const ReplayOptions& options) { return Replay(options).play(); }

}  // namespace tessra::app
