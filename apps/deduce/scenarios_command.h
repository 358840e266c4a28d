#pragma once

namespace tessra::app {

/// Lists the shipped scenarios.
int list_scenarios();

}  // namespace tessra::app
