#include "Tessra/entitys/command_text.h"

#include <cmath>

#include <fmt/format.h>

#include "Tessra/base/error.h"

namespace tessra {

namespace {

/// A quoted text. Bytes that could end it or break the line become decimal escapes, always of three digits: a shorter
/// one would swallow a digit that follows it.
std::string quoted(std::string_view text) {
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      out += fmt::format("\\{:03d}", static_cast<unsigned char>(c));
    } else {
      out += c;
    }
  }
  return out + "'";
}

std::string real(double value) {
  if (!std::isfinite(value)) throw ConversionError("numbers in a command must be finite");
  return fmt::format("{}", value);
}

}  // namespace

CommandText::CommandText(std::string_view name) : text_(std::string(name) + "({") {}

void CommandText::begin(std::string_view key) {
  if (!first_) text_ += ", ";
  first_ = false;
  text_ += key;
  text_ += '=';
}

CommandText& CommandText::text(std::string_view key, std::string_view value) {
  begin(key);
  text_ += quoted(value);
  return *this;
}

CommandText& CommandText::number(std::string_view key, double value) {
  begin(key);
  text_ += real(value);
  return *this;
}

CommandText& CommandText::number(std::string_view key, int value) {
  begin(key);
  text_ += std::to_string(value);
  return *this;
}

CommandText& CommandText::flag(std::string_view key, bool value) {
  begin(key);
  text_ += value ? "true" : "false";
  return *this;
}

CommandText& CommandText::texts(std::string_view key, std::span<const std::string> values) {
  begin(key);
  text_ += '{';
  for (std::size_t i = 0; i < values.size(); ++i) text_ += (i > 0 ? ", " : "") + quoted(values[i]);
  text_ += '}';
  return *this;
}

CommandText& CommandText::points(std::string_view key, std::span<const GeoPoint> values) {
  begin(key);
  text_ += '{';
  for (std::size_t i = 0; i < values.size(); ++i) {
    text_ += fmt::format("{}{{LON={}, LAT={}}}", i > 0 ? ", " : "", real(values[i].lon), real(values[i].lat));
  }
  text_ += '}';
  return *this;
}

}  // namespace tessra
