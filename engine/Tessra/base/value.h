#pragma once

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <limits>
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
#include "Tessra/base/tag.h"

namespace tessra {

enum class Kind : std::uint8_t { none, boolean, integer, real, string, list, dictionary, host };

/// The kind's name as shown in messages.
std::string_view kind_name(Kind kind);

/// One value of a situation, a configuration or an attribute map: none, boolean, integer (64 bit), real, string
/// (UTF-8), list, dictionary, or a host object (a shared pointer of the host's own type).
///
/// Lists, dictionaries and host objects are references: copying a value shares them. Numbers, including booleans,
/// compare by value (`1 == 1.0 == true`); `is_true` asks for exactly true. A value belongs to one thread at a time:
/// reference counts are not atomic, so no `Value` may be static or at namespace scope.
class Value {
 public:
  Value() noexcept : bits_(head_of(Tag::none)) {}
  template <std::same_as<bool> B>
  Value(B boolean) noexcept : bits_(head_of(Tag::boolean) | std::uint64_t{boolean}) {}
  /// Throws `ConversionError` for an unsigned number beyond 63 bits.
  template <std::integral I>
    requires(!std::same_as<I, bool> && !std::same_as<I, char>)
  Value(I integer) : bits_(bits_of(checked_integer(integer))) {}
  template <std::floating_point F>
  Value(F real) noexcept : bits_(bits_of(static_cast<double>(real))) {}
  Value(std::string_view text);
  Value(const std::string& text) : Value(std::string_view(text)) {}
  Value(const char* text) : Value(std::string_view(text)) {}
  Value(Name name) noexcept : bits_(bits_of(Tag::name, name.rep_)) {}
  Value(List list) : list_(std::move(list)) { list_.row(); }
  Value(Dict dict) : dict_(std::move(dict)) { dict_.row(); }
  /// A host object; a null pointer becomes none. It must be read back as the same type.
  template <class T>
  Value(std::shared_ptr<T> object) : Value(std::shared_ptr<void>(object), std::type_index(typeid(T))) {}
  /// Deleted, so that no pointer silently becomes a boolean.
  template <class T>
  Value(T*) = delete;

  Value(const Value& other) noexcept {
    take_bits(other);
    if (Counted* held = counted()) ++held->refs;
  }
  Value(Value&& other) noexcept : bits_(std::exchange(other.bits_, head_of(Tag::none))) {}
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
  ~Value() {
    if (Counted* held = counted(); held != nullptr && --held->refs == 0) end();
  }
  void swap(Value& other) noexcept { std::swap(bits_, other.bits_); }

  Kind kind() const noexcept {
    constexpr Kind kKinds[] = {Kind::dictionary, Kind::list,    Kind::string,  Kind::integer, Kind::host,   Kind::none,
                               Kind::none,       Kind::boolean, Kind::integer, Kind::string,  Kind::string, Kind::real};
    return kKinds[static_cast<int>(tag())];
  }
  bool is_none() const noexcept { return tag() == Tag::none; }
  bool is_bool() const noexcept { return tag() == Tag::boolean; }
  bool is_integer() const noexcept { return tag() == Tag::integer || tag() == Tag::wide_integer; }
  bool is_real() const noexcept { return tag() == Tag::real; }
  bool is_number() const noexcept { return is_bool() || is_integer() || is_real(); }
  bool is_string() const noexcept { return tag() == Tag::name || tag() == Tag::text || tag() == Tag::string; }
  bool is_list() const noexcept { return tag() == Tag::list; }
  bool is_dict() const noexcept { return tag() == Tag::dictionary; }
  /// Exactly the boolean true.
  bool is_true() const noexcept { return bits_ == (head_of(Tag::boolean) | 1); }
  /// Exactly this text; compares without constructing a value.
  bool is_text(std::string_view text) const { return is_string() && as_text() == text; }
  /// The same for a name.
  bool is_name(Name name) const { return tag() == Tag::name ? this->name() == name.rep_ : is_text(name.text()); }
  /// False for none, false, zero and empty texts, lists and dictionaries; true for the rest, including host objects.
  bool truthy() const;

  // Access by kind; a value of another kind throws `KindError` naming both.

