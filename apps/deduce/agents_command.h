#pragma once

#include <string>

namespace tessra::app {

/// Prints the agent classes that a configuration can name, a line each; with the path of an agent library those of the
/// library, too. Throws `InputError` for a library that cannot be used.
int list_agents(const std::string& library);

}  // namespace tessra::app
