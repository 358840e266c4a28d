// Fuzzes records against a built model. Bytes that begin like JSON are played as an update; others are instructions for
// damaging generated records. Whatever came, valid records afterwards must give the same model as always.

#include <fuzzer/FuzzedDataProvider.h>
#include <sanitizer/lsan_interface.h>

#include <algorithm>

#include "Tessra/base/json_read.h"
#include "fuzz/require.h"
#include "tests/support/record_mutator.h"
#include "tests/support/record_play.h"

namespace {

using namespace tessra;
using namespace tessra::testing;

/// Use around code whose values live across inputs: the leak detector runs after each input and does not recognise the
/// addresses encoded in values.
using Kept = __lsan::ScopedDisabler;

/// An episode, an engine to play it, and the model that its records must give.
struct Stage {
  explicit Stage(const GeneratorOptions& options)
      : episode(generate_episode(options, 2)), updates(episode.updates.begin(), episode.updates.end()), play(episode) {
    play.play(episode.initial, updates);
    model = model_of(play.engine()).deep_copy();
  }

  GeneratedEpisode episode;
  std::vector<Value> updates;
  RecordPlay play;
  Value model;
};

Stage& stage(std::size_t number) {
  static std::vector<std::unique_ptr<Stage>> stages;
  const Kept kept;
  for (const bool gaps : {false, true}) {
    if (stages.size() == 2) break;
    stages.push_back(std::make_unique<Stage>(GeneratorOptions{.seed = 5,
                                                              .sides = 3,
                                                              .agent_sides = 2,
                                                              .units_per_side = 3,
                                                              .contacts_per_side = 2,
                                                              .change_share = 0.5,
                                                              .gaps = gaps}));
  }
  return *stages[number];
}

void play_json(Stage& at, std::string_view text) {
  try {
    at.play.play(at.episode.initial, {read_json(text), at.updates[0]});
  } catch (const JsonError&) {
    // No record came at all.
  }
}

void play_damaged(Stage& at, FuzzedDataProvider& bytes) {
  Value initial = at.episode.initial.deep_copy();
  std::vector<Value> updates;
  for (const Value& update : at.updates) updates.push_back(update.deep_copy());

  const RecordMutator mutator([&bytes](int end) { return bytes.ConsumeIntegralInRange<int>(0, std::max(end, 1) - 1); });
  for (int left = bytes.ConsumeIntegralInRange<int>(1, 6); left > 0; --left) {
    const auto record = bytes.ConsumeIntegralInRange<std::size_t>(0, 3);
    mutator.mutate(record == 0 ? initial.as_dict() : updates[(record - 1) / 2 % 2].as_dict());
  }
  at.play.play(initial, updates);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  Stage& at = stage(data[0] % 2);
  if (data[0] == '{') {
    play_json(at, {reinterpret_cast<const char*>(data), size});
  } else {
    FuzzedDataProvider bytes(data + 1, size - 1);
    play_damaged(at, bytes);
  }
  const Kept kept;
  at.play.play(at.episode.initial, at.updates);
  require(model_of(at.play.engine()) == at.model, "good records make the same model as ever");
  return 0;
}
