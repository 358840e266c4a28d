#include "Tessra/base/utf8.h"

#include <simdjson.h>

namespace tessra {

std::size_t first_invalid_utf8(std::string_view text) {
  if (simdjson::validate_utf8(text.data(), text.size())) return text.size();
  for (std::size_t at = 0; at < text.size();) {
    // The shortest valid piece from here is one character.
    std::size_t length = 1;
    while (length <= 4 && at + length <= text.size() && !simdjson::validate_utf8(text.data() + at, length)) ++length;
    if (length > 4 || at + length > text.size()) return at;
    at += length;
  }
  return text.size();
}

std::string excerpt(std::string_view text, std::size_t most_bytes) {
  const bool whole = text.size() <= most_bytes;
  std::string shown(text.substr(0, most_bytes));
  if (!whole) {
    // Drop a character that was cut in half; bytes that were invalid before stay and are marked below.
    std::size_t end = shown.size();
    while (end > 0 && shown.size() - end < 3 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    if (first_invalid_utf8(text.substr(end, 4)) > shown.size() - end) shown.resize(end);
  }
  for (std::size_t at = 0; (at = first_invalid_utf8(shown)) < shown.size();) shown[at] = '?';
  for (char& c : shown) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  }
  return whole ? shown : shown + "…";
}

}  // namespace tessra
