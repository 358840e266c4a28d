#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "Tessra/entitys/command_text.h"
#include "Tessra/entitys/contact.h"
#include "Tessra/entitys/element.h"

namespace tessra {

/// Base of groups, units and weapons, with the orders an agent can give to a unit.
///
/// An order queues one command on the service client; it takes effect when the engine sends the next package. Orders
/// throw if the unit has no service client yet.
class GameUnit : public Element {
 public:
  /// Units can be constructed only while their side's creation key is set on this thread; otherwise the constructor
  /// throws `Error`. This keeps agents from inventing units that the service does not know.
  static void set_key(std::string_view side_name);
  static void clear_key();

  /// Sets the creation key of a side for a scope.
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
  /// Its platform, such as "Fighter"; empty if the service does not report it.
  std::string_view platform() const;

  /// Longest range of its loaded weapons against targets of this type, in metres; 0 if none can hit them.
  double weapon_reach(ContactType target) const;
  /// Longest range of its active sensors, in metres.
  double sensor_reach() const;

  /// Replaces the course by these places. The bundled simulation refuses an empty one.
  void plot_course(std::span<const GeoPoint> course);
  /// In metres per second; the service clamps it to the unit's limits.
  void set_speed(double metres_per_second);
  void set_radar(bool on);
  /// Attacks a contact of the unit's side. Without a weapon or quantity the service chooses.
  void attack(std::string_view contact_id, std::string_view weapon = "", int quantity = 0);
  void cancel_attack();
  /// "free": fires at any enemy in range; "tight": when attacked or ordered; "hold": never.
  void set_weapon_control(std::string_view control);
  void assign_to_mission(std::string_view mission_name);
  void unassign_from_mission();
  void return_to_base();

 protected:
  GameUnit(Value guid, const Value& name, std::string_view side, tessra::ElementType type);

  /// The fields of every unit.
  static const FieldTable& unit_fields();
  /// Starts a command with this unit's side and id.
  CommandText command(std::string_view name) const;
  void queue(const CommandText& command) const;
  double real(const KeyRef& name) const;
};

}  // namespace tessra
