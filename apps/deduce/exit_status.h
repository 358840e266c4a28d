#pragma once

#include "Tessra/base/error.h"

namespace tessra::app {

/// Exit status of the program. After a signal it is 128 plus the signal's number (130 Ctrl-C, 143 SIGTERM).
enum ExitStatus { kPlayed = 0, kFailed = 1, kWrongInput = 2 };

/// Wrong arguments or files: reported as one line on standard error, status 2.
class InputError : public Error {
 public:
  using Error::Error;
};

}  // namespace tessra::app
