#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "Tessra/entitys/command_text.h"
#include "Tessra/entitys/contact.h"
#include "Tessra/entitys/element.h"

namespace tessra {

/// Base of groups, units and weapons, with the orders an agent gives to a unit.
///
/// An order builds one command text and queues it on the service client; it takes effect when the engine sends the
/// next package. Orders throw when the unit has no service client yet.
class GameUnit : public Element {
 public:
  /// Units are made only while their side's creation key is set on this thread; the constructor throws `Error`
  /// otherwise. Agents cannot conjure units that the service does not know.
  static void set_key(std::string_view side_name);
  static void clear_key();

  /// Holds the creation key of one side for the time of a scope.
  class CreationKey {
   public:
    explicit CreationKey(std::string_view side_name) { set_key(side_name); }
    ~CreationKey() { clear_key(); }
    CreationKey(const CreationKey&) = delete;
    CreationKey& operator=(const CreationKey&) = delete;
  };

  /// Degrees, as last reported.
  GeoPoint position() const;
  /// Metres per second, and damage in per cent, as last reported.
  double speed() const { return real("Speed"); }
  double damage() const { return real("Damage"); }
  /// Its platform, such as "Fighter"; empty when the service does not tell.
  std::string_view platform() const;

  /// How far its loaded weapons reach against what is of this type, in metres; 0 when none is made for it.
  double weapon_reach(ContactType target) const;
  /// How far the farthest of its sensors reaches, of those that are switched on, in metres.
  double sensor_reach() const;

  /// Replaces the course; an empty one lets the unit hold its heading.
  void plot_course(std::span<const GeoPoint> course);
  /// Metres per second; the service caps it at the unit's maximum.
  void set_speed(double metres_per_second);
  void set_radar(bool on);
  /// Attacks a contact of the unit's side. Without a weapon the service picks a fitting one, without a quantity as
  /// many as it thinks right.
  void attack(std::string_view contact_id, std::string_view weapon = "", int quantity = 0);
  void cancel_attack();
  /// "free": fires at any enemy in reach; "tight": when attacked or ordered; "hold": never.
  void set_weapon_control(std::string_view control);
  void assign_to_mission(std::string_view mission_name);
  void unassign_from_mission();
  void return_to_base();

 protected:
  GameUnit(Value guid, const Value& name, std::string_view side, tessra::ElementType type);

  /// The fields every unit knows.
  static const FieldTable& unit_fields();
  /// The beginning of a command of this unit.
  CommandText command(std::string_view name) const;
  void queue(const CommandText& command) const;
  double real(const KeyRef& name) const;
};

}  // namespace tessra
