#pragma once

#include <string>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra {

class Deduction;

namespace app {

/// What in a configuration has no effect and was probably meant otherwise, a line each: unknown keys, with the key that
/// is nearest; an agent or settings the scheduling client asks for that belong to nobody.
std::vector<std::string> configuration_warnings(const Dict& config);

/// Throws `InputError` when the configuration, read from `file`, names a side that the scenario file does not have.
void check_sides(const Dict& config, const Dict& scenario, const std::string& file);

/// Throws `InputError` when the configuration plays a side of which the service has reported nothing. To be called
/// after `reset`, where no scenario file could be asked.
void check_reported_sides(const Deduction& engine);

}  // namespace app
}  // namespace tessra
