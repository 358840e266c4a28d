#pragma once

// Trees as the parser makes them by itself, to compare our reading with.

#include <simdjson.h>

#include <optional>
#include <string_view>

#include "Tessra/base/value.h"

namespace tessra {

inline std::optional<Value> by_parser(simdjson::dom::element element) {
  using Type = simdjson::dom::element_type;
  switch (element.type()) {
    case Type::ARRAY: {
      List list;
      for (const simdjson::dom::element entry : simdjson::dom::array(element)) {
        const auto value = by_parser(entry);
        if (!value) return std::nullopt;
        list.push_back(*value);
      }
      return list;
    }
    case Type::OBJECT: {
      Dict dict;
      for (const auto field : simdjson::dom::object(element)) {
        const auto value = by_parser(field.value);
        if (!value) return std::nullopt;
        dict.set(field.key, *value);
      }
      return dict;
    }
    case Type::INT64:
      return std::int64_t(element);
    case Type::DOUBLE:
      return double(element);
    case Type::STRING:
      return std::string_view(element);
    case Type::BOOL:
      return bool(element);
    case Type::NULL_VALUE:
      return Value();
    default:
      return std::nullopt;
  }
}

/// Nothing when the parser refuses the text, or for an integer beyond 64 bits.
inline std::optional<Value> by_parser(std::string_view text) {
  simdjson::dom::parser parser;
  simdjson::dom::element element;
  if (text.empty() || parser.parse(text.data(), text.size()).get(element) != simdjson::SUCCESS) return std::nullopt;
  return by_parser(element);
}

}  // namespace tessra
