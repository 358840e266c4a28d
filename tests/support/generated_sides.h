#pragma once

// Who is in a generated episode: sides with their units, missions and contacts, and what becomes of them.

#include <cstdint>
#include <string>
#include <vector>

#include "Tessra/base/value.h"
#include "tests/support/situation_generator.h"

namespace tessra::testing {

struct GeneratedUnit {
  /// The parts of a side's record in which a unit appears.
  enum Part { kBasic = 1, kLive = 2, kPosition = 4, kAll = 7 };

  std::string id, category;
  Value name, type;
  int parts = kAll;
  bool has_inner = true;  // live record with an `ActiveUnit`
  bool alive = true;
};

struct GeneratedMission {
  std::string id, category;
  bool alive = true;
};

struct GeneratedContact {
  std::string id;
  bool alive = true;
};

struct GeneratedSide {
  std::string id, name;
  std::vector<GeneratedUnit> units;
  std::vector<GeneratedMission> missions;
  std::vector<GeneratedContact> contacts;
};

class Cast {
 public:
  explicit Cast(const GeneratorOptions& options);

  static bool friends(std::size_t a, std::size_t b) { return a != b && a % 2 == b % 2; }
  /// Whether the contact may be deleted in an episode without gaps. Those known to friends under the same id may not:
  /// a friend's later partial report would come back as a contact without type.
  static bool may_leave(const GeneratedContact& contact) { return !contact.id.starts_with("contact"); }

  // What is added comes last in the side.

  GeneratedUnit& add_unit(GeneratedSide& side) const;
  GeneratedMission& add_mission(GeneratedSide& side) const;
  GeneratedContact& add_contact(GeneratedSide& side) const;

  /// Makes a unit incomplete or strange. Each way from 1 to 12 has its own; the others change nothing.
  static void make_odd(GeneratedUnit& unit, int way);

  Dict config() const;
  Dict sides_info() const;

  std::vector<GeneratedSide> sides;

 private:
  GeneratorOptions options_;
};

}  // namespace tessra::testing
