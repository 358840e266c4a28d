#pragma once

// Reading of scenario files: every access checks kind and bounds and knows its place in the file, so that each error
// names it.

#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::sim {

/// A value of a file together with its place. Every mismatch throws `ScenarioError` naming file and place.
class CheckedJson {
 public:
  /// The top-level value of the file, which must be a dictionary.
  static CheckedJson file(const std::filesystem::path& path);

  [[noreturn]] void fail(const std::string& what) const;
  /// Fails at the first key that is not one of these.
  void allow_only(std::initializer_list<std::string_view> keys) const;

  bool has(std::string_view key) const;
  CheckedJson at(std::string_view key) const;
  /// Entries of a list; empty if the key is absent.
  std::vector<CheckedJson> list(std::string_view key) const;
  /// Entries of a dictionary in their order; empty if the key is absent.
  std::vector<std::pair<std::string, CheckedJson>> entries(std::string_view key) const;

  std::string text() const;  ///< not empty
  double real(double least, double most) const;
  std::int64_t integer(std::int64_t least, std::int64_t most) const;
  bool boolean() const;

  std::string text(std::string_view key) const { return at(key).text(); }
  double real(std::string_view key, double least, double most) const { return at(key).real(least, most); }
  std::int64_t integer(std::string_view key, std::int64_t least, std::int64_t most) const;
  // With a default for an absent key.
  std::string text_or(std::string_view key, std::string_view absent) const;
  double real_or(std::string_view key, double least, double most, double absent) const;
  bool boolean_or(std::string_view key, bool absent) const;
  std::vector<std::string> texts(std::string_view key) const;

 private:
  CheckedJson(Value value, std::string file, std::string place);
  const Dict& dict() const;

  Value value_;
  std::string file_;
  std::string place_;
};

}  // namespace tessra::sim
