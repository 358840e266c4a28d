// Values: construction and destruction of what does not fit into eight bytes, conversions, comparison, and text forms.

#include "Tessra/base/value.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <ostream>
#include <vector>

#include "Tessra/base/pool.h"

namespace tessra {

std::string_view kind_name(Kind kind) {
  constexpr std::string_view kNames[] = {"none",   "boolean", "integer",    "real",
                                         "string", "list",    "dictionary", "host object"};
  return kNames[static_cast<int>(kind)];
}

/// The type is stored with the pointer: a `shared_ptr<void>` alone could be read back as any type.
struct Value::HostRep : Counted {
  std::shared_ptr<void> object;
  std::type_index type;
};

/// Header and bytes of a text, in one block.
std::size_t Value::bytes_of(std::size_t text_size) { return offsetof(StringRep, bytes) + text_size; }

Value::Value(std::string_view text) {
  static_assert(std::endian::native == std::endian::little && sizeof(Value) == 8 && sizeof(void*) == 8);
  // The size of a short text is derived from its bytes, so it must not end in a null byte.
  if (text.size() <= kShortText && !text.ends_with('\0')) {
    bits_ = head_of(Tag::text) | detail::load_up_to_8(text.data(), text.size());
    return;
  }
  if (text.size() > UINT32_MAX) throw LimitError("text longer than 4 GiB");
  auto* rep = static_cast<StringRep*>(Pool::take(bytes_of(text.size())));
  rep->refs = 1;
  rep->size = static_cast<std::uint32_t>(text.size());
  rep->hash = 0;
  text.copy(rep->bytes, text.size());
  bits_ = bits_of(Tag::string, rep);
}

Value::Value(std::shared_ptr<void> object, std::type_index type) : Value() {
  if (object != nullptr) bits_ = bits_of(Tag::host, new HostRep{{1}, std::move(object), type});
}

Value::IntegerRep* Value::make_wide(std::int64_t integer) {
  return new (Pool::take(sizeof(IntegerRep))) IntegerRep{1, integer};
}

void Value::end() noexcept {
  if (is_list() || is_dict()) {
    Row::end(held<Row>());
  } else {
    end_leaf(tag(), counted());
  }
}

void Value::end_leaf(Tag tag, Counted* counted) noexcept {
  if (tag == Tag::string) {
    auto* string = reinterpret_cast<StringRep*>(counted);
    Pool::give(string, bytes_of(string->size));
  } else if (tag == Tag::wide_integer) {
    Pool::give(counted, sizeof(IntegerRep));
  } else {
    delete static_cast<HostRep*>(counted);
  }
}

bool Value::truthy() const {
  switch (kind()) {
    case Kind::none:
      return false;
    case Kind::boolean:
    case Kind::integer:
      return integer() != 0;
    case Kind::real:
      return real() != 0;
    case Kind::string:
      return !as_text().empty();
    case Kind::list:
      return !list_.empty();
    case Kind::dictionary:
      return !dict_.empty();
    case Kind::host:
      return true;
  }
  return true;
}

void Value::fail_kind(Kind wanted) const {
  throw KindError("expected " + std::string(kind_name(wanted)) + ", found " + std::string(kind_name(kind())));
}

bool Value::as_bool() const {
  if (!is_bool()) fail_kind(Kind::boolean);
  return is_true();
}

std::int64_t Value::as_integer() const {
  if (is_integer() || is_bool()) return integer();
  fail_kind(Kind::integer);
}

double Value::as_real() const {
  if (is_real()) return real();
  if (is_integer() || is_bool()) return static_cast<double>(integer());
  fail_kind(Kind::real);
}

bool Value::holds_host(std::type_index type) const { return tag() == Tag::host && host()->type == type; }

std::shared_ptr<void> Value::host_object(std::type_index type) const {
  if (tag() != Tag::host) fail_kind(Kind::host);
  if (host()->type != type) {
    throw KindError("expected host object " + demangle(type.name()) + ", found " + demangle(host()->type.name()));
  }
  return host()->object;
}

namespace {

std::int64_t whole_part(double real) {
  // Exclusive bounds: the nearest real below -2^63, and 2^63. NaN fails both comparisons.
  if (!(real > -9223372036854777856.0 && real < 9223372036854775808.0)) {
    throw ConversionError("no 64-bit integer for real " + real_text(real));
  }
  return static_cast<std::int64_t>(real);
}

/// The integer that the whole text represents, with an optional sign and blanks around it.
std::int64_t decimal_integer(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\n\r\f\v";
  const auto first = text.find_first_not_of(kBlanks);
  std::string_view digits;
  if (first != std::string_view::npos) digits = text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
  // `from_chars` does not accept a plus sign.
  if (digits.size() > 1 && digits.front() == '+' && digits[1] != '-') digits.remove_prefix(1);
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) {
    throw ConversionError("not a 64-bit integer: '" + std::string(text) + "'");
  }
  return number;
}

}  // namespace

std::int64_t Value::to_integer() const {
  switch (kind()) {
    case Kind::boolean:
    case Kind::integer:
      return as_integer();
    case Kind::real:
      return whole_part(real());
    case Kind::string:
      return decimal_integer(as_text());
    default:
      fail_kind(Kind::integer);
  }
}

bool Value::is(const Value& other) const {
  if (kind() != other.kind()) return false;
  if (is_list()) return list_.is(other.list_);
  if (is_dict()) return dict_.is(other.dict_);
  return *this == other;
}

