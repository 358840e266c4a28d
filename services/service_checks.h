#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Tessra/entitys/gameenvs/gameserver.h"
#include "services/service_report.h"

namespace tessra {

/// Plays on a service as the engine would and reports what the engine could not play with: an episode for each flag of
/// `reset`, with a package that holds no order, two advances, and an end in the middle. `make` makes the client, once.
/// `scenario` is loaded; empty: the first one that `get_scenarios` names. An error that the client throws is a finding.
void check_service(const std::function<std::shared_ptr<GameServer>()>& make, const std::string& scenario,
                   ServiceReport& report);

}  // namespace tessra
