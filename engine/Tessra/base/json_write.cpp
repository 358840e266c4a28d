// Writes value trees as JSON. Kinds must survive a round trip, since 1 and 1.0 are different kinds of values.

#include "Tessra/base/json_write.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <fstream>
#include <system_error>
#include <utility>

#include "Tessra/base/json_read.h"

namespace tessra {

namespace {

class Writer {
 public:
  explicit Writer(JsonStyle style) : pretty_(style == JsonStyle::pretty) {}

  void write(const Value& value) {
    switch (value.kind()) {
      case Kind::none:
        out_ += "null";
        break;
      case Kind::boolean:
        out_ += value.as_bool() ? "true" : "false";
        break;
      case Kind::integer:
        write_integer(value.as_integer());
        break;
      case Kind::real:
        if (!std::isfinite(value.as_real())) throw ConversionError("JSON cannot represent " + value.to_text());
        append_real(out_, value.as_real());
        break;
      case Kind::string:
        write_text(value.as_text());
        break;
      case Kind::list:
        write_list(value.as_list());
        break;
      case Kind::dictionary:
        write_dict(value.as_dict());
        break;
      case Kind::host:
        throw ConversionError("JSON cannot represent a host object");
    }
  }

  std::string take() { return std::move(out_); }

 private:
  void write_list(const List& list) {
    out_ += '[';
    go_deeper();
    bool first = true;
    for (const Value& entry : list) {
      separate(first);
      write(entry);
    }
    close(first, ']');
  }

  void write_dict(const Dict& dict) {
    out_ += '{';
    go_deeper();
    bool first = true;
    for (auto [key, entry] : dict) {
      separate(first);
      write_text(key.is_string() ? key.as_text() : std::string_view(key.to_text()));
      out_ += pretty_ ? ": " : ":";
      write(entry);
    }
    close(first, '}');
  }

  /// The readers' limit: nothing is written that could not be read back, and a tree that contains itself ends here.
  void go_deeper() {
    if (++depth_ > JsonLimits().max_depth) throw LimitError("nested deeper than JSON readers accept");
  }

  void separate(bool& first) {
    if (!first) out_ += ',';
    first = false;
    new_line();
  }

  void close(bool empty, char bracket) {
    --depth_;
    if (!empty) new_line();
    out_ += bracket;
  }

  void new_line() {
    if (!pretty_) return;
    out_ += '\n';
    out_.append(2 * depth_, ' ');
  }

  void write_integer(std::int64_t integer) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof(digits), integer);
    out_.append(digits, end.ptr);
  }

  void write_text(std::string_view text) {
    out_ += '"';
    // Plain stretches are copied whole.
    std::size_t written = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (static_cast<unsigned char>(text[i]) >= 0x20 && text[i] != '"' && text[i] != '\\') continue;
      out_.append(text, written, i - written);
      write_escape(text[i]);
      written = i + 1;
    }
    out_.append(text, written);
    out_ += '"';
  }

  void write_escape(char c) {
    // Pairs of a character and its escape letter.
    constexpr std::string_view kLetters = "\"\"\\\\\bb\ff\nn\rr\tt";
    for (std::size_t i = 0; i < kLetters.size(); i += 2) {
      if (kLetters[i] != c) continue;
      out_ += '\\';
      out_ += kLetters[i + 1];
      return;
    }
    constexpr char kHex[] = "0123456789abcdef";
    out_ += "\\u00";
    out_ += kHex[(c >> 4) & 0xF];
    out_ += kHex[c & 0xF];
  }

  bool pretty_;
  std::size_t depth_ = 0;
  std::string out_;
};

}  // namespace

std::string write_json(const Value& value, JsonStyle style) {
  Writer writer(style);
  writer.write(value);
  return writer.take();
}

void write_json_file(const std::filesystem::path& path, const Value& value, JsonStyle style) {
  // First the text, so that a value that cannot be written leaves no file behind.
  const std::string text = write_json(value, style) + '\n';
  const auto fail = [&](const std::string& reason) {
    throw SurroundingsError("cannot write " + path.string() + ": " + reason);
  };
  std::filesystem::path partial = path;
  partial += ".partial";
  errno = 0;
  std::ofstream file(partial, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();  // before the check: a full disk may show only when the buffer is flushed
  if (!file) {
    const std::string reason = std::generic_category().message(errno);
    std::error_code ignored;
    std::filesystem::remove(partial, ignored);
    fail(reason);
  }
  std::error_code failed;
  std::filesystem::rename(partial, path, failed);
  if (failed) fail(failed.message());
}

}  // namespace tessra