namespace {

/// Exact comparison. Converting the integer to a real would round it beyond 2^53.
bool equal_numbers(std::int64_t integer, double real) {
  return real >= -9223372036854775808.0 && real < 9223372036854775808.0 && std::trunc(real) == real &&
         static_cast<std::int64_t>(real) == integer;
}

}  // namespace

bool operator==(const Value& a, const Value& b) { return Value::equal(a, b, 0); }

bool Value::equal(const Value& a, const Value& b, int depth) {
  // Numbers first: they are equal across kinds, everything else only within one.
  if (a.is_number() && b.is_number()) {
    if (a.is_real() && b.is_real()) return a.real() == b.real();
    if (a.is_real()) return equal_numbers(b.as_integer(), a.real());
    if (b.is_real()) return equal_numbers(a.as_integer(), b.real());
    return a.as_integer() == b.as_integer();
  }
  if (a.kind() != b.kind()) return false;
  switch (a.kind()) {
    case Kind::string:
      return a.as_text() == b.as_text();
    case Kind::list:
      return List::equal(a.list_, b.list_, depth + 1);
    case Kind::dictionary:
      return Dict::equal(a.dict_, b.dict_, depth + 1);
    case Kind::host:
      return a.host()->object == b.host()->object;
    default:
      return true;
  }
}

namespace {

/// Appends a decimal of at most six places and below 10^9, as most reals of records are, in little more than half the
/// time of the general algorithm. False for any other.
///
/// It is the shortest text that reads back equal: the quotient is the double nearest to the decimal, and doubles tell
/// decimals of up to 15 digits apart, so no shorter one reads back as this real.
bool append_decimal(std::string& out, double real) {
  constexpr int kPlaces = 6;
  constexpr std::int64_t kScale = 1'000'000;
  const double size = std::abs(real);
  if (!(size < 1e9) || (size < 1e-4 && size != 0)) return false;
  const std::int64_t scaled = std::llround(size * kScale);
  if (static_cast<double>(scaled) / kScale != size) return false;
  if (std::signbit(real)) out += '-';
  char digits[24];
  char* end = std::to_chars(digits, digits + sizeof(digits), scaled / kScale).ptr;
  *end++ = '.';
  auto fraction = static_cast<std::uint32_t>(scaled % kScale);
  char* const last = end + kPlaces;
  for (char* place = last; place != end; fraction /= 10) *--place = static_cast<char>('0' + fraction % 10);
  char* stop = last;
  while (stop != end + 1 && stop[-1] == '0') --stop;
  out.append(digits, stop);
  return true;
}

}  // namespace

void append_real(std::string& out, double real) {
  if (append_decimal(out, real)) return;
  if (std::isnan(real)) {
    out += "nan";
    return;
  }
  if (std::isinf(real)) {
    out += real < 0 ? "-inf" : "inf";
    return;
  }
  // Fixed notation for common magnitudes, an exponent beyond.
  const double size = std::abs(real);
  const bool plain = size >= 1e-4 && size < 1e16;
  char digits[64];
  const auto end = std::to_chars(digits, digits + sizeof(digits), real,
                                 plain ? std::chars_format::fixed : std::chars_format::scientific);
  out.append(digits, end.ptr);
  if (plain && std::find(digits, end.ptr, '.') == end.ptr) out += ".0";
}

std::string real_text(double real) {
  std::string text;
  append_real(text, real);
  return text;
}

namespace {

/// Formats values for messages. A list or dictionary that contains itself is shown as dots.
class TextForm {
 public:
  void append(const Value& value, bool quoted) {
    switch (value.kind()) {
      case Kind::none:
        out_ += "None";
        break;
      case Kind::boolean:
        out_ += value.as_bool() ? "True" : "False";
        break;
      case Kind::integer:
        out_ += std::to_string(value.as_integer());
        break;
      case Kind::real:
        out_ += real_text(value.as_real());
        break;
      case Kind::string:
        if (quoted) out_ += '\'';
        out_ += value.as_text();
        if (quoted) out_ += '\'';
        break;
      case Kind::list:
      case Kind::dictionary:
        append_container(value);
        break;
      case Kind::host:
        out_ += "<host object>";
        break;
    }
  }

  std::string take() { return std::move(out_); }

 private:
  void append_container(const Value& value) {
    // A linear search is enough: `open_` holds only the containers around this one.
    if (open_.size() >= kMaxDepth) throw LimitError("nested deeper than " + std::to_string(kMaxDepth));
    const std::string_view brackets = value.is_list() ? "[]" : "{}";
    out_ += brackets[0];
    if (std::any_of(open_.begin(), open_.end(), [&](const Value* outer) { return outer->is(value); })) {
      out_ += "...";
    } else {
      open_.push_back(&value);
      if (value.is_list()) append_list(value.as_list());
      if (value.is_dict()) append_dict(value.as_dict());
      open_.pop_back();
    }
    out_ += brackets[1];
  }

  void append_list(const List& list) {
    std::string_view separator;
    for (const Value& entry : list) {
      out_ += separator;
      append(entry, true);
      separator = ", ";
    }
  }

  void append_dict(const Dict& dict) {
    std::string_view separator;
    for (auto [key, entry] : dict) {
      out_ += separator;
      append(key, true);
      out_ += ": ";
      append(entry, true);
      separator = ", ";
    }
  }

  std::string out_;
  std::vector<const Value*> open_;
};

}  // namespace

std::string Value::to_text() const {
  TextForm form;
  form.append(*this, false);
  return form.take();
}

std::ostream& operator<<(std::ostream& out, const Value& value) {
  TextForm form;
  form.append(value, true);
  return out << form.take();
}

}  // namespace tessra
