#include "Tessra/base/json_tokens.h"

#include <simdjson.h>

#include <algorithm>

#include "Tessra/base/bytes.h"
#include "Tessra/base/large_pages.h"

namespace tessra {

struct JsonTokens::Parser {
  /// Used for its first pass only; holds the positions of the tokens.
  std::unique_ptr<simdjson::internal::dom_parser_implementation> first_pass;
  /// Used for uncommon single values.
  simdjson::dom::parser whole;

  /// Number of tokens; 0 if the text is refused.
  std::uint32_t find_tokens(std::string_view text) {
    // A text that ends inside a UTF-8 sequence is not JSON, and not every first pass detects that.
    if (text.empty() || static_cast<unsigned char>(text.back()) >= 0x80) return 0;
    if (make_room(text.size()) != simdjson::SUCCESS) return 0;
    const auto error = first_pass->stage1(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
                                          simdjson::stage1_mode::regular);
    return error == simdjson::SUCCESS ? first_pass->n_structural_indexes : 0;
  }

 private:
  simdjson::error_code make_room(std::size_t bytes) {
    if (first_pass != nullptr && first_pass->capacity() >= bytes) return simdjson::SUCCESS;
    // With a margin: records differ in size, and page faults on new memory cost more than parsing.
    const std::size_t room =
        std::max(bytes, std::min(bytes + bytes / 4, std::size_t{simdjson::SIMDJSON_MAXSIZE_BYTES}));
    const auto error = first_pass != nullptr ? first_pass->set_capacity(room) : make_first_pass(room);
    if (error == simdjson::SUCCESS) {
      ask_for_large_pages(first_pass->structural_indexes.get(), room * sizeof(std::uint32_t));
    }
    return error;
  }
  simdjson::error_code make_first_pass(std::size_t bytes) {
    constexpr std::size_t kDepth = 1;  // used by the second pass, which is never run
    return simdjson::get_active_implementation()->create_dom_parser_implementation(bytes, kDepth, first_pass);
  }
};

JsonTokens::JsonTokens() : parser_(std::make_unique<Parser>()) {}
JsonTokens::~JsonTokens() = default;

JsonTokens::Form JsonTokens::begin(std::string_view text) {
  const std::uint32_t count = parser_->find_tokens(text);
  if (count == 0) return Form::refused;
  std::uint32_t* tokens = parser_->first_pass->structural_indexes.get();
  const char first = text[tokens[0]];
  const char last = text[tokens[count - 1]];
  if (first != '{' && first != '[') return Form::lone;
  if (last != '}' && last != ']') return Form::refused;
  tokens[count] = tokens[0];  // sentinel, read only if a bracket is left open: an opening bracket is refused there
  text_ = text.data();
  text_end_ = text_ + text.size();
  next_ = tokens;
  end_ = tokens + count;
  return Form::nested;
}

detail::Front JsonTokens::front_near_end(std::string_view part) {
  char bytes[detail::Front::kBytes] = {};
  part.copy(bytes, sizeof(bytes));
  return {bytes, part.size()};
}

std::optional<Value> JsonTokens::lone_value(std::string_view text) {
  simdjson::dom::element value;
  if (parser_->whole.parse(text.data(), text.size()).get(value) != simdjson::SUCCESS) return std::nullopt;
  switch (value.type()) {
    case simdjson::dom::element_type::STRING:
      return std::string_view(value);
    case simdjson::dom::element_type::INT64:
      return std::int64_t(value);
    case simdjson::dom::element_type::DOUBLE:
      return double(value);
    case simdjson::dom::element_type::BOOL:
      return bool(value);
    case simdjson::dom::element_type::NULL_VALUE:
      return Value();
    default:
      return std::nullopt;
  }
}

bool is_escaped(const detail::Front& front, std::string_view written) {
  const auto is_in = [](std::uint64_t word) { return detail::equal_bytes(word, '\\') != 0; };
  if (is_in(front.words.low) || is_in(front.words.high)) return true;
  for (std::size_t at = detail::Front::kBytes; at < written.size(); at += 8) {
    if (is_in(detail::load(written.data() + std::min(at, written.size() - 8), 8))) return true;
  }
  return false;
}

}  // namespace tessra
