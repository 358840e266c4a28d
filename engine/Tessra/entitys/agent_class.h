#pragma once

#include <concepts>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Tessra/entitys/agent.h"

namespace tessra {

/// A class of agents as a value: its name, whether it learns, and how to construct one.
class AgentClass {
 public:
  /// Describes the class `T`. `description` is one line for users about what the agent does.
  template <std::derived_from<Agent> T>
  static std::shared_ptr<AgentClass> of(std::string name, std::string description = "") {
    auto result = std::make_shared<AgentClass>();
    result->name_ = std::move(name);
    result->description_ = std::move(description);
    if constexpr (requires { T::is_learn; }) result->is_learn_ = static_cast<bool>(T::is_learn);
    if constexpr (std::constructible_from<T, const AgentConf&>) {
      result->from_conf_ = [](const AgentConf& conf) { return std::make_shared<T>(conf); };
    }
    if constexpr (std::constructible_from<T, std::string, NoPlayer>) {
      result->from_side_ = [](std::string side) { return std::make_shared<T>(std::move(side), NoPlayer{}); };
    } else if constexpr (std::constructible_from<T, std::string>) {
      result->from_side_ = [](std::string side) { return std::make_shared<T>(std::move(side)); };
    }
    return result;
  }

  /// A class whose agents are made by `make`, for hosts whose constructors need more than a side.
  static std::shared_ptr<AgentClass> from_factory(std::string name,
                                                  std::function<std::shared_ptr<Agent>(std::string side)> make);

  const std::string& name() const { return name_; }
  /// May be empty.
  const std::string& description() const { return description_; }
  bool is_learn() const { return is_learn_; }
  /// Whether it can be constructed from a side.
  bool is_built_from_side() const { return from_side_ != nullptr; }

  /// Constructs a learning agent. Throws `Error` if the class has no constructor from an `AgentConf`.
  std::shared_ptr<Agent> make(const AgentConf& conf) const;
  /// Constructs an agent from a side. Throws `Error` if the class has no such constructor.
  std::shared_ptr<Agent> make(std::string side) const;

 private:
  std::string name_;
  std::string description_;
  bool is_learn_ = false;
  std::function<std::shared_ptr<Agent>(const AgentConf&)> from_conf_;
  std::function<std::shared_ptr<Agent>(std::string)> from_side_;
};

/// A class is not registered; the text lists those that are.
class UnknownAgentClass : public KeyError {
 public:
  using KeyError::KeyError;
};

/// The agent classes a configuration may name. Thread-safe.
class AgentRegistry {
 public:
  /// The process's registry.
  static AgentRegistry& instance();

  /// Adds or replaces the class of this name.
  void add(std::shared_ptr<AgentClass> agent_class);
  template <std::derived_from<Agent> T>
  void add(std::string name, std::string description = "") {
    add(AgentClass::of<T>(std::move(name), std::move(description)));
  }

  /// Throws `UnknownAgentClass`.
  std::shared_ptr<AgentClass> get(std::string_view name) const;
  /// Sorted.
  std::vector<std::string> names() const;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::shared_ptr<AgentClass>, std::less<>> classes_;
};

/// The class denoted by the `class` of a configuration entry: an `AgentClass` object or a registered name. Throws
/// `UnknownAgentClass` or `KindError` if it is neither.
std::shared_ptr<AgentClass> agent_class_of(const Value& entry);

}  // namespace tessra
