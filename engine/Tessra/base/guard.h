#pragma once

#include <cxxabi.h>

#include <exception>
#include <utility>

#include "Tessra/base/error.h"

namespace tessra {

/// Runs `work` and hands any error to `on_error` as a `std::exception_ptr`. Returns true when `work` succeeded.
///
/// The end of the program (`ProgramEnd`) and the forced unwinding of a cancelled thread are no errors and pass
/// through. `on_error` runs outside the handler, so what it throws reaches the caller like any other error. This is
/// the one place of the system that stops whatever is thrown, and agents may throw whatever they like; what looks at a
/// stopped error later (error.h) throws it again to itself alone.
template <class Work, class OnError>
// A thread's forced end has no object: the sanitizer for null references would tell of the handler that lets it pass.
[[gnu::no_sanitize("null")]] bool guarded(Work&& work, OnError&& on_error) {
  std::exception_ptr error;
  try {
    std::forward<Work>(work)();
    return true;
  } catch (const ProgramEnd&) {
    throw;
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    error = std::current_exception();
  }
  std::forward<OnError>(on_error)(error);
  return false;
}

}  // namespace tessra
