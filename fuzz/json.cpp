// Fuzzes the JSON reader. Any bytes are either refused with a place inside the text, or give a tree that survives
// writing and reading back. The result must agree with that of the reference parser, except for nesting that is too
// deep.

#include <cstddef>
#include <cstdint>
#include <optional>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "fuzz/require.h"
#include "support/by_parser.h"

namespace {

using tessra::Value;

bool is_too_deep(std::string_view what) { return what.find("nested") != std::string_view::npos; }

std::optional<Value> read(std::string_view text) {
  try {
    return tessra::read_json(text);
  } catch (const tessra::JsonError& error) {
    require(error.place.offset <= text.size(), "an error lies inside the text");
    require(is_too_deep(error.what()) || !tessra::by_parser(text), "what is refused is no JSON");
    require(error.place.line >= 1 && error.place.column >= 1, "places are counted from 1");
    return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::optional<Value> value = read({reinterpret_cast<const char*>(data), size});
  if (!value) return 0;
  // Compares texts too: they distinguish kinds, which `==` on numbers does not.
  const std::string written = tessra::write_json(*value);
  const auto wanted = tessra::by_parser(std::string_view(reinterpret_cast<const char*>(data), size));
  require(wanted && tessra::write_json(*wanted) == written, "what is read is what the parser reads");
  for (const auto style : {tessra::JsonStyle::compact, tessra::JsonStyle::pretty}) {
    const std::optional<Value> again = read(tessra::write_json(*value, style));
    require(again.has_value(), "what is written is JSON");
    require(*again == *value && tessra::write_json(*again) == written, "what is written reads back equal");
  }
  require(tessra::write_json(value->deep_copy()) == written, "a deep copy is the same");
  return 0;
}
