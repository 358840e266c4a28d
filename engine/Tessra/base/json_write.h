#pragma once

#include <filesystem>
#include <string>

#include "Tessra/base/value.h"

namespace tessra {

enum class JsonStyle { compact, pretty };

/// JSON text that reads back equal, including kinds: whole reals keep their `.0`. Integer keys become decimal text,
/// since JSON keys are strings. Text is written byte for byte. Throws `ConversionError` for values JSON cannot express
/// (host objects, infinities, NaN) and `LimitError` for a tree nested deeper than readers accept, such as one that
/// contains itself.
std::string write_json(const Value& value, JsonStyle style = JsonStyle::compact);

/// Writes the text and a newline to a temporary file next to the target and renames it when complete, so that readers
/// never see a partial file. Throws `SurroundingsError` naming the path.
void write_json_file(const std::filesystem::path& path, const Value& value, JsonStyle style = JsonStyle::compact);

}  // namespace tessra
