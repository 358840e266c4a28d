#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessra {

/// Throws `JsonError` with what is wrong at this place of the text.
[[noreturn]] void fail_at(std::string_view text, std::size_t offset, const std::string& what);

/// Throws `JsonError` for the first fault of a text that was refused: it is walked once more, with an eye on the
/// places. `text` must have the parser's padding behind it, up to `capacity`. `expected` is what to say when this walk
/// finds nothing wrong.
[[noreturn]] void report_json_fault(std::string_view text, std::size_t capacity, std::size_t max_depth,
                                    const std::string& expected);

}  // namespace tessra
