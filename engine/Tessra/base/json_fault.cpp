// Locating faults: reading is fast because it tracks no positions (json_tokens.h, tree_builder.h). Only when a text is
// refused is it parsed again here, with a parser that knows where it is. The same pass finds duplicate keys in files
// written by people.

#include "Tessra/base/json_fault.h"

#include <simdjson.h>

#include <algorithm>
#include <set>
#include <utility>

#include "Tessra/base/json_read.h"
#include "Tessra/base/utf8.h"

namespace tessra {

namespace ondemand = simdjson::ondemand;

namespace {

/// Offset of the first fault in the strings of a text: a raw control character, or the opening quote of a string that
/// is not terminated.
std::size_t first_string_fault(std::string_view text) {
  std::size_t open = std::string_view::npos;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (open == std::string_view::npos) {
      if (c == '"') open = at;
    } else if (c == '"') {
      open = std::string_view::npos;
    } else if (c == '\\') {
      ++at;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      return at;
    }
  }
  return std::min(open, text.size());
}

/// Offset of a fault of the parser's first pass, which reports only a kind.
std::size_t first_pass_fault(std::string_view text, simdjson::error_code error) {
  switch (error) {
    case simdjson::EMPTY:
      return 0;
    case simdjson::UTF8_ERROR:
      return first_invalid_utf8(text);
    case simdjson::UNESCAPED_CHARS:
    case simdjson::UNCLOSED_STRING:
      return first_string_fault(text);
    default:
      return text.size();
  }
}

enum class Keys { any, distinct };

/// Visits all values of a padded text and throws at the first fault.
class FaultFinder {
 public:
  FaultFinder(std::string_view text, ondemand::document& document, std::size_t max_depth, Keys keys)
      : text_(text), document_(document), max_depth_(max_depth), keys_(keys) {}

  void walk() {
    walk_any(document_, 0);
    if (document_.current_location().error() != simdjson::OUT_OF_BOUNDS) fail("unexpected text after the value");
  }

 private:
  /// `source` is the document or a value inside it; both have the same interface.
  template <class Source>
  void walk_any(Source& source, std::size_t depth) {
    switch (checked(source.type())) {
      case ondemand::json_type::object:
        check_depth(depth + 1);
        walk_dict(checked(source.get_object()), depth + 1);
        return;
      case ondemand::json_type::array:
        check_depth(depth + 1);
        walk_list(checked(source.get_array()), depth + 1);
        return;
      case ondemand::json_type::string:
        walk_text(source);
        return;
      case ondemand::json_type::number:
        walk_number(source);
        return;
      case ondemand::json_type::boolean:
        checked(source.get_bool());
        return;
      case ondemand::json_type::null:
        if (!checked(simdjson::simdjson_result<bool>(source.is_null()))) fail("unknown word");
        return;
    }
    fail("no JSON value");
  }

  void walk_dict(ondemand::object object, std::size_t depth) {
    std::set<std::string> met;
    for (auto entry : object) {
      ondemand::field field = checked(std::move(entry));
      const std::size_t begin = field.key().raw() - text_.data() - 1;
      std::string_view key;
      if (field.unescaped_key().get(key) != simdjson::SUCCESS) fail_text(begin);
      if (keys_ == Keys::distinct && !met.emplace(key).second) {
        fail_at(text_, begin, "duplicate key '" + excerpt(key, 60) + "'");
      }
      walk_any(field.value(), depth);
    }
  }

  void walk_list(ondemand::array array, std::size_t depth) {
    for (auto entry : array) {
      ondemand::value value = checked(entry);
      walk_any(value, depth);
    }
  }

  template <class Source>
  void walk_text(Source& source) {
    const std::size_t begin = place();
    std::string_view text;
    if (source.get_string().get(text) != simdjson::SUCCESS) fail_text(begin);
  }

  template <class Source>
  void walk_number(Source& source) {
    const std::size_t begin = place();
    ondemand::number number;
    if (source.get_number().get(number) != simdjson::SUCCESS) {
      // Digits only, too many of them: an integer that does not fit, rather than a malformed number.
      const std::size_t end = std::min(text_.find_first_not_of("-0123456789", begin), text_.size());
      const bool whole = end - begin > 18 && (end == text_.size() || std::string_view(",]} \t\r\n").find(text_[end]) !=
                                                                         std::string_view::npos);
      fail_at(text_, begin, whole ? "integer beyond 64 bits" : "invalid number");
    }
    if (number.is_uint64()) fail_at(text_, begin, "integer beyond 64 bits");
  }

  void check_depth(std::size_t depth) {
    if (depth > max_depth_) fail("nested deeper than " + std::to_string(max_depth_));
  }

  template <class T>
  T checked(simdjson::simdjson_result<T> result) {
    if (result.error() == simdjson::INCOMPLETE_ARRAY_OR_OBJECT) {
      fail_at(text_, text_.size(), "the text does not end with the closing bracket of its list or dictionary");
    }
    // `type` looks at the first byte only: a value that turns out to be something else is a misspelt true, false or
    // null.
    if (result.error() == simdjson::INCORRECT_TYPE) fail("unknown word");
    if (result.error() != simdjson::SUCCESS) fail(simdjson::error_message(result.error()));
    return std::move(result).value_unsafe();
  }

  std::size_t place() {
    const char* at = nullptr;
    if (document_.current_location().get(at) != simdjson::SUCCESS) return text_.size();
    return std::min(static_cast<std::size_t>(at - text_.data()), text_.size());
  }

  [[noreturn]] void fail_text(std::size_t begin) { fail_at(text_, begin, "a text with an invalid escape"); }
  [[noreturn]] void fail(const std::string& what) { fail_at(text_, place(), what); }

  std::string_view text_;
  ondemand::document& document_;
  std::size_t max_depth_;
  Keys keys_;
};

void walk(std::string_view text, std::size_t max_depth, Keys keys) {
  const simdjson::padded_string padded(text);
  ondemand::parser parser;
  ondemand::document document;
  const auto error = parser.iterate(padded).get(document);
  if (error != simdjson::SUCCESS) fail_at(text, first_pass_fault(text, error), simdjson::error_message(error));
  FaultFinder(padded, document, max_depth, keys).walk();
}

}  // namespace

void fail_at(std::string_view text, std::size_t offset, const std::string& what) {
  const std::string_view before = text.substr(0, std::min(offset, text.size()));
  const auto line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
  const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1;  // npos + 1 is 0
  throw JsonError(what, {before.size(), line, column});
}

void report_json_fault(std::string_view text, std::size_t max_depth) {
  if (text.starts_with("\xEF\xBB\xBF")) fail_at(text, 0, "the text begins with a byte order mark");
  walk(text, max_depth, Keys::any);
  // The fast reader refused what this parser accepts: no place is known.
  fail_at(text, 0, "a value beyond the limits");
}

void require_distinct_keys(std::string_view text, std::size_t max_depth) { walk(text, max_depth, Keys::distinct); }

}  // namespace tessra
