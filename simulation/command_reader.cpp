// A recursive-descent parser without backtracking, except for one word in a table that turns out not to be a key. It
// checks size, depth and number of values as it goes, so that hostile input fails early.

#include "simulation/command_reader.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdint>

#include "Tessra/base/utf8.h"
#include "simulation/order_limits.h"

namespace tessra::sim {

namespace {

// ASCII only, independent of the locale.
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_word(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || is_digit(c); }
bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// The entries of a table while its kind, dictionary or list, is not yet known.
struct Entries {
  Dict keyed;
  List listed;
  bool gap = false;  // the list contained nil, after which no entry may follow
};

class CommandReader {
 public:
  explicit CommandReader(std::string_view text) : text_(text) {}

  CommandCall read();

 private:
  [[noreturn]] void fail(std::string_view what, std::size_t at) const {
    throw CommandError(fmt::format("byte {}: {}", at + 1, what));
  }
  [[noreturn]] void fail(std::string_view what) const { fail(what, at_); }

  /// The next byte, 0 at the end. A null byte in the text is not valid anywhere either, so the two need no distinction.
  char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  bool take(char c);
  void expect(char c, std::string_view where);
  void skip_blanks();
  void skip_semicolons();
  std::string_view take_word();

  Value read_value(int depth);
  Value read_word();
  Value read_number();
  std::string read_text();
  char read_escape();
  char read_byte(int digits, int base);
  Value read_table(int depth);
  void read_entry(Entries& entries, int depth);
  void add_entry(Entries& entries, const std::string* key, Value value, std::size_t at) const;

