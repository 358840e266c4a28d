#pragma once

// Parser for commands: one call with one table of literals, `Name({KEY='text', OTHER={1.5, 2}})`. Commands come from
// agents and are not trusted: they are parsed as data, never executed, and their size is limited (`order_limits.h`).

#include <string>
#include <string_view>

#include "Tessra/base/error.h"
#include "Tessra/base/value.h"

namespace tessra::sim {

/// A command cannot be parsed or carried out; the text says why.
class CommandError : public Error {
 public:
  using Error::Error;
};

/// A parsed call.
struct CommandCall {
  std::string name;
  Dict arguments;  ///< tables with keys become dictionaries, tables without keys and empty ones lists; nil is omitted
};

/// Parses one command. Throws `CommandError` with the problem and its byte position, counted from 1.
CommandCall read_command(std::string_view text);

}  // namespace tessra::sim
