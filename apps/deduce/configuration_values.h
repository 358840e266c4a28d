#pragma once

#include <string>

#include "Tessra/base/value.h"

namespace tessra::app {

/// Checks every known key's kind and range, what agent entries must have, and that the service's URL has a scheme there
/// is a backend for; unknown keys are left alone. Throws `InputError` for the first mistake, naming `file`, key, what
/// is expected and what was found.
void check_values(const Dict& config, const std::string& file);

}  // namespace tessra::app
