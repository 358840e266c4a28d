#pragma once

#include <cstddef>
#include <string>

namespace tessra::app {

/// The text, or as much of its beginning as fits into this many bytes and whole characters, with an ellipsis behind it.
std::string shortened(std::string text, std::size_t most);

}  // namespace tessra::app
