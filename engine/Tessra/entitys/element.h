#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Tessra/base/value.h"
#include "Tessra/entitys/field_names.h"
#include "Tessra/entitys/field_table.h"
#include "Tessra/entitys/global_util.h"

namespace tessra {

class GameServer;

/// One object of the situation model: an open map from attribute names to values.
///
/// What the service reports is stored under the service's own field names. `Name`, `Side` and `ElementType` stand in
/// the map like any other attribute, and a record may overwrite them; nothing keeps a second copy. Fields the class
/// knows can be read before they arrived, with the default of their kind.
class Element {
 public:
  Element(Value guid, const Value& name, const Value& side, ElementType type);
  virtual ~Element() = default;
  Element(const Element&) = delete;
  Element& operator=(const Element&) = delete;

  /// The class's name as messages show it: `Aircraft`.
  virtual std::string_view class_name() const = 0;
  /// The service fields the class knows.
  virtual const FieldTable& known_fields() const = 0;

  /// The id the service lists this object under.
  std::string_view guid() const { return guid_.as_text(); }

  /// True for what is stored or has a default.
  bool has_attribute(const KeyRef& name) const;
  /// True as well for a field of the class without a default, which records may bring and only then can be read.
  bool may_have_attribute(const KeyRef& name) const;
  /// The stored value, else the default; a list or dictionary read as a default is stored, so that writing into it
  /// counts. Throws `KeyError` naming class and attribute when there is neither.
  Value get_attribute(const KeyRef& name);
  void set_attribute(const KeyRef& name, Value value) {
    if (renamed_ != nullptr && name.is(names::kName)) *renamed_ = true;
    attributes_.set(name, std::move(value));
  }
  /// `get_attribute` as a dictionary. Throws `KindError` naming the attribute when it is none.
  Dict get_dict(const KeyRef& name);

  /// From now on `*renamed` becomes true when `set_attribute` sets the `Name`: an index by name must look again.
  void watch_name(std::shared_ptr<bool> renamed) { renamed_ = std::move(renamed); }

  /// Everything stored, in the order it was stored first. A `Name` written here is not noticed by the indexes
  /// by name.
  Dict& attributes() { return attributes_; }
  const Dict& attributes() const { return attributes_; }

  // Typed reading of the attributes every element has; throws when a record put another kind there.

  std::string_view Name() const { return attributes_.at_text(names::kName); }
  std::string_view Side() const { return attributes_.at_text(names::kSide); }
  tessra::ElementType element_type() const;
  /// The service client, under `_game_server`.
  std::shared_ptr<GameServer> game_server() const;

 protected:
  /// Stores the attributes of the constructor into an empty map.
  void initialise_attributes(const Value& name, const Value& side, tessra::ElementType type);

 private:
  Value guid_;
  Dict attributes_;
  std::shared_ptr<bool> renamed_;
};

}  // namespace tessra
