#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "Tessra/base/name.h"
#include "Tessra/base/value.h"

namespace tessra {

/// Stream of the tokens of a JSON text: brackets, colons, commas, texts, numbers and words.
///
/// simdjson's first pass locates the tokens with SIMD instructions and checks that texts are terminated, valid UTF-8
/// and free of raw control characters. The grammar is checked while the tree is built: simdjson's second pass would
/// write everything to a tape that is then read again. Uncommon tokens, such as texts with escapes, are still decoded
/// by simdjson.
class JsonTokens {
 public:
  JsonTokens();
  ~JsonTokens();
  JsonTokens(const JsonTokens&) = delete;
  JsonTokens& operator=(const JsonTokens&) = delete;

  enum class Form { refused, lone, nested };

  /// Starts a text, which must outlive the reading of its tokens. `refused` if the first pass finds a fault or a
  /// bracket is left open; `lone` if the text is neither a list nor a dictionary (see `lone_value`).
  Form begin(std::string_view text);

  // For a nested text. Its last token is a closing bracket, so a caller that stops at the first misplaced token, and
  // when the outermost bracket closes, never reads past the end.

  char peek() const { return text_[*next_]; }
  char take() { return text_[*next_++]; }
  bool at_end() const { return next_ == end_; }

  /// The next text as written, with any escapes.
  std::string_view peek_text() const { return text_from(next_); }
  /// The text whose opening quote was taken, as written.
  std::string_view taken_text() const { return text_from(next_ - 1); }
  /// The number or word whose first byte was taken.
  std::string_view taken() const { return {text_ + next_[-1], end_before(next_[0])}; }
  /// Number of bytes from the start of this part to the end of the text.
  std::size_t readable(std::string_view part) const { return static_cast<std::size_t>(text_end_ - part.data()); }
  /// The first bytes of this part of the text.
  detail::Front front(std::string_view part) const {
    return readable(part) >= detail::Front::kBytes ? detail::Front(part.data(), part.size()) : front_near_end(part);
  }

  /// Decodes a text that `is_escaped`; nothing if an escape is invalid.
  std::optional<Value> unescaped(std::string_view written) {
    return lone_value({written.data() - 1, written.size() + 2});
  }
  /// The value of a text that is neither a list nor a dictionary; nothing if it is not JSON, or an integer beyond 64
  /// bits.
  std::optional<Value> lone_value(std::string_view text);

 private:
  struct Parser;

  /// End of the token before the one at `index`; only blanks can be between them.
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

/// Whether a text, as written and with this front, contains escapes.
bool is_escaped(const detail::Front& front, std::string_view written);

}  // namespace tessra
