#include "apps/deduce/agents_command.h"

#include "Tessra/entitys/agent_library.h"
#include "apps/deduce/configuration.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/output.h"

namespace tessra::app {

int list_agents(const std::string& library) {
  AgentRegistry& registry = AgentRegistry::instance();
  try {
    if (!library.empty()) load_agent_library(agent_library_path(library));
  } catch (const AgentLibraryError& error) {
    throw InputError(error.what());
  }
  for (const std::string& name : registry.names()) {
    const auto agent_class = registry.get(name);
    say("{:<14} {}{}\n", name, agent_class->description(), agent_class->is_learn() ? " (learns)" : "");
  }
  return kPlayed;
}

}  // namespace tessra::app
