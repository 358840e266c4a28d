#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessra {

/// Throws `JsonError` with what is wrong at this place of the text.
[[noreturn]] void fail_at(std::string_view text, std::size_t offset, const std::string& what);

/// Throws `JsonError` for the first fault of a text that was refused: it is walked once more, with an eye on the
/// places.
[[noreturn]] void report_json_fault(std::string_view text, std::size_t max_depth);

/// Throws `JsonError` for the first key of a faultless text that stands twice in its dictionary.
void require_distinct_keys(std::string_view text, std::size_t max_depth);

}  // namespace tessra
