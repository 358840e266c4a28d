#pragma once

#include <string>
#include <vector>

namespace tessra::app {

/// What a check found wrong, in plain words; the same fault counts up and is told once. Each is printed as it is made,
/// so that it is not lost when the check comes to a bad end.
class Findings {
 public:
  struct Finding {
    std::string text;
    int times;
    std::string situation;  ///< where it was met first
    double time_elapsed;    ///< simulated seconds, likewise
    std::string example;    ///< how it showed there, shortened; may be empty
  };

  /// What is played from here on.
  void enter(std::string situation) { situation_ = std::move(situation); }
  void add(const std::string& text, double time_elapsed, const std::string& example = "");
  const std::vector<Finding>& all() const { return findings_; }
  /// Prints all of them, with how often each was met.
  void print_all() const;

 private:
  std::string situation_;
  std::vector<Finding> findings_;
};

}  // namespace tessra::app
