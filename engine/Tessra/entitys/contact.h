#pragma once

#include <optional>
#include <string_view>

#include "Tessra/base/value.h"
#include "Tessra/entitys/command_text.h"

namespace tessra {

/// What a contact is; the values are the service's codes, of which there may be others.
enum class ContactType : int { aircraft = 1, ship = 2, submarine = 3, facility = 4, weapon = 6, satellite = 7 };

/// A contact with its fields by name. It refers to the record in the side's table and copies nothing: what a later
/// update brings is read here too. A field that is not known is empty; one of another kind than it should be throws
/// `KindError` naming it. Keep ids from one decision to the next, not contacts: a lost one stays as it was last.
class Contact {
 public:
  Contact(Value id, Dict record) : id_(std::move(id)), record_(std::move(record)) {}

  std::string_view id() const { return id_.as_text(); }
  std::optional<std::string_view> name() const { return text("Name"); }
  std::optional<ContactType> type() const;

  /// Where it was last seen.
  std::optional<GeoPoint> position() const;
  /// Metres (negative under water), degrees and metres per second, as last seen.
  std::optional<double> altitude() const { return number("Alt"); }
  std::optional<double> heading() const { return number("Heading"); }
  std::optional<double> speed() const { return number("Speed"); }
  /// Seconds since it was last seen, and the standard deviation of its place then, in metres.
  std::optional<double> age() const { return number("Age"); }
  std::optional<double> uncertainty() const { return number("Uncertainty"); }

  /// 1 seen, 2 side known, 3 class known, 4 name known.
  std::optional<int> id_status() const;
  /// Its side's name.
  std::optional<std::string_view> side() const { return text("Side"); }
  /// Its platform.
  std::optional<std::string_view> class_name() const { return text("ClassName"); }
  /// The id of the unit behind it.
  std::optional<std::string_view> actual_unit() const { return text("ActualUnitID"); }

  /// All that is known.
  const Dict& record() const { return record_; }

 private:
  std::optional<std::string_view> text(const KeyRef& field) const;
  std::optional<double> number(const KeyRef& field) const;

  Value id_;
  Dict record_;
};

}  // namespace tessra
