#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace tessra::app {

/// Where a check stands, in memory that the process which checks shares with the one that watches it.
class CheckProgress {
 public:
  CheckProgress();
  ~CheckProgress();
  CheckProgress(const CheckProgress&) = delete;
  CheckProgress& operator=(const CheckProgress&) = delete;

  /// What is played from here on.
  void enter(const std::string& situation);
  std::string situation() const;

  /// Marks a call into the agent; `operation` must live as long as the program.
  class Call {
   public:
    Call(CheckProgress& progress, const char* operation, double time_elapsed);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    CheckProgress& progress_;
  };

  /// The operation of the agent's that is running; null when none is.
  const char* running() const;
  /// The operation that was called last; null before the first.
  const char* last() const;
  /// Grows with every begin and end of a call.
  std::uint64_t calls() const;
  /// Simulated seconds at the last call.
  double time_elapsed() const;

  /// The check has come to its own end.
  void finish();
  bool finished() const;

 private:
  struct Shared;
  Shared* shared_;
};

}  // namespace tessra::app
