#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "Tessra/base/value.h"

namespace tessra {

/// A text is no JSON, or JSON beyond the limits. The message ends with the place: "line 3, column 14".
class JsonError : public Error {
 public:
  /// A place in a text: its byte offset, counted from 0, its line and its column in bytes, counted from 1.
  struct Place {
    std::size_t offset, line, column;
  };

  JsonError(const std::string& what, Place where);

  Place place;
};

struct JsonLimits {
  std::size_t max_bytes = std::size_t{1} << 30;
  /// Deepest nesting of lists and dictionaries; not above 1,000, beyond which a fault is no longer found in its place.
  std::size_t max_depth = 512;
};

/// Reads JSON straight into the value tree. A reader keeps its buffers, so reading many records through one reader
/// allocates for the values alone. One reader serves one thread at a time.
///
/// Integers are exact in signed 64 bits and an error beyond; numbers with a point or an exponent are reals; the order
/// of keys is kept and the last of duplicate keys wins at the place of the first. The text must be valid UTF-8
/// without lone surrogates.
class JsonReader {
 public:
  explicit JsonReader(JsonLimits limits = {});
  ~JsonReader();
  JsonReader(JsonReader&&) noexcept;
  JsonReader& operator=(JsonReader&&) noexcept;

  /// Throws `JsonError`.
  Value read(std::string_view text);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// Reads one text with a reader of its own.
Value read_json(std::string_view text);

/// Reads a file. Throws `JsonError` with the path in its message, or `Error` when the file cannot be read.
Value read_json_file(const std::filesystem::path& path);

/// Reads a file that people write: a key that stands twice in a dictionary is a fault as well, since one of its values
/// would be lost.
Value read_strict_json_file(const std::filesystem::path& path);

}  // namespace tessra
