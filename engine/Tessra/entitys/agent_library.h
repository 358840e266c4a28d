#pragma once

#include <filesystem>

#include "Tessra/entitys/agent_class.h"

namespace tessra {

/// Version of the interface between programs and agent libraries. Increment it with every change that requires
/// libraries to be rebuilt: of `Agent`, of the types agents are given, of the value tree.
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
/// (`TESSRA_AGENT_LIBRARY` defines both). It stays loaded until the end of the process, since its agents, errors and
/// classes may outlive any use; loading the same file again does nothing. Thread-safe. Throws `AgentLibraryError` when
/// the file cannot be loaded, lacks one of the functions, or was built for another interface version; exceptions of
/// `tessra_register_agents` pass through, and a later call tries again.
void load_agent_library(const std::filesystem::path& file);

}  // namespace tessra

/// Defines the entry points of an agent library; followed by the body that adds its classes:
///
///     TESSRA_AGENT_LIBRARY(registry) { registry.add<MyAgent>("mine"); }
// NOLINTBEGIN(bugprone-macro-parentheses): a parameter name cannot be parenthesised
#define TESSRA_AGENT_LIBRARY(registry)                                                                            \
  extern "C" __attribute__((visibility("default"))) int tessra_agents_abi() { return ::tessra::kAgentInterface; } \
  extern "C" __attribute__((visibility("default"))) void tessra_register_agents(::tessra::AgentRegistry& registry)
// NOLINTEND(bugprone-macro-parentheses)
