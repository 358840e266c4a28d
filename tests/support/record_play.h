#pragma once

// One engine that plays whatever records it is given, good or damaged, and shows the model that they make.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "tests/support/fake_seams.h"
#include "tests/support/scripted_server.h"
#include "tests/support/situation_generator.h"

namespace tessra::testing {

/// Everything that the records of an episode decide in an engine; shared with the engine. What an engine keeps from
/// earlier episodes is left out.
Value model_of(const Deduction& engine);
/// The same as text, which tells kinds apart, those of keys too.
inline std::string model_text(const Deduction& engine) { return model_of(engine).to_text(); }

/// What came of one episode.
struct Played {
  /// Texts of the errors that reached the host, and `reset`'s code when it refused to start.
  std::vector<std::string> errors;
  std::optional<BatResult> result;
};

class RecordPlay {
 public:
  /// An engine for the sides of this episode. Their agents look at everything and attack every contact.
  explicit RecordPlay(const GeneratedEpisode& episode);

  /// Plays one episode of copies of these records, the rest of it also after an error. Errors that are no
  /// `std::exception` pass through.
  Played play(const Value& initial, const std::vector<Value>& updates);

  Deduction& engine() { return *engine_; }
  ScriptedServer& server() { return *server_; }

 private:
  std::shared_ptr<ScriptedServer> server_ = std::make_shared<ScriptedServer>();
  FakeSeams seams_;
  std::unique_ptr<Deduction> engine_;
};

}  // namespace tessra::testing
