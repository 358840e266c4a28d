// Fuzzes commands. Commands built by the engine must survive the simulation's parser unchanged, whatever their
// contents. Arbitrary bytes may be refused or carried out; the simulation must go on either way.

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <filesystem>

#include "Tessra/base/value.h"
#include "Tessra/entitys/command_text.h"
#include "fuzz/require.h"
#include "simulation/command_reader.h"
#include "simulation/simulation.h"

namespace {

using namespace tessra;

/// A command with arbitrary contents, as text and as the arguments that the parser must return.
struct Built {
  std::string text;
  Dict arguments;
  bool plain = true;  // ASCII only, which no reader may refuse
};

std::string any_text(FuzzedDataProvider& bytes, Built& built) {
  std::string text = bytes.ConsumeRandomLengthString(200);
  for (const char c : text) built.plain &= static_cast<unsigned char>(c) < 0x80;
  return text;
}

/// Finite, since others are refused when the command is built.
double any_number(FuzzedDataProvider& bytes) {
  const double number = bytes.ConsumeFloatingPoint<double>();
  return std::isfinite(number) ? number : 0.5;
}

void add_argument(FuzzedDataProvider& bytes, CommandText& text, const std::string& key, Built& built) {
  switch (bytes.ConsumeIntegralInRange<int>(0, 5)) {
    case 0: {
      const std::string value = any_text(bytes, built);
      text.text(key, value);
      built.arguments.set(key, value);
      break;
    }
    case 1: {
      const double value = any_number(bytes);
      text.number(key, value);
      built.arguments.set(key, value);
      break;
    }
    case 2: {
      const int value = bytes.ConsumeIntegral<int>();
      text.number(key, value);
      built.arguments.set(key, value);
      break;
    }
    case 3: {
      const bool value = bytes.ConsumeBool();
      text.flag(key, value);
      built.arguments.set(key, value);
      break;
    }
    case 4: {
      std::vector<std::string> values;
      List list;
      for (int left = bytes.ConsumeIntegralInRange<int>(0, 5); left > 0; --left) {
        values.push_back(any_text(bytes, built));
        list.push_back(values.back());
      }
      text.texts(key, values);
      built.arguments.set(key, list);
      break;
    }
    default: {
      std::vector<GeoPoint> values;
      List list;
      for (int left = bytes.ConsumeIntegralInRange<int>(0, 5); left > 0; --left) {
        values.push_back({any_number(bytes), any_number(bytes)});
        list.push_back(Dict{{"LON", values.back().lon}, {"LAT", values.back().lat}});
      }
      text.points(key, values);
      built.arguments.set(key, list);
    }
  }
}

void check_built_command(FuzzedDataProvider& bytes) {
  Built built;
  CommandText text("PlotCourse");
  for (const char* key : {"SIDE", "UNIT", "COURSE", "SPEED"}) {
    if (bytes.ConsumeBool()) add_argument(bytes, text, key, built);
  }
  try {
    const sim::CommandCall call = sim::read_command(text.str());
    require(call.name == "PlotCourse", "the name comes through");
    require(call.arguments == built.arguments, "arguments come through: " + text.str());
  } catch (const sim::CommandError& error) {
    require(!built.plain, "plain contents are not refused: " + std::string(error.what()));
  }
}

void check_raw_commands(FuzzedDataProvider& bytes) {
  static const auto scenario =
      sim::Simulation::load(std::filesystem::path(TESSRA_SOURCE_DIR) / "scenarios/skirmish.json");
  sim::Simulation simulation(scenario, 1, 5);
  simulation.initial_situation();
  while (bytes.remaining_bytes() > 0) {
    const std::string text = bytes.ConsumeRandomLengthString(1000);
    const auto faults = simulation.execute({text});
    require(faults.size() <= 1, "a command has one fault at most");
    simulation.advance();
    simulation.step_situation();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  FuzzedDataProvider bytes(data + 1, size - 1);
  if (data[0] == 'b') {
    check_built_command(bytes);
  } else {
    check_raw_commands(bytes);
  }
  return 0;
}
