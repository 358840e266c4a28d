#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulation/command_reader.h"
#include "simulation/geo.h"

namespace tessra::sim {

/// A name from an order for use in an error message: truncated and without control characters.
std::string quoted_name(std::string_view name);

/// The arguments of one command. Reading a missing or invalid one throws `CommandError` naming it.
class CommandArguments {
 public:
  explicit CommandArguments(const Dict& values) : values_(values) {}

  /// Throws for any argument not in `names`, which are separated by blanks.
  void allow_only(std::string_view names) const;

  bool has(std::string_view name) const { return values_.contains(name); }
  std::string text(std::string_view name) const;  ///< not empty
  double number(std::string_view name, double least, double most) const;
  int whole_number(std::string_view name, int least, int most) const;
  bool boolean(std::string_view name) const;
  std::vector<std::string> texts(std::string_view name) const;  ///< 1 to 200
  std::vector<Place> places(std::string_view name) const;       ///< 1 to 200 of `{LON=, LAT=}`

 private:
  const Value& at(std::string_view name) const;
  const List& list(std::string_view name) const;

  const Dict& values_;
};

}  // namespace tessra::sim
