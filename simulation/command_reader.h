#pragma once

// Reading of command texts: one call with one table of literals, `Name({KEY='text', OTHER={1.5, 2}})`. Texts come from
// agents and are not trusted. They are data: nothing in them is carried out, and what they may take is bounded
// (`order_limits.h`).

#include <string>
#include <string_view>

#include "Tessra/base/error.h"
#include "Tessra/base/value.h"

namespace tessra::sim {

/// A command that cannot be read or carried out; the text says why.
class CommandError : public Error {
 public:
  using Error::Error;
};

/// One call as its text gave it.
struct CommandCall {
  std::string name;
  Dict arguments;  ///< tables with keys are dictionaries, tables without and empty ones lists; nil is left out
};

/// Reads one text. Throws `CommandError` naming what is wrong and the byte, counted from 1, where it stands.
CommandCall read_command(std::string_view text);

}  // namespace tessra::sim
