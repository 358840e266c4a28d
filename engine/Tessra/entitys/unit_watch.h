#pragma once

#include <map>
#include <string>
#include <vector>

namespace tessra {

class Situation;

/// Reports what happened to a side's units between decisions. An agent keeps one as a member, calls `observe` once per
/// decision, and `reset` in its own `reset`.
class UnitWatch {
 public:
  /// A lost unit, as last known.
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

  /// Losses and hits of aircraft, ships, submarines, facilities and satellites since the last call; none in the first
  /// call. Losses are ordered by id, hits as in the tables.
  Events observe(const Situation& situation);
  /// Call before the next episode.
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
