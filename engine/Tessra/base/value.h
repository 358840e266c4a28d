#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>
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
  Value() noexcept : head_(head_of(Tag::none)), integer_(0) {}
  template <std::same_as<bool> B>
  Value(B boolean) noexcept : head_(head_of(Tag::boolean)), integer_(boolean) {}
  /// Throws `ConversionError` for an unsigned number beyond 63 bits.
  template <std::integral I>
    requires(!std::same_as<I, bool> && !std::same_as<I, char>)
  Value(I integer) : head_(head_of(Tag::integer)), integer_(checked_integer(integer)) {}
  template <std::floating_point F>
  Value(F real) noexcept : head_(head_of(Tag::real)), real_(static_cast<double>(real)) {}
  Value(std::string_view text);
  Value(const std::string& text) : Value(std::string_view(text)) {}
  Value(const char* text) : Value(std::string_view(text)) {}
  Value(Name name) noexcept : head_(head_of(Tag::name)), name_(name.rep_) {}
  Value(List list) : head_(head_of(Tag::list)), row_(&list.row()) { list.row_ = nullptr; }
  Value(Dict dict) : head_(head_of(Tag::dictionary)), row_(&dict.row()) { dict.row_ = nullptr; }
  /// A host object; an empty pointer becomes none. It is read back as the same type.
  template <class T>
  Value(std::shared_ptr<T> object) : Value(std::shared_ptr<void>(object), std::type_index(typeid(T))) {}
  /// No other pointer silently becomes a boolean.
  template <class T>
  Value(T*) = delete;

  Value(const Value& other) noexcept {
    take_bits(other);
    if (is_counted() && counted_ != nullptr) ++counted_->refs;
  }
  Value(Value&& other) noexcept {
    take_bits(other);
    other.head_ = head_of(Tag::none);
  }
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
    if (is_counted() && counted_ != nullptr && --counted_->refs == 0) end();
  }
  void swap(Value& other) noexcept {
    std::swap(head_, other.head_);
    std::swap(payload_, other.payload_);
  }

  Kind kind() const noexcept {
    constexpr Kind kKinds[] = {Kind::none, Kind::boolean, Kind::integer, Kind::real,       Kind::string, Kind::string,
                               Kind::none, Kind::string,  Kind::list,    Kind::dictionary, Kind::host};
    return kKinds[static_cast<int>(tag())];
  }
  bool is_none() const noexcept { return tag() == Tag::none; }
  bool is_bool() const noexcept { return tag() == Tag::boolean; }
  bool is_integer() const noexcept { return tag() == Tag::integer; }
  bool is_real() const noexcept { return tag() == Tag::real; }
  bool is_number() const noexcept { return is_bool() || is_integer() || is_real(); }
  bool is_string() const noexcept { return tag() == Tag::name || tag() == Tag::text || tag() == Tag::string; }
  bool is_list() const noexcept { return tag() == Tag::list; }
  bool is_dict() const noexcept { return tag() == Tag::dictionary; }
  /// Exactly the boolean true.
  bool is_true() const noexcept { return is_bool() && integer_ != 0; }
  /// Exactly this text; compares without making a value.
  bool is_text(std::string_view text) const { return is_string() && as_text() == text; }
  /// The same for the text of a name.
  bool is_name(Name name) const { return tag() == Tag::name ? name_ == name.rep_ : is_text(name.text()); }
  /// False for none, false, zero and whatever is empty; true for the rest, host objects included.
  bool truthy() const;

  // Access by kind; another kind throws `KindError` naming both.

  bool as_bool() const;
  /// An integer, or a boolean as 0 or 1.
  std::int64_t as_integer() const;
  /// Any number.
  double as_real() const;
  /// Valid while this value stays where it is and unchanged.
  std::string_view as_text() const& {
    if (tag() == Tag::text) return {short_text(), short_size()};
    if (tag() == Tag::name) return {name_->bytes, name_->size};
    return long_text();
  }
  std::string_view as_text() const&& = delete;  // the bytes would be gone
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

  /// Shares nothing with this value, host objects excepted, and texts if that is wanted. What was shared inside stays
  /// shared inside the copy. Throws `LimitError` beyond `kMaxDepth`.
  Value deep_copy(Texts texts = Texts::copied) const;

  /// Whether both are one list, dictionary or host object, or equal values of one kind. `==` throws `LimitError` beyond
  /// `kMaxDepth`.
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
    std::uint32_t refs;  // what all that is counted begins with
  };
  struct StringRep {
    std::uint32_t refs;
    std::uint32_t size;
    char bytes[1];  // as many as `size` says
  };
  static std::size_t bytes_of(std::size_t text_size);
  /// Of a text with bytes of its own: 0 when it is not known.
  std::uint32_t known_hash() const noexcept { return static_cast<std::uint32_t>(head_ >> 32); }
  void remember_hash(std::uint32_t hash) const noexcept { head_ = head_of(Tag::string) | std::uint64_t{hash} << 32; }

  // `name`, `text` and `string` are one kind: a known field name, a short text that stands in the value itself, and one
  // with bytes of its own. `absent` marks the erased entries of a dictionary; nobody else ever sees it. What comes
  // after it is counted.
  enum class Tag : std::uint8_t { none, boolean, integer, real, name, text, absent, string, list, dictionary, host };

  /// Longest text that stands in the value itself: all of its bytes but the tag and the size.
  static constexpr std::size_t kShortText = 14;

  /// A text of at most `kShortText` bytes.
  explicit Value(const detail::Front& text) { set_short(text.words.low, text.words.high, text.size); }
  void set_short(std::uint64_t low, std::uint64_t high, std::size_t size) {
    head_ = head_of(Tag::text) | size << 8 | low << 16;
    payload_ = low >> 48 | high << 16;
  }
  /// A text whose hash is known.
  Value(std::string_view text, std::uint32_t hash) : Value(text) {
    if (tag() == Tag::string) remember_hash(hash);
  }
  Value(std::shared_ptr<void> object, std::type_index type);
  static Value absent() {
    Value value;
    value.head_ = head_of(Tag::absent);
    return value;
  }

  template <class I>
  static std::int64_t checked_integer(I integer) {
    if (!std::in_range<std::int64_t>(integer)) throw ConversionError("integer beyond 64 bits");
    return static_cast<std::int64_t>(integer);
  }
  /// Every kind of value is moved by its bytes; the caller keeps the counts right.
  void take_bits(const Value& other) noexcept {
    head_ = other.head_;
    payload_ = other.payload_;
  }
  static constexpr std::uint64_t head_of(Tag tag) { return static_cast<std::uint64_t>(tag); }
  Tag tag() const noexcept { return static_cast<Tag>(head_ & 0xFF); }
  std::size_t short_size() const noexcept { return head_ >> 8 & 0xFF; }
  bool is_counted() const noexcept { return tag() >= Tag::string; }
  bool is_absent() const noexcept { return tag() == Tag::absent; }
  bool is_plain() const noexcept { return tag() < Tag::absent; }
  const char* short_text() const noexcept { return reinterpret_cast<const char*>(this) + 2; }
  std::string_view long_text() const {
    if (tag() != Tag::string) fail_kind(Kind::string);
    return {string_->bytes, string_->size};
  }
  /// Ends what this value held the last reference to.
  void end() noexcept;
  /// The same for a long text or a host object.
  static void end_leaf(Tag tag, Counted* counted) noexcept;
  std::shared_ptr<void> host_object(std::type_index type) const;
  bool holds_host(std::type_index type) const;
  [[noreturn]] void fail_kind(Kind wanted) const;
  static bool equal(const Value& a, const Value& b, int depth);

  // Written and read as two whole words: what is written in pieces and read at once, soon after, makes the processor
  // wait. The head holds the tag in its lowest byte; of a short text also the size and the first bytes, which go on in
  // the payload; of a long one its hash in the upper half, if that is known.
  mutable std::uint64_t head_;  // by the hash
  union {
    std::uint64_t payload_;
    std::int64_t integer_;  // or a boolean
    double real_;
    const Name::Rep* name_;
    Counted* counted_;
    StringRep* string_;
    List list_;
    Dict dict_;
    HostRep* host_;
    Row* row_;  // of a list or dictionary
  };
};

/// Text form of a real number: the shortest that reads back equal, with `.0` when whole.
std::string real_text(double real);

inline void swap(Value& a, Value& b) noexcept { a.swap(b); }

/// Deepest nesting that `deep_copy`, `==` and the text forms follow; `LimitError` beyond. Trees that are built by hand
/// may be deeper, or contain themselves.
constexpr int kMaxDepth = 2000;

}  // namespace tessra

#include "Tessra/base/tree_reps.h"  // IWYU pragma: export
