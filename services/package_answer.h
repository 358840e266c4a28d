#pragma once

#include "Tessra/base/value.h"

namespace tessra {

/// What `do_package_command` answers to a package of which these orders were refused: dictionaries as described there.
/// `resbin` has a line for each of them.
Dict package_answer(const List& refused);

}  // namespace tessra
