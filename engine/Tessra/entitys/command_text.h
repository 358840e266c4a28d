#pragma once

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace tessra {

/// A place on the ground, in degrees.
struct GeoPoint {
  double lon = 0;
  double lat = 0;
};

/// Builds one command in the service's syntax, `Name({KEY='text', OTHER=1.5, …})`. Texts are escaped, so that nothing
/// an agent passes can inject another order.
class CommandText {
 public:
  explicit CommandText(std::string_view name);

  CommandText& text(std::string_view key, std::string_view value);
  /// Throws `ConversionError` for NaN and infinities.
  CommandText& number(std::string_view key, double value);
  CommandText& number(std::string_view key, int value);
  CommandText& flag(std::string_view key, bool value);
  CommandText& texts(std::string_view key, std::span<const std::string> values);
  CommandText& points(std::string_view key, std::span<const GeoPoint> values);

  std::string str() const { return text_ + "})"; }

 private:
  void begin(std::string_view key);

  std::string text_;
  bool first_ = true;
};

}  // namespace tessra
