#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tessra {

/// Base of every error this system throws. It captures the call stack at construction, so that a trace in the run log
/// shows where the error came from.
class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& what);

  /// Demangled call stack at construction, innermost frame first, one line per frame.
  std::vector<std::string> stack() const;

 private:
  static constexpr int kMaxFrames = 32;
  void* frames_[kMaxFrames];
  int frame_count_ = 0;
};

/// A value does not have the requested kind.
class KindError : public Error {
 public:
  using Error::Error;
};

/// A required key or attribute is missing.
class KeyError : public Error {
 public:
  using Error::Error;
};

/// A value of the right kind cannot be converted or used (text that is not a number, division by zero, …).
class ConversionError : public Error {
 public:
  using Error::Error;
};

/// A bound that protects the process (depth, size, number of names) was exceeded.
class LimitError : public Error {
 public:
  using Error::Error;
};

/// The environment failed: a file, a disk, a database. Neither an agent nor the service is at fault. The text names the
/// place.
class SurroundingsError : public Error {
 public:
  using Error::Error;
};

/// Thrown by replacements of `ProgramExit` (seams.h), so that tests and hosts survive the end of the program.
/// Deliberately not a `std::exception`: no error guard of the engine intercepts it.
struct ProgramEnd {
  int status = 0;
};

/// Readable form of a C++ type name.
std::string demangle(const char* symbol);

/// The text of an error: `what()` of a standard exception, a thrown text itself, a thrown number with its type
/// ("int 42"), otherwise the type of the thrown object.
std::string error_text(const std::exception_ptr& error);

/// Whether the error is an `E`.
template <class E>
bool is_error(const std::exception_ptr& error) {
  try {
    if (error != nullptr) std::rethrow_exception(error);
  } catch (const E&) {
    return true;
  } catch (...) {
    return false;
  }
  return false;
}

/// Type, text, chain of causes (`std::nested_exception`) and, for an `Error`, its call stack.
std::string trace_text(const std::exception_ptr& error);

}  // namespace tessra
