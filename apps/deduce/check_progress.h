#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace tessra::app {

/// Progress of a check, in memory shared between the checking process and the one that watches it.
class CheckProgress {
 public:
  CheckProgress();
  ~CheckProgress();
  CheckProgress(const CheckProgress&) = delete;
  CheckProgress& operator=(const CheckProgress&) = delete;

  /// Starts a situation, such as "a side without units, standard mode".
  void enter(const std::string& situation);
  std::string situation() const;

  /// Scope guard around a call into the agent; `operation` must be a string literal.
  class Call {
   public:
    Call(CheckProgress& progress, const char* operation, double time_elapsed);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    CheckProgress& progress_;
  };

  /// The operation of the agent that is running; null if none is.
  const char* running() const;
  /// The operation that was called last; null before the first call.
  const char* last() const;
  /// Incremented at the begin and end of every call.
  std::uint64_t calls() const;
  /// Simulated seconds at the last call.
  double time_elapsed() const;

  /// Marks the regular end of the check.
  void finish();
  bool finished() const;

 private:
  struct Shared;
  Shared* shared_;
};

}  // namespace tessra::app
