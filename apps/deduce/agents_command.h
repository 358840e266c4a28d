#pragma once

#include <string>

namespace tessra::app {

/// Lists the agent classes that a configuration can name, one per line, including those of the agent library if a path
/// is given. Throws `InputError` for a library that cannot be used.
int list_agents(const std::string& library);

}  // namespace tessra::app
