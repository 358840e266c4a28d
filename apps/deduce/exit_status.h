#pragma once

#include "Tessra/base/error.h"

namespace tessra::app {

/// What the program tells its caller. After a signal the status is 128 plus its number (130 Ctrl-C, 143 SIGTERM).
enum ExitStatus { kPlayed = 0, kFailed = 1, kWrongInput = 2 };

/// Wrong arguments or files: one clear line on standard error, status 2.
class InputError : public Error {
 public:
  using Error::Error;
};

}  // namespace tessra::app
