#pragma once

#include <memory>
#include <string>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "tests/support/scripted_server.h"

namespace tessra::bench {

/// A service that delivers a given initial record.
class RecordServer : public testing::ScriptedServer {
 public:
  Value get_init_situation() override { return std::move(initial); }
};

/// An engine that plays records, with an idle agent on every side.
class Host {
 public:
  /// `sides`: side id → `Name` and `Friend`.
  explicit Host(const Dict& sides);

  /// Builds the model of an initial record. Throws `Error` on failure.
  void build(Value initial);

  Deduction& engine() { return *engine_; }

 private:
  std::shared_ptr<RecordServer> server_ = std::make_shared<RecordServer>();
  std::unique_ptr<Deduction> engine_;
};

}  // namespace tessra::bench
