#include <spdlog/logger.h>

#include <algorithm>

#include "Tessra/base/folder.h"
#include "Tessra/base/log_file.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra {

void Deduction::config_log(Dict game_config) {
  const std::filesystem::path directory = seams_.config_directory / "log";
  make_folder(directory);
  log_file_path = (directory / "command_delay.log").string();

  const auto output = log_file_output(log_file_path);
  if (logger == nullptr) {
    // Made directly and not registered: records reach this sink's outputs and nobody else's.
    logger = std::make_shared<spdlog::logger>("Apply", output);
    logger->set_level(spdlog::level::info);
  } else if (auto& outputs = logger->sinks(); std::ranges::find(outputs, output) == outputs.end()) {
    outputs.push_back(output);
  }
  log_only(LogLevel::warning, "user intelligent lua delay log, mode='w', encoding='utf-8");
  game_config.set("logger", Value(logger));
}

void Deduction::log_or_print(LogLevel level, std::string_view text) const {
  if (logger != nullptr) {
    log_only(level, text);
  } else {
    seams_.console->print(text);
  }
}

}  // namespace tessra
