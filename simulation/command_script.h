#pragma once

// Reading of command texts. Texts come from agents and are not trusted: each runs as a chunk of its own in a Lua state
// of its own, without any library, with few instructions and little memory.

#include <string>
#include <vector>

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
  Dict arguments;  ///< tables with text keys are dictionaries, tables counted from 1 and empty ones lists
};

/// Runs one text, which must call one of the named commands once with one table. Throws `CommandError`.
CommandCall read_command(const std::string& text, const std::vector<std::string>& names);

}  // namespace tessra::sim
