// A library from another time: its interface number is not the program's.

#include <stdexcept>

namespace tessra {
class AgentRegistry;
}

extern "C" int tessra_agents_abi() { return 99; }
extern "C" void tessra_register_agents(tessra::AgentRegistry&) { throw std::runtime_error("must not be called"); }
