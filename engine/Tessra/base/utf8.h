#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessra {

/// Offset of the first byte that does not start a valid UTF-8 sequence; the text's size if all is valid.
std::size_t first_invalid_utf8(std::string_view text);

/// At most `most_bytes` bytes of an untrusted text, for quoting in a one-line message: cut between characters, with "…"
/// appended if something is left out (its three bytes are extra). Control characters and invalid UTF-8 become '?'.
std::string excerpt(std::string_view text, std::size_t most_bytes);

}  // namespace tessra
