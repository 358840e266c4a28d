#include "Tessra/entitys/agent_library.h"

#include <dlfcn.h>

#include <set>

namespace tessra {

namespace {

struct Loaded {
  std::mutex mutex;
  std::set<std::filesystem::path> files;
};

Loaded& loaded() {
  static Loaded libraries;
  return libraries;
}

template <class Function>
Function* entry_point(void* library, const char* name, const std::string& file) {
  void* symbol = ::dlsym(library, name);
  if (symbol == nullptr) throw AgentLibraryError(file + ": not an agent library: it does not export " + name);
  return reinterpret_cast<Function*>(symbol);
}

}  // namespace

void load_agent_library(const std::filesystem::path& file) {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::canonical(file, error);
  if (error) throw AgentLibraryError(file.string() + ": " + error.message());

  Loaded& libraries = loaded();
  const std::lock_guard lock(libraries.mutex);
  if (libraries.files.contains(path)) return;
  // RTLD_NOW reports missing symbols here instead of in the middle of an episode; RTLD_LOCAL keeps libraries with equal
  // symbols apart. The handle is never closed, see the header.
  void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw AgentLibraryError(std::string("cannot load the agent library: ") + ::dlerror());
  // Checked before any other call into the library: nothing else of a foreign version is safe to use.
  const int number = entry_point<int()>(library, "tessra_agents_abi", path.string())();
  if (number != kAgentInterface) {
    throw AgentLibraryError(path.string() + ": built for agent interface " + std::to_string(number) +
                            ", this program has " + std::to_string(kAgentInterface));
  }
  entry_point<void(AgentRegistry&)>(library, "tessra_register_agents", path.string())(AgentRegistry::instance());
  libraries.files.insert(path);  // only now, so that a failed registration is tried again
}

}  // namespace tessra
