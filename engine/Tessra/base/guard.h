#pragma once

#include <cxxabi.h>

#include <exception>
#include <utility>

#include "Tessra/base/error.h"

namespace tessra {

/// Runs `work` and passes any error to `on_error` as a `std::exception_ptr`. Returns true when `work` succeeded.
///
/// The end of the program (`ProgramEnd`) and the forced unwinding of a cancelled thread are not errors and pass
/// through. `on_error` runs outside the handler, so its exceptions reach the caller like any other. This is the only
/// place that catches everything, because agents may throw anything; the functions of error.h rethrow a caught error
/// internally to inspect it.
template <class Work, class OnError>
// Forced unwinding has no exception object: the checks of references would report the handler that rethrows it.
[[gnu::no_sanitize("null", "alignment")]] bool guarded(Work&& work, OnError&& on_error) {
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
