#pragma once

#include <string>
#include <vector>

namespace tessra::app {

/// The findings of a check. Repetitions are counted and reported once. Each finding is printed as it is made, so that
/// it is not lost if the check ends abruptly.
class Findings {
 public:
  struct Finding {
    std::string text;
    int times;
    std::string situation;  ///< of the first occurrence
    double time_elapsed;    ///< simulated seconds at the first occurrence
    std::string example;    ///< of the first occurrence, truncated; may be empty
  };

  /// Starts a situation.
  void enter(std::string situation) { situation_ = std::move(situation); }
  void add(const std::string& text, double time_elapsed, const std::string& example = "");
  const std::vector<Finding>& all() const { return findings_; }
  /// Prints all findings with their counts.
  void print_all() const;

 private:
  std::string situation_;
  std::vector<Finding> findings_;
};

}  // namespace tessra::app
