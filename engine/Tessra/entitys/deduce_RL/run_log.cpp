#include <spdlog/logger.h>

#include <algorithm>

#include "Tessra/base/folder.h"
#include "Tessra/base/log_file.h"
#include "Tessra/entitys/deduce_RL/messages.h"

namespace tessra {

void open_run_log(Deduction& engine, Dict game_config) {
  const std::filesystem::path directory = engine.seams().config_directory / "log";
  make_folder(directory);
  engine.log_file_path = (directory / "command_delay.log").string();

  const auto output = log_file_output(engine.log_file_path);
  if (engine.logger == nullptr) {
    // Made directly and not registered: records reach this sink's outputs and nobody else's.
    engine.logger = std::make_shared<spdlog::logger>("Apply", output);
    engine.logger->set_level(spdlog::level::info);
  } else if (auto& outputs = engine.logger->sinks(); std::ranges::find(outputs, output) == outputs.end()) {
    outputs.push_back(output);
  }
  log_only(engine, LogLevel::warning, "user intelligent lua delay log, mode='w', encoding='utf-8");
  game_config.set("logger", Value(engine.logger));
}

void log_or_print(const Deduction& engine, LogLevel level, std::string_view text) {
  if (engine.logger != nullptr) {
    log_only(engine, level, text);
  } else {
    engine.seams().console->print(text);
  }
}

}  // namespace tessra
