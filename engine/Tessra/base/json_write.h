#pragma once

#include <filesystem>
#include <string>

#include "Tessra/base/value.h"

namespace tessra {

enum class JsonStyle { compact, pretty };

/// JSON text that reads back equal, kinds included: whole reals keep their `.0`. Integer keys become decimal text,
/// since JSON has no others. Text is written byte for byte. Throws `ConversionError` for what JSON cannot say: host
/// objects, infinities and NaN; `LimitError` for a tree nested deeper than readers take, one that contains itself
/// included.
std::string write_json(const Value& value, JsonStyle style = JsonStyle::compact);

/// Writes the text and a line end to a file, through a neighbour that is renamed when complete, so that no reader
/// ever sees half a file. Throws `SurroundingsError` naming the path.
void write_json_file(const std::filesystem::path& path, const Value& value, JsonStyle style = JsonStyle::compact);

}  // namespace tessra
