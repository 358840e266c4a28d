#include "Tessra/base/json_read.h"

#include <fstream>
#include <optional>
#include <sstream>
#include <utility>

#include "Tessra/base/json_fault.h"
#include "Tessra/base/json_tokens.h"
#include "Tessra/base/tree_builder.h"

namespace tessra {

namespace {

std::string with_place(const std::string& what, JsonError::Place place) {
  return what + " at line " + std::to_string(place.line) + ", column " + std::to_string(place.column);
}

}  // namespace

JsonError::JsonError(const std::string& what, Place where) : Error(with_place(what, where)), place(where) {}

struct JsonReader::Impl {
  JsonLimits limits;
  JsonTokens tokens;

  /// Nothing if the text is refused.
  std::optional<Value> tree(std::string_view text) {
    switch (tokens.begin(text)) {
      case JsonTokens::Form::nested:
        return TreeBuilder::of_thread().build(tokens, limits.max_depth);
      case JsonTokens::Form::lone:
        return tokens.lone_value(text);
      case JsonTokens::Form::refused:
        break;
    }
    return std::nullopt;
  }
};

JsonReader::JsonReader(JsonLimits limits) : impl_(std::make_unique<Impl>()) { impl_->limits = limits; }
JsonReader::~JsonReader() = default;
JsonReader::JsonReader(JsonReader&&) noexcept = default;
JsonReader& JsonReader::operator=(JsonReader&&) noexcept = default;

Value JsonReader::read(std::string_view text) {
  const JsonLimits& limits = impl_->limits;
  if (text.size() > limits.max_bytes) {
    fail_at(text, limits.max_bytes, "longer than " + std::to_string(limits.max_bytes) + " bytes");
  }
  std::optional<Value> tree = impl_->tree(text);
  if (!tree) report_json_fault(text, limits.max_depth);
  return *std::move(tree);
}

Value read_json(std::string_view text) { return JsonReader().read(text); }

namespace {

/// Reads a file with `read` and adds the path to the message of a `JsonError`.
template <class Read>
Value read_file(const std::filesystem::path& path, Read&& read) {
  std::ifstream file(path, std::ios::binary);
  file.peek();  // opening a folder succeeds, reading it fails
  if (!file.is_open() || file.bad()) throw Error("cannot read " + path.string());
  std::stringstream text;
  text << file.rdbuf();
  try {
    return read(text.view());
  } catch (const JsonError& error) {
    const std::string what = error.what();
    const std::string place = with_place("", error.place);
    throw JsonError(path.string() + ": " + what.substr(0, what.size() - place.size()), error.place);
  }
}

}  // namespace

Value read_json_file(const std::filesystem::path& path) { return read_file(path, read_json); }

Value read_strict_json_file(const std::filesystem::path& path) {
  return read_file(path, [](std::string_view text) {
    Value value = read_json(text);
    require_distinct_keys(text, JsonLimits().max_depth);
    return value;
  });
}

}  // namespace tessra
