#pragma once

#include <optional>
#include <string_view>

#include "Tessra/base/value.h"
#include "Tessra/entitys/command_text.h"

namespace tessra {

/// The type of a contact. The values are the service's codes, which may include others.
enum class ContactType : int { aircraft = 1, ship = 2, submarine = 3, facility = 4, weapon = 6, satellite = 7 };

/// A contact with typed accessors. It refers to the record in the side's table and copies nothing, so later updates
/// show here too. Unknown fields are empty; a field of the wrong kind throws `KindError` naming it. Between decisions
/// keep ids, not contacts: a lost one keeps its last state.
class Contact {
 public:
  Contact(Value id, Dict record) : id_(std::move(id)), record_(std::move(record)) {}

  std::string_view id() const { return id_.as_text(); }
  std::optional<std::string_view> name() const { return text("Name"); }
  std::optional<ContactType> type() const;

  /// Position when last seen.
  std::optional<GeoPoint> position() const;
  /// In metres (negative under water), degrees and metres per second, when last seen.
  std::optional<double> altitude() const { return number("Alt"); }
  std::optional<double> heading() const { return number("Heading"); }
  std::optional<double> speed() const { return number("Speed"); }
  /// Seconds since it was last seen, and the standard deviation of its position then, in metres.
  std::optional<double> age() const { return number("Age"); }
  std::optional<double> uncertainty() const { return number("Uncertainty"); }

  /// 1 seen, 2 side known, 3 class known, 4 name known.
  std::optional<int> id_status() const;
  /// Name of its side.
  std::optional<std::string_view> side() const { return text("Side"); }
  /// Its platform.
  std::optional<std::string_view> class_name() const { return text("ClassName"); }
  /// Id of the actual unit.
  std::optional<std::string_view> actual_unit() const { return text("ActualUnitID"); }

  /// All fields.
  const Dict& record() const { return record_; }

 private:
  std::optional<std::string_view> text(const KeyRef& field) const;
  std::optional<double> number(const KeyRef& field) const;

  Value id_;
  Dict record_;
};

}  // namespace tessra
