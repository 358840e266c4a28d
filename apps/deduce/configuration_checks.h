#pragma once

#include <string>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::app {

/// What in a configuration has no effect and was probably meant otherwise, a line each: unknown keys, with the key that
/// is nearest; an agent or settings the scheduling client asks for that belong to nobody.
std::vector<std::string> configuration_warnings(const Dict& config);

/// Throws `InputError` when the configuration has agents for a side that the scenario file does not have.
void check_sides(const Dict& config, const Dict& scenario);

}  // namespace tessra::app
