#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tessra::remote {

/// 128 random bits as 32 hexadecimal digits: ids that cannot be guessed.
std::string random_id();

/// Compares in a time that depends on the length of `given` alone.
bool same_secret(std::string_view given, std::string_view secret);

/// The text of a file without the white space at its end. Throws `SurroundingsError` naming the file if it cannot be
/// read, `Error` if it is empty or has more than one line.
std::string read_token(const std::filesystem::path& file);

/// Throws `Error` unless the token can travel in a header: visible ASCII characters only. `where` names its place.
void check_token(std::string_view token, std::string_view where);

/// The text of a PEM file. Throws `SurroundingsError` naming the file if it cannot be read, `Error` if it is no PEM.
std::string read_pem(const std::filesystem::path& file);

}  // namespace tessra::remote
