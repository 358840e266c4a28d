#pragma once

#include <filesystem>

#include "Tessra/entitys/agent_class.h"

namespace tessra {

/// The number of the interface between programs and agent libraries. It grows with every change after which a library
/// must be built anew: of `Agent`, of what agents are given, of the value tree.
constexpr int kAgentInterface = 2;

/// An agent library cannot be used; the text names the file and the reason.
class AgentLibraryError : public Error {
 public:
  using Error::Error;
};

/// Loads a shared library of agents and lets it add its classes to the process's registry. The library exports
///
///     extern "C" int tessra_agents_abi();                                  // kAgentInterface when it was built
///     extern "C" void tessra_register_agents(tessra::AgentRegistry&);
///
/// (`TESSRA_AGENT_LIBRARY` writes both). It stays loaded to the end of the process, since agents, errors and classes of
/// it may live on; loading the same file again does nothing. Safe from any thread. Throws `AgentLibraryError` when the
/// file cannot be loaded, lacks one of the functions, or was built for another interface number; what
/// `tessra_register_agents` throws passes through, and a later call tries again.
void load_agent_library(const std::filesystem::path& file);

}  // namespace tessra

/// The entry points of an agent library, followed by the body that adds its classes:
///
///     TESSRA_AGENT_LIBRARY(registry) { registry.add<MyAgent>("mine"); }
// NOLINTBEGIN(bugprone-macro-parentheses): the name of a parameter takes none
#define TESSRA_AGENT_LIBRARY(registry)                                                                            \
  extern "C" __attribute__((visibility("default"))) int tessra_agents_abi() { return ::tessra::kAgentInterface; } \
  extern "C" __attribute__((visibility("default"))) void tessra_register_agents(::tessra::AgentRegistry& registry)
// NOLINTEND(bugprone-macro-parentheses)
