#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessra {

/// Throws `JsonError` with this message for an offset of the text.
[[noreturn]] void fail_at(std::string_view text, std::size_t offset, const std::string& what);

/// Throws `JsonError` for the first fault of a refused text. The fast reader does not track positions, so the text is
/// parsed again here.
[[noreturn]] void report_json_fault(std::string_view text, std::size_t max_depth);

/// Throws `JsonError` for the first duplicate key in a valid text.
void require_distinct_keys(std::string_view text, std::size_t max_depth);

}  // namespace tessra
