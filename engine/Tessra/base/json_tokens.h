#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "Tessra/base/name.h"
#include "Tessra/base/value.h"

namespace tessra {

/// The tokens of a JSON text, one after the other: brackets, colons, commas, texts, numbers and words.
///
/// simdjson's first pass finds where they begin, with the best instructions the processor has, and sees to it that
/// texts end, are UTF-8 and hold no bare control characters. What a token is, and whether it may stand where it stands,
/// is found out while the tree is built: simdjson's second pass would write all of it to a tape that is then read
/// again. What is not plain, like texts with escapes, is left to simdjson all the same.
class JsonTokens {
 public:
  JsonTokens();
  ~JsonTokens();
  JsonTokens(const JsonTokens&) = delete;
  JsonTokens& operator=(const JsonTokens&) = delete;

  enum class Form { refused, lone, nested };

  /// Begins with a text, which must stay where it is while its tokens are read. It is refused when the first pass finds
  /// a fault, or a bracket is left open. One that is neither a list nor a dictionary is a `lone_value`.
  Form begin(std::string_view text);

  // Of a nested text. Its last token is a closing bracket: who stops at the first token that may not stand where it
  // stands, and when the first bracket closes, never reads past the end.

  char peek() const { return text_[*next_]; }
  char take() { return text_[*next_++]; }
  bool at_end() const { return next_ == end_; }

  /// The text that comes next, as it is written: with escapes, if there are any.
  std::string_view peek_text() const { return text_from(next_); }
  /// The text whose quote was taken, as it is written.
  std::string_view taken_text() const { return text_from(next_ - 1); }
  /// The number or word whose first byte was taken.
  std::string_view taken() const { return {text_ + next_[-1], end_before(next_[0])}; }
  /// How many bytes the text has from this part of it on.
  std::size_t readable(std::string_view part) const { return static_cast<std::size_t>(text_end_ - part.data()); }
  /// What this part of the text begins with.
  detail::Front front(std::string_view part) const {
    return readable(part) >= detail::Front::kBytes ? detail::Front(part.data(), part.size()) : front_near_end(part);
  }

  /// What a text that `is_escaped` stands for; nothing when an escape is wrong.
  std::optional<Value> unescaped(std::string_view written) {
    return lone_value({written.data() - 1, written.size() + 2});
  }
  /// The value of a text that is neither a list nor a dictionary; nothing if it is no JSON, or an integer beyond 64
  /// bits.
  std::optional<Value> lone_value(std::string_view text);

 private:
  struct Parser;

  /// Where what stands before the token at `index` ends. Blanks are all that can stand between them.
  const char* end_before(std::uint32_t index) const {
    const char* end = text_ + index;
    while (is_blank(end[-1])) --end;
    return end;
  }
  static bool is_blank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
  static detail::Front front_near_end(std::string_view part);
  std::string_view text_from(const std::uint32_t* token) const {
    return {text_ + token[0] + 1, end_before(token[1]) - 1};
  }

  std::unique_ptr<Parser> parser_;
  const char* text_ = nullptr;
  const char* text_end_ = nullptr;
  const std::uint32_t* next_ = nullptr;
  const std::uint32_t* end_ = nullptr;
};

/// Whether a text that is written like this, and begins with `front`, has escapes.
bool is_escaped(const detail::Front& front, std::string_view written);

}  // namespace tessra