  bool as_bool() const;
  /// An integer, or a boolean as 0 or 1.
  std::int64_t as_integer() const;
  /// Any number.
  double as_real() const;
  /// Valid while this value stays where it is and unchanged.
  std::string_view as_text() const& {
    if (tag() == Tag::text) return {short_text(), short_size()};
    if (tag() == Tag::name) return {name()->bytes, name()->size};
    return long_text();
  }
  std::string_view as_text() const&& = delete;  // the view would dangle
  const List& as_list() const& {
    if (!is_list()) fail_kind(Kind::list);
    return list_;
  }
  List& as_list() & { return const_cast<List&>(std::as_const(*this).as_list()); }
  List as_list() && { return as_list(); }
  const Dict& as_dict() const& {
    if (!is_dict()) fail_kind(Kind::dictionary);
    return dict_;
  }
  Dict& as_dict() & { return const_cast<Dict&>(std::as_const(*this).as_dict()); }
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
  /// The host object, or null if this value does not hold one of this type.
  template <class T>
  std::shared_ptr<T> if_host() const {
    return holds_host(std::type_index(typeid(T))) ? as_host<T>() : nullptr;
  }

  /// Conversion to an integer: reals are truncated, booleans are 0 or 1, text is parsed as a decimal integer, with
  /// blanks around it allowed. Throws `ConversionError` if there is no such integer and `KindError` for kinds that
  /// cannot be converted.
  std::int64_t to_integer() const;

  /// Prefetches what this value refers to, if anything.
  void fetch_held() const noexcept {
    if (const Counted* held = counted()) __builtin_prefetch(held);
  }

  /// The value as text: `None`, `True`, shortest reals with `.0` when whole, strings without quotes, lists and
  /// dictionaries with the strings inside quoted.
  std::string to_text() const;

  /// A copy that shares only host objects, and texts if `Texts::shared`. Sharing inside the tree is preserved inside
  /// the copy. Throws `LimitError` beyond `kMaxDepth`.
  Value deep_copy(Texts texts = Texts::copied) const;

  /// Whether both are the same list, dictionary or host object, or equal values of one kind. `==` throws `LimitError`
  /// beyond `kMaxDepth`.
  bool is(const Value& other) const;
  friend bool operator==(const Value& a, const Value& b);
  friend std::ostream& operator<<(std::ostream& out, const Value& value);

 private:
  friend class KeyRef;
  friend class KeySet;
  friend struct Row;
  friend class Dict;
  template <bool kConst>
  friend class DictIterator;
  friend class List;
  friend class DeepCopy;
  friend class TreeBuilder;
  friend class RecordIds;
  struct HostRep;
  struct Counted {
    std::uint32_t refs;  // the first member of everything that is counted
  };
  struct StringRep {
    std::uint32_t refs;
    std::uint32_t size;
    std::uint32_t hash;  // 0 until computed
    char bytes[1];       // `size` of them
  };
  struct IntegerRep {
    std::uint32_t refs;
    std::int64_t integer;
  };
  static std::size_t bytes_of(std::size_t text_size);
  /// Hash of a heap text; 0 if not yet computed.
  std::uint32_t known_hash() const noexcept { return string()->hash; }
  void remember_hash(std::uint32_t hash) const noexcept { string()->hash = hash; }

  using Tag = detail::Tag;

  /// Longest text that is stored in the value itself.
  static constexpr std::size_t kShortText = 6;

  /// A text of at most `kShortText` bytes that does not end in a null byte, since its size is derived from its bytes.
  explicit Value(const detail::Front& text) : bits_(head_of(Tag::text) | text.words.low) {}
  /// A text whose hash is known.
  Value(std::string_view text, std::uint32_t hash) : Value(text) {
    if (tag() == Tag::string) remember_hash(hash);
  }
  Value(std::shared_ptr<void> object, std::type_index type);
  static Value absent() {
    Value value;
    value.bits_ = head_of(Tag::absent);
    return value;
  }
  /// A number from its bits (see `JsonNumber`).
  static Value of_number(std::uint64_t bits, bool is_real) {
    if (!is_real && !is_narrow(static_cast<std::int64_t>(bits))) return static_cast<std::int64_t>(bits);
    // A select instead of a branch: whether an integer or a real comes next cannot be predicted.
    Value value;
    value.bits_ = is_real ? bits + kFirstReal : head_of(Tag::integer) | (bits & detail::kPayload);
    return value;
  }

