#pragma once

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <utility>

#include "Tessra/base/dict.h"
#include "Tessra/base/error.h"
#include "Tessra/base/list.h"
#include "Tessra/base/name.h"

namespace tessra {

enum class Kind : std::uint8_t { none, boolean, integer, real, string, list, dictionary, host };

/// The kind's name as messages show it.
std::string_view kind_name(Kind kind);

/// One value of a situation, a configuration or an attribute map: none, boolean, integer (64 bit), real, string
/// (UTF-8), list, dictionary, or a host object (a shared pointer of the host's own type).
///
/// Lists, dictionaries and host objects are references: copying a value shares them. Numbers, booleans included,
/// compare by value (`1 == 1.0 == true`); `is_true` asks for exactly true. A value belongs to one thread at a time:
/// its counts are not atomic, so no `Value` may stand in a static or at namespace scope.
class Value {
 public:
  Value() noexcept : tag_(Tag::none), integer_(0) {}
  template <std::same_as<bool> B>
  Value(B boolean) noexcept : tag_(Tag::boolean), boolean_(boolean) {}
  /// Throws `ConversionError` for an unsigned number beyond 63 bits.
  template <std::integral I>
    requires(!std::same_as<I, bool> && !std::same_as<I, char>)
  Value(I integer) : tag_(Tag::integer), integer_(checked_integer(integer)) {}
  template <std::floating_point F>
  Value(F real) noexcept : tag_(Tag::real), real_(static_cast<double>(real)) {}
  Value(std::string_view text);
  Value(const std::string& text) : Value(std::string_view(text)) {}
  Value(const char* text) : Value(std::string_view(text)) {}
  Value(Name name) noexcept : tag_(Tag::name), name_(name.rep_) {}
  Value(List list) noexcept : tag_(Tag::list), list_(std::move(list)) {}
  Value(Dict dict) noexcept : tag_(Tag::dictionary), dict_(std::move(dict)) {}
  /// A host object; an empty pointer becomes none. It is read back as the same type.
  template <class T>
  Value(std::shared_ptr<T> object) : Value(std::shared_ptr<void>(object), std::type_index(typeid(T))) {}
  /// No other pointer silently becomes a boolean.
  template <class T>
  Value(T*) = delete;

  Value(const Value& other) noexcept : tag_(other.tag_) { share(other); }
  Value(Value&& other) noexcept : tag_(other.tag_) { steal(other); }
  Value& operator=(const Value& other) noexcept {
    Value copy(other);
    swap(copy);
    return *this;
  }
  Value& operator=(Value&& other) noexcept {
    Value taken(std::move(other));
    swap(taken);
    return *this;
  }
  ~Value() { release(); }
  void swap(Value& other) noexcept;

  Kind kind() const noexcept {
    const int number = static_cast<int>(tag_);
    return static_cast<Kind>(tag_ <= Tag::name ? number : number - 1);
  }
  bool is_none() const noexcept { return tag_ == Tag::none; }
  bool is_bool() const noexcept { return tag_ == Tag::boolean; }
  bool is_integer() const noexcept { return tag_ == Tag::integer; }
  bool is_real() const noexcept { return tag_ == Tag::real; }
  bool is_number() const noexcept { return is_bool() || is_integer() || is_real(); }
  bool is_string() const noexcept { return tag_ == Tag::name || tag_ == Tag::string; }
  bool is_list() const noexcept { return tag_ == Tag::list; }
  bool is_dict() const noexcept { return tag_ == Tag::dictionary; }
  /// Exactly the boolean true.
  bool is_true() const noexcept { return is_bool() && boolean_; }
  /// Exactly this text; compares without making a value.
  bool is_text(std::string_view text) const { return is_string() && as_text() == text; }
  /// False for none, false, zero and whatever is empty; true for the rest, host objects included.
  bool truthy() const;

  // Access by kind; another kind throws `KindError` naming both.

  bool as_bool() const;
  /// An integer, or a boolean as 0 or 1.
  std::int64_t as_integer() const;
  /// Any number.
  double as_real() const;
  /// Valid while this value stays where it is and unchanged.
  std::string_view as_text() const&;
  std::string_view as_text() const&& = delete;  // the bytes would be gone
  const List& as_list() const&;
  List& as_list() &;
  List as_list() && { return as_list(); }
  const Dict& as_dict() const&;
  Dict& as_dict() &;
  Dict as_dict() && { return as_dict(); }
  /// The host object, as the type it was stored with.
  template <class T>
  std::shared_ptr<T> as_host() const {
    return std::static_pointer_cast<T>(host_object(std::type_index(typeid(T))));
  }
  /// The dictionary, or null for any other kind.
  const Dict* if_dict() const noexcept { return is_dict() ? &dict_ : nullptr; }
  Dict* if_dict() noexcept { return is_dict() ? &dict_ : nullptr; }
  const List* if_list() const noexcept { return is_list() ? &list_ : nullptr; }
  /// The host object, or null when this value holds none of this type.
  template <class T>
  std::shared_ptr<T> if_host() const {
    return holds_host(std::type_index(typeid(T))) ? as_host<T>() : nullptr;
  }

  /// Conversion to a whole number: integers stay, reals lose their fraction, booleans are 0 or 1, text is read as a
  /// decimal integer with blanks around it. Throws `ConversionError` when there is no such number and `KindError` for
  /// kinds that cannot be converted.
  std::int64_t to_integer() const;

  /// The value as text: `None`, `True`, shortest reals with `.0` when whole, strings as they are, lists and
  /// dictionaries with quoted strings inside.
  std::string to_text() const;

  /// Shares nothing with this value, host objects excepted. What was shared inside stays shared inside the copy.
  Value deep_copy() const;

  /// Whether both are one list, dictionary or host object, or equal values of one kind.
  bool is(const Value& other) const;
  friend bool operator==(const Value& a, const Value& b);
  friend std::ostream& operator<<(std::ostream& out, const Value& value);

 private:
  friend class KeyRef;
  friend struct DictKeyPolicy;
  struct StringRep;
  struct HostRep;

  // `name` and `string` are one kind: a text that is a known field name, or one with bytes of its own.
  enum class Tag : std::uint8_t { none, boolean, integer, real, name, string, list, dictionary, host };

  Value(std::shared_ptr<void> object, std::type_index type);

  template <class I>
  static std::int64_t checked_integer(I integer) {
    if (!std::in_range<std::int64_t>(integer)) throw ConversionError("integer beyond 64 bits");
    return static_cast<std::int64_t>(integer);
  }
  void share(const Value& other) noexcept;
  void steal(Value& other) noexcept;
  void release() noexcept;
  std::shared_ptr<void> host_object(std::type_index type) const;
  bool holds_host(std::type_index type) const;
  [[noreturn]] void fail_kind(Kind wanted) const;

  Tag tag_;
  union {
    bool boolean_;
    std::int64_t integer_;
    double real_;
    const Name::Rep* name_;
    StringRep* string_;
    List list_;
    Dict dict_;
    HostRep* host_;
  };
};

/// Text form of a real number: the shortest that reads back equal, with `.0` when whole.
std::string real_text(double real);

inline void swap(Value& a, Value& b) noexcept { a.swap(b); }

}  // namespace tessra
