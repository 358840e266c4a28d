#include "simulation/checked_json.h"

#include <fmt/format.h>

#include <algorithm>

#include "Tessra/base/json_read.h"
#include "simulation/simulation.h"

namespace tessra::sim {

namespace {

Value read_file(const std::filesystem::path& path) {
  try {
    return read_strict_json_file(path);
  } catch (const Error& error) {
    throw ScenarioError(error.what());
  }
}

}  // namespace

CheckedJson::CheckedJson(Value value, std::string file, std::string place)
    : value_(std::move(value)), file_(std::move(file)), place_(std::move(place)) {}

/// Places start with the file's name alone: it is enough to find it, and messages stay on one line.
CheckedJson CheckedJson::file(const std::filesystem::path& path) {
  CheckedJson top(read_file(path), path.filename().string(), "");
  top.dict();
  return top;
}

void CheckedJson::fail(const std::string& what) const {
  throw ScenarioError(fmt::format("{}: {}{}{}", file_, place_, place_.empty() ? "" : ": ", what));
}

const Dict& CheckedJson::dict() const {
  if (!value_.is_dict()) fail(fmt::format("must be a dictionary, is {}", kind_name(value_.kind())));
  return value_.as_dict();
}

void CheckedJson::allow_only(std::initializer_list<std::string_view> keys) const {
  for (const auto& [key, value] : dict()) {
    if (std::find(keys.begin(), keys.end(), key.as_text()) == keys.end()) at(key.as_text()).fail("unknown field");
  }
}

bool CheckedJson::has(std::string_view key) const { return dict().contains(key); }

CheckedJson CheckedJson::at(std::string_view key) const {
  const std::string place = place_.empty() ? std::string(key) : fmt::format("{}.{}", place_, key);
  const Value* value = dict().find(key);
  if (value == nullptr) CheckedJson(Value(), file_, place).fail("is missing");  // so that the place includes the key
  return {*value, file_, place};
}

std::vector<CheckedJson> CheckedJson::list(std::string_view key) const {
  if (!has(key)) return {};
  const CheckedJson whole = at(key);
  if (!whole.value_.is_list()) whole.fail(fmt::format("must be a list, is {}", kind_name(whole.value_.kind())));
  std::vector<CheckedJson> items;
  for (const Value& item : whole.value_.as_list()) {
    items.push_back(CheckedJson(item, file_, fmt::format("{}[{}]", whole.place_, items.size())));
  }
  return items;
}

std::vector<std::pair<std::string, CheckedJson>> CheckedJson::entries(std::string_view key) const {
  if (!has(key)) return {};
  const CheckedJson whole = at(key);
  std::vector<std::pair<std::string, CheckedJson>> found;
  for (const auto& [name, value] : whole.dict()) found.emplace_back(name.as_text(), whole.at(name.as_text()));
  return found;
}

std::string CheckedJson::text() const {
  if (!value_.is_string()) fail(fmt::format("must be a text, is {}", kind_name(value_.kind())));
  if (value_.as_text().empty()) fail("must not be empty");
  return std::string(value_.as_text());
}

double CheckedJson::real(double least, double most) const {
  if (!value_.is_real() && !value_.is_integer()) fail(fmt::format("must be a number, is {}", kind_name(value_.kind())));
  const double number = value_.as_real();
  if (!(number >= least && number <= most)) fail(fmt::format("{} is not in {} to {}", number, least, most));
  return number;
}

std::int64_t CheckedJson::integer(std::int64_t least, std::int64_t most) const {
  if (!value_.is_integer()) fail(fmt::format("must be a whole number, is {}", kind_name(value_.kind())));
  const std::int64_t number = value_.as_integer();
  if (number < least || number > most) fail(fmt::format("{} is not in {} to {}", number, least, most));
  return number;
}

bool CheckedJson::boolean() const {
  if (!value_.is_bool()) fail(fmt::format("must be true or false, is {}", kind_name(value_.kind())));
  return value_.as_bool();
}

std::int64_t CheckedJson::integer(std::string_view key, std::int64_t least, std::int64_t most) const {
  return at(key).integer(least, most);
}

std::string CheckedJson::text_or(std::string_view key, std::string_view absent) const {
  return has(key) ? text(key) : std::string(absent);
}

double CheckedJson::real_or(std::string_view key, double least, double most, double absent) const {
  return has(key) ? real(key, least, most) : absent;
}

bool CheckedJson::boolean_or(std::string_view key, bool absent) const { return has(key) ? at(key).boolean() : absent; }

std::vector<std::string> CheckedJson::texts(std::string_view key) const {
  std::vector<std::string> found;
  for (const CheckedJson& item : list(key)) found.push_back(item.text());
  return found;
}

}  // namespace tessra::sim
