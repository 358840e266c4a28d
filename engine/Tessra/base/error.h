#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tessra {

/// Base of every error this system throws. It remembers the call stack of the place where it was made, so that a
/// trace in the run log shows where an error came from and not only what it says.
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

/// A value has another kind than the one asked for.
class KindError : public Error {
 public:
  using Error::Error;
};

/// A key or an attribute that is required is not there.
class KeyError : public Error {
 public:
  using Error::Error;
};

/// A value of a fitting kind cannot be converted or used (text that is no number, division by zero, …).
class ConversionError : public Error {
 public:
  using Error::Error;
};

/// A bound that protects the process (depth, size, number of names) was exceeded.
class LimitError : public Error {
 public:
  using Error::Error;
};

/// What the program stands on failed: a file, a disk, a database. Neither an agent nor the service had a part in it.
/// The text names the place.
class SurroundingsError : public Error {
 public:
  using Error::Error;
};

/// Thrown by a replacement of the program's end so that tests and hosts can stay alive (see seams.h). It is no
/// `std::exception` on purpose: no error guard of the engine intercepts it.
struct ProgramEnd {
  int status = 0;
};

/// Readable form of a C++ type name.
std::string demangle(const char* symbol);

/// The text of an error: `what()` of a standard exception, a text that was thrown itself, a number with its type
/// ("int 42"), else the type of what was thrown.
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

/// Type, text, chain of causes (`std::nested_exception`) and, for an `Error`, the stack where it was made.
std::string trace_text(const std::exception_ptr& error);

}  // namespace tessra
