#pragma once

#include <string_view>

namespace tessra::utils {

/// Key of a side situation's table of key messages, and the two message types the engine acts on.
inline constexpr std::string_view side_key_msg = "SideKeyMsg";
inline constexpr int NEW_CONTACT_TYPE = 3;
inline constexpr int CONTACT_DETECT_RECORD = 7;

}  // namespace tessra::utils
