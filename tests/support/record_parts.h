#pragma once

// Building blocks of generated records: chance, deletion entries, the parts of a unit. All draws come from one seeded
// generator by lines of our own, so that a seed means the same records with every library.

#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>

#include "Tessra/base/value.h"
#include "tests/support/generated_sides.h"
#include "tests/support/record_tree.h"

namespace tessra::testing {

class Chance {
 public:
  explicit Chance(std::uint64_t seed) : bits_(seed) {}

  /// From 0 up to, not including, `end`.
  int below(int end) { return static_cast<int>(bits_() % static_cast<std::uint64_t>(end)); }
  bool happens(double share) { return static_cast<double>(bits_() >> 11) * 0x1p-53 < share; }
  /// Three digits behind the point.
  double real(int low, int high) { return (low * 1000 + below((high - low) * 1000)) / 1000.0; }

 private:
  std::mt19937_64 bits_;
};

/// Makes the records of units, whole or changed only.
class UnitRecords {
 public:
  /// With `gaps`, deletion entries may come without ids and name what nobody holds.
  UnitRecords(Chance& chance, bool gaps) : chance_(chance), gaps_(gaps) {}

  /// Writes the unit into the parts of a side's record that are in `parts`.
  void put_whole(Dict side_record, const GeneratedUnit& unit, int parts);
  void put_changes(Dict side_record, const GeneratedUnit& unit, int parts);

  /// `prefix` with 1 up to `count` → a small record each.
  static Dict items(std::string_view prefix, int count);
  static Dict doctrine();
  Dict doctrine_changes();
  /// A deletion entry for one or two of the ids `prefix` with 1 up to `count`; the last may be unknown.
  Dict deletion(std::string_view prefix, int count);

 private:
  Dict basic(const GeneratedUnit& unit);
  Dict inner();
  Dict live();
  Dict inner_changes();
  Dict component_changes(std::string_view table);
  Dict changed_item(std::string_view prefix);
  void put_position(Dict side_record, const GeneratedUnit& unit, int parts);

  Chance& chance_;
  bool gaps_;
};

}  // namespace tessra::testing