  std::string_view text_;
  std::size_t at_ = 0;
  int values_ = 0;
};

CommandCall CommandReader::read() {
  if (text_.size() > kMaxOrderBytes) throw CommandError(fmt::format("longer than {} bytes", kMaxOrderBytes));
  skip_semicolons();
  CommandCall call;
  call.name = take_word();
  if (call.name.empty() || is_digit(call.name[0])) fail("a command must start with its name");
  skip_blanks();
  expect('(', "after the command's name");
  skip_blanks();
  const std::size_t table = at_;
  if (peek() != '{') fail("a command takes one table, '{'");
  // An empty table reads as a list and means no arguments.
  const Value arguments = read_value(0);
  if (arguments.is_list() && !arguments.as_list().empty()) fail("arguments need names, KEY=value", table);
  if (arguments.is_dict()) call.arguments = arguments.as_dict();
  skip_blanks();
  expect(')', "after the table");
  skip_semicolons();
  if (at_ < text_.size()) fail("there is more than one command");
  return call;
}

bool CommandReader::take(char c) {
  if (at_ >= text_.size() || text_[at_] != c) return false;
  ++at_;
  return true;
}

void CommandReader::expect(char c, std::string_view where) {
  if (!take(c)) fail(fmt::format("'{}' is missing {}", c, where));
}

void CommandReader::skip_blanks() {
  while (at_ < text_.size() && is_blank(text_[at_])) ++at_;
}

void CommandReader::skip_semicolons() {
  do {
    skip_blanks();
  } while (take(';'));
}

std::string_view CommandReader::take_word() {
  const std::size_t start = at_;
  while (at_ < text_.size() && is_word(text_[at_])) ++at_;
  return text_.substr(start, at_ - start);
}

Value CommandReader::read_value(int depth) {
  if (++values_ > kMaxOrderValues) fail(fmt::format("more than {} values", kMaxOrderValues));
  const char c = peek();
  if (c == '{') return read_table(depth + 1);
  if (c == '\'' || c == '"') return read_text();
  if (is_digit(c) || c == '-' || c == '.') return read_number();
  if (is_word(c)) return read_word();
  fail("a text, number, true, false, nil or table is missing");
}

Value CommandReader::read_word() {
  const std::size_t start = at_;
  const std::string_view word = take_word();
  if (word == "true") return true;
  if (word == "false") return false;
  if (word == "nil") return {};
  fail(fmt::format("'{}' is not a value; texts need quotes", excerpt(word, kMaxQuotedName)), start);
}

Value CommandReader::read_number() {
  const std::size_t start = at_;
  // Takes everything that could belong to a number, so that "1x" is one faulty number instead of two tokens.
  while (is_word(peek()) || peek() == '.' || peek() == '-' || peek() == '+') ++at_;
  const char* const first = text_.data() + start;
  const char* const last = text_.data() + at_;
  std::int64_t whole = 0;
  if (const auto read = std::from_chars(first, last, whole); read.ec == std::errc() && read.ptr == last) return whole;
  double real = 0;
  const auto read = std::from_chars(first, last, real);
  const bool digits = read.ec != std::errc::invalid_argument && read.ptr == last;
  // `from_chars` also accepts words such as "-inf".
  if (!digits || text_.substr(start, 2).find_first_of(".0123456789") == std::string_view::npos) {
    fail(fmt::format("'{}' is not a number", excerpt(text_.substr(start, at_ - start), kMaxQuotedName)), start);
  }
  if (read.ec != std::errc() || !std::isfinite(real)) fail("a number is out of range", start);
  return real;
}

std::string CommandReader::read_text() {
  const std::size_t start = at_;
  const char quote = text_[at_++];
  std::string value;
  while (!take(quote)) {
    const char c = peek();
    if (at_ >= text_.size() || c == '\n' || c == '\r') fail("a text is not terminated", start);
    ++at_;
    value += c == '\\' ? read_escape() : c;
  }
  // After the escapes are resolved: they can produce any byte.
  if (first_invalid_utf8(value) < value.size()) fail("a text is not UTF-8", start);
  return value;
}

/// The rest of an escape, after the backslash.
char CommandReader::read_escape() {
  constexpr std::string_view kNames = "abfnrtv\\'\"";
  constexpr std::string_view kMeanings = "\a\b\f\n\r\t\v\\'\"";
  if (is_digit(peek())) return read_byte(3, 10);
  if (take('x')) return read_byte(2, 16);
  const std::size_t name = peek() != '\0' ? kNames.find(peek()) : std::string_view::npos;
  if (name == std::string_view::npos) fail("an unknown escape", at_ - 1);
  ++at_;
  return kMeanings[name];
}

/// One to three decimal digits, or two hexadecimal ones.
char CommandReader::read_byte(int digits, int base) {
  const std::size_t start = at_;
  const std::string_view written = text_.substr(at_, static_cast<std::size_t>(digits));
  unsigned byte = 0;
  const auto read = std::from_chars(written.data(), written.data() + written.size(), byte, base);
  at_ = static_cast<std::size_t>(read.ptr - text_.data());
  if (read.ec != std::errc() || byte > 0xFF || (base == 16 && at_ - start != 2)) {
    fail("an escape that is not a byte", start - (base == 16 ? 2 : 1));
  }
  return static_cast<char>(byte);
}

Value CommandReader::read_table(int depth) {
  const std::size_t start = at_++;
  if (depth > kMaxOrderDepth) fail(fmt::format("tables more than {} deep", kMaxOrderDepth), start);
  Entries entries;
  skip_blanks();
  while (!take('}')) {
    read_entry(entries, depth);
    skip_blanks();
    const bool more = take(',') || take(';');
    skip_blanks();
    if (!more && peek() != '}') fail("',' or '}' is missing");
  }
  if (!entries.keyed.empty()) return entries.keyed;
  return entries.listed;
}

void CommandReader::read_entry(Entries& entries, int depth) {
  const std::size_t start = at_;
  std::string key;
  if (take('[')) {
    skip_blanks();
    if (peek() != '\'' && peek() != '"') fail("a key in brackets is a text");
    key = read_text();
    skip_blanks();
    expect(']', "after the key");
    skip_blanks();
    expect('=', "after the key");
  } else if (is_word(peek()) && !is_digit(peek())) {
    key = take_word();
    skip_blanks();
    if (!take('=')) {
      at_ = start;
      return add_entry(entries, nullptr, read_value(depth), start);
    }
  } else {
    return add_entry(entries, nullptr, read_value(depth), start);
  }
  skip_blanks();
  add_entry(entries, &key, read_value(depth), start);
}

void CommandReader::add_entry(Entries& entries, const std::string* key, Value value, std::size_t at) const {
  if (key == nullptr && value.is_none()) {
    entries.gap = true;
  } else if (key == nullptr) {
    if (entries.gap) fail("nil inside a list", at);
    entries.listed.push_back(std::move(value));
  } else if (value.is_none()) {
    entries.keyed.erase(*key);
  } else {
    entries.keyed.set(*key, std::move(value));
  }
  if (!entries.keyed.empty() && !entries.listed.empty()) fail("a table with both named and unnamed entries", at);
}

}  // namespace

CommandCall read_command(std::string_view text) { return CommandReader(text).read(); }

}  // namespace tessra::sim
