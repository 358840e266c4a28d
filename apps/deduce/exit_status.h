#pragma once

#include "Tessra/base/error.h"

namespace tessra::app {

/// What the program tells its caller.
enum ExitStatus { kPlayed = 0, kFailed = 1, kWrongInput = 2, kInterrupted = 130 };

/// Wrong arguments or files: one clear line on standard error, status 2.
class InputError : public Error {
 public:
  using Error::Error;
};

}  // namespace tessra::app
