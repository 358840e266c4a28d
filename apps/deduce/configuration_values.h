#pragma once

#include <string>

#include "Tessra/base/value.h"

namespace tessra::app {

/// Checks kind and range of all known keys, the required keys of agent entries, and that the service's URL has the
/// scheme of a registered backend. Ignores unknown keys. Throws `InputError` for the first error, naming `file`, key,
/// what was expected and what was found.
void check_values(const Dict& config, const std::string& file);

/// What a service's URL must be instead of this one, whose scheme has no backend. Empty if it has one: the rest of the
/// URL is for the backend to interpret.
std::string wanted_url(const std::string& url);

}  // namespace tessra::app
