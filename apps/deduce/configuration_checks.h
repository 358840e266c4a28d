#pragma once

#include <string>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra {

class Deduction;

namespace app {

/// Warnings, one line each, about parts of a configuration without effect: unknown keys, with the most similar known
/// key; an agent or settings requested for the scheduling client that match no agent.
std::vector<std::string> configuration_warnings(const Dict& config);

/// Throws `InputError` if the configuration, read from `file`, names a side that the scenario file does not have.
void check_sides(const Dict& config, const Dict& scenario, const std::string& file);

/// Throws `InputError` if the configuration plays a side that the service has not reported. Call after `reset`, for
/// services without a scenario file to check beforehand.
void check_reported_sides(const Deduction& engine);

}  // namespace app
}  // namespace tessra
