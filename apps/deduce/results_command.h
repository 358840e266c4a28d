#pragma once

namespace tessra::app {

/// Lists the results database of the configuration directory, oldest first: a table, or one JSON object per result.
int list_results(bool json);

}  // namespace tessra::app
