#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessra {

/// Offset of the first byte that begins no valid UTF-8 sequence; the text's size when there is none.
std::size_t first_invalid_utf8(std::string_view text);

/// At most `most_bytes` of a text from anywhere, for one line of a message: cut between characters, with "…" where
/// something is left out (its three bytes come on top). Control characters and what is not UTF-8 are shown as '?'.
std::string excerpt(std::string_view text, std::size_t most_bytes);

}  // namespace tessra