  template <class I>
  static std::int64_t checked_integer(I integer) {
    if (!std::in_range<std::int64_t>(integer)) throw ConversionError("integer beyond 64 bits");
    return static_cast<std::int64_t>(integer);
  }
  static constexpr std::uint64_t kFirstReal = detail::head_of(Tag::real);
  static constexpr std::uint64_t head_of(Tag tag) { return detail::head_of(tag); }
  static std::uint64_t bits_of(Tag tag, const void* address) { return detail::bits_of(tag, address); }
  static std::uint64_t bits_of(std::int64_t integer) {
    if (!is_narrow(integer)) return bits_of(Tag::wide_integer, make_wide(integer));
    return head_of(Tag::integer) | (static_cast<std::uint64_t>(integer) & detail::kPayload);
  }
  static std::uint64_t bits_of(double real) noexcept {
    // A single NaN pattern: the others encode the other kinds.
    if (real != real) real = std::numeric_limits<double>::quiet_NaN();
    return std::bit_cast<std::uint64_t>(real) + kFirstReal;
  }
  /// Whether the integer fits into the payload.
  static bool is_narrow(std::int64_t integer) { return (integer << 16 >> 16) == integer; }
  static IntegerRep* make_wide(std::int64_t integer);

  /// Copies the bits, which is correct for every kind; the caller adjusts the reference count.
  void take_bits(const Value& other) noexcept { bits_ = other.bits_; }
  Tag tag() const noexcept { return static_cast<Tag>(std::min(bits_, kFirstReal) >> detail::kTagShift); }
  bool is_absent() const noexcept { return bits_ == head_of(Tag::absent); }
  /// None, or a number or text stored in the value itself.
  bool is_plain() const noexcept { return bits_ > head_of(Tag::absent); }

  std::uint64_t payload() const noexcept { return bits_ & detail::kPayload; }
  template <class Held>
  Held* held() const noexcept {
    return detail::held_by<Held>(bits_);
  }
  /// The object it holds a reference to, or null.
  Counted* counted() const noexcept { return bits_ < head_of(Tag::absent) ? held<Counted>() : nullptr; }
  // Unchecked access by kind.
  std::int64_t integer() const noexcept {
    return tag() == Tag::wide_integer ? held<IntegerRep>()->integer : static_cast<std::int64_t>(bits_ << 16) >> 16;
  }
  double real() const noexcept { return std::bit_cast<double>(bits_ - kFirstReal); }
  const Name::Rep* name() const noexcept { return held<const Name::Rep>(); }
  StringRep* string() const noexcept { return held<StringRep>(); }
  HostRep* host() const noexcept { return held<HostRep>(); }
  /// Little-endian: the payload comes first in memory.
  const char* short_text() const noexcept { return reinterpret_cast<const char*>(this); }
  /// The text is followed by null bytes.
  std::size_t short_size() const noexcept { return (std::bit_width(payload()) + 7) / 8; }
  std::string_view long_text() const {
    if (tag() != Tag::string) fail_kind(Kind::string);
    return {string()->bytes, string()->size};
  }
  /// Destroys the object whose last reference this value held.
  void end() noexcept;
  /// The same for objects without values inside: a long text, a wide integer or a host object.
  static void end_leaf(Tag tag, Counted* counted) noexcept;
  std::shared_ptr<void> host_object(std::type_index type) const;
  bool holds_host(std::type_index type) const;
  [[noreturn]] void fail_kind(Kind wanted) const;
  static bool equal(const Value& a, const Value& b, int depth);

  union {
    std::uint64_t bits_;
    List list_;  // handles use the same encoding
    Dict dict_;
  };
};

/// Text of a real number: the shortest that reads back equal, with `.0` when whole.
std::string real_text(double real);
/// Appends it to a text.
void append_real(std::string& out, double real);

inline void swap(Value& a, Value& b) noexcept { a.swap(b); }

/// Deepest nesting that `deep_copy`, `==` and the text forms follow; `LimitError` beyond. Trees built by hand may be
/// deeper, or contain themselves.
constexpr int kMaxDepth = 2000;

}  // namespace tessra

#include "Tessra/base/tree_reps.h"  // IWYU pragma: export
