#include "simulation/command_arguments.h"

#include <fmt/format.h>

#include <cmath>

#include "Tessra/base/utf8.h"
#include "Tessra/base/value.h"
#include "simulation/order_limits.h"

namespace tessra::sim {

namespace {

/// Whether `name` is one of the blank-separated names. It comes from an agent and may itself contain blanks.
bool is_listed(std::string_view names, std::string_view name) {
  const std::string padded = fmt::format(" {} ", names);
  return name.find(' ') == std::string_view::npos && padded.find(fmt::format(" {} ", name)) != std::string::npos;
}

}  // namespace

std::string quoted_name(std::string_view name) { return excerpt(name, kMaxQuotedName); }

void CommandArguments::allow_only(std::string_view names) const {
  for (const auto& [name, value] : values_) {
    if (!is_listed(names, name.as_text())) {
      throw CommandError(fmt::format("unknown argument {}", quoted_name(name.as_text())));
    }
  }
}

const Value& CommandArguments::at(std::string_view name) const {
  const Value* value = values_.find(name);
  if (value == nullptr) throw CommandError(fmt::format("{} is missing", name));
  return *value;
}

std::string CommandArguments::text(std::string_view name) const {
  const Value& value = at(name);
  if (!value.is_string() || value.as_text().empty()) throw CommandError(fmt::format("{} must be a text", name));
  return std::string(value.as_text());
}

double CommandArguments::number(std::string_view name, double least, double most) const {
  const Value& value = at(name);
  if (!value.is_integer() && !value.is_real()) throw CommandError(fmt::format("{} must be a number", name));
  const double number = value.as_real();
  if (!(number >= least && number <= most)) {  // negated, so that NaN fails too
    throw CommandError(fmt::format("{} must be in {} to {}, is {}", name, least, most, number));
  }
  return number;
}

int CommandArguments::whole_number(std::string_view name, int least, int most) const {
  const double real = number(name, least, most);
  if (real != std::floor(real)) throw CommandError(fmt::format("{} must be a whole number", name));
  return static_cast<int>(real);
}

bool CommandArguments::boolean(std::string_view name) const {
  const Value& value = at(name);
  if (!value.is_bool()) throw CommandError(fmt::format("{} must be true or false", name));
  return value.as_bool();
}

const List& CommandArguments::list(std::string_view name) const {
  const Value& value = at(name);
  if (!value.is_list() || value.as_list().empty()) throw CommandError(fmt::format("{} must be a non-empty list", name));
  return value.as_list();
}

std::vector<std::string> CommandArguments::texts(std::string_view name) const {
  if (list(name).size() > kMaxTargets) throw CommandError(fmt::format("{} has more than {} texts", name, kMaxTargets));
  std::vector<std::string> texts;
  for (const Value& item : list(name)) {
    if (!item.is_string()) throw CommandError(fmt::format("{} must list texts", name));
    texts.emplace_back(item.as_text());
  }
  return texts;
}

std::vector<Place> CommandArguments::places(std::string_view name) const {
  if (list(name).size() > kMaxPlaces) throw CommandError(fmt::format("{} has more than {} places", name, kMaxPlaces));
  std::vector<Place> places;
  for (const Value& item : list(name)) {
    if (!item.is_dict()) throw CommandError(fmt::format("{} must list places {{LON=, LAT=}}", name));
    const CommandArguments place(item.as_dict());
    place.allow_only("LON LAT");
    // Not up to the poles, where headings and longitudes degenerate.
    places.push_back({place.number("LAT", -89, 89), place.number("LON", -180, 180)});
  }
  return places;
}

}  // namespace tessra::sim
