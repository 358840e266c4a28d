#pragma once

#include "Tessra/entitys/gameenvs/gameserver.h"
#include "services/service_report.h"

namespace tessra {

/// Sends a package of orders that mean nothing: the answer must say so, the call must not fail.
void check_orders(GameServer& service, ServiceReport& report);

}  // namespace tessra
