#include "services/remote/secrets.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>

#include "Tessra/base/error.h"

namespace tessra::remote {

namespace {

std::string read_file(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in.is_open() || in.bad() || std::filesystem::is_directory(file)) {
    throw SurroundingsError("cannot read " + file.string());
  }
  return text.str();
}

}  // namespace

std::string random_id() {
  std::random_device source;
  std::string id;
  for (int word = 0; word < 4; ++word) id += fmt::format("{:08x}", source());
  return id;
}

bool same_secret(std::string_view given, std::string_view secret) {
  unsigned difference = given.size() == secret.size() ? 0 : 1;
  for (std::size_t i = 0; i < given.size(); ++i) {
    const char other = secret.empty() ? '\0' : secret[i % secret.size()];
    difference |= static_cast<unsigned char>(given[i] ^ other);
  }
  return difference == 0;
}

std::string read_token(const std::filesystem::path& file) {
  std::string text = read_file(file);
  text.erase(text.find_last_not_of(" \t\r\n") + 1);
  if (text.empty()) throw Error(file.string() + ": the token file is empty");
  check_token(text, file.string());
  return text;
}

void check_token(std::string_view token, std::string_view where) {
  if (std::ranges::all_of(token, [](char c) { return c > 0x20 && c < 0x7f; })) return;
  throw Error(fmt::format("{}: a token is one word of visible ASCII characters", where));
}

std::string read_pem(const std::filesystem::path& file) {
  std::string text = read_file(file);
  if (text.find("-----BEGIN ") == std::string::npos) throw Error(file.string() + ": not a PEM file");
  return text;
}

}  // namespace tessra::remote
