#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "Tessra/base/value.h"

namespace tessra {

/// A text is not JSON, or exceeds the limits. The message ends with the place: "line 3, column 14".
class JsonError : public Error {
 public:
  /// A place in a text: byte offset from 0; line, and column in bytes, from 1.
  struct Place {
    std::size_t offset, line, column;
  };

  JsonError(const std::string& what, Place where);

  Place place;
};

struct JsonLimits {
  std::size_t max_bytes = std::size_t{1} << 30;
  /// Deepest nesting of lists and dictionaries; at most 1,000, the limit up to which faults can be located.
  std::size_t max_depth = 512;
};

/// Reads JSON directly into a value tree. A reader keeps its buffers, so that reading many records with one reader
/// allocates only for the values. A reader serves one thread at a time.
///
/// Integers are exact in signed 64 bits and an error beyond; numbers with a point or an exponent are reals. The order
/// of keys is kept; of duplicate keys the last value wins, at the place of the first. The text must be valid UTF-8
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

/// Reads one text with a temporary reader.
Value read_json(std::string_view text);

/// Reads a file. Throws `JsonError` with the path in its message, or `Error` when the file cannot be read.
Value read_json_file(const std::filesystem::path& path);

/// Reads a hand-written file: duplicate keys are errors too, since one of the values would be lost.
Value read_strict_json_file(const std::filesystem::path& path);

}  // namespace tessra
