#include "Tessra/entitys/agent_class.h"

#include "Tessra/base/error.h"

namespace tessra {

std::shared_ptr<AgentClass> AgentClass::from_factory(std::string name,
                                                     std::function<std::shared_ptr<Agent>(std::string side)> make) {
  auto result = std::make_shared<AgentClass>();
  result->name_ = std::move(name);
  result->from_side_ = std::move(make);
  return result;
}

std::shared_ptr<Agent> AgentClass::make(const AgentConf& conf) const {
  if (!from_conf_) throw Error("agent class '" + name_ + "' has no constructor from an AgentConf");
  return from_conf_(conf);
}

std::shared_ptr<Agent> AgentClass::make(std::string side) const {
  if (!from_side_) throw Error("agent class '" + name_ + "' has no constructor from a side");
  return from_side_(std::move(side));
}

AgentRegistry& AgentRegistry::instance() {
  static AgentRegistry registry;
  return registry;
}

void AgentRegistry::add(std::shared_ptr<AgentClass> agent_class) {
  const std::lock_guard lock(mutex_);
  const std::string name = agent_class->name();
  classes_.insert_or_assign(name, std::move(agent_class));
}

std::shared_ptr<AgentClass> AgentRegistry::get(std::string_view name) const {
  {
    const std::lock_guard lock(mutex_);
    const auto found = classes_.find(name);
    if (found != classes_.end()) return found->second;
  }
  // `names` takes the lock again, so it must be free here.
  std::string known;
  for (const std::string& other : names()) known += (known.empty() ? "" : ", ") + other;
  throw UnknownAgentClass("no agent class '" + std::string(name) + "'; there are: " + known);
}

std::vector<std::string> AgentRegistry::names() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> names;
  for (const auto& [name, agent_class] : classes_) names.push_back(name);
  return names;
}

std::shared_ptr<AgentClass> agent_class_of(const Value& entry) {
  if (entry.is_string()) return AgentRegistry::instance().get(entry.as_text());
  return entry.as_host<AgentClass>();
}

}  // namespace tessra
