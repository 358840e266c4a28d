#pragma once

#include <map>
#include <string>
#include <vector>

namespace tessra {

class Situation;

/// Tells an agent what happened to its side's units since its last decision. An agent that wants to know keeps one,
/// asks it once in every decision, and resets it with itself.
class UnitWatch {
 public:
  /// A unit that is gone, with what was last known of it.
  struct Loss {
    std::string id, name, platform;
  };
  /// A unit whose damage grew, in per cent.
  struct Hit {
    std::string id;
    double damage_before, damage;
  };
  struct Events {
    std::vector<Loss> losses;
    std::vector<Hit> hits;
  };

  /// What happened to aircraft, ships, submarines, facilities and satellites since the last call; nothing at the first
  /// one. Losses are in the order of ids, hits in that of the tables.
  Events observe(const Situation& situation);
  /// Before the next episode.
  void reset() { units_.clear(); }

 private:
  struct Known {
    std::string name, platform;
    double damage = 0;
    bool present = true;
  };

  std::map<std::string, Known, std::less<>> units_;
};

}  // namespace tessra
