#include "Tessra/base/error.h"

#include <cxxabi.h>
#include <execinfo.h>

#include <fmt/format.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <type_traits>
#include <typeinfo>

namespace tessra {

Error::Error(const std::string& what) : std::runtime_error(what) { frame_count_ = ::backtrace(frames_, kMaxFrames); }

std::vector<std::string> Error::stack() const {
  std::vector<std::string> lines;
  const std::unique_ptr<char*, decltype(&std::free)> symbols(::backtrace_symbols(frames_, frame_count_), &std::free);
  if (symbols == nullptr) return lines;
  for (int i = 0; i < frame_count_; ++i) {
    // A line reads "module(mangled+offset) [address]"; the mangled name is replaced.
    std::string line = symbols.get()[i];
    const auto open = line.find('(');
    const auto plus = line.find('+', open);
    if (open != std::string::npos && plus != std::string::npos && plus > open + 1) {
      const std::string symbol = line.substr(open + 1, plus - open - 1);
      line.replace(open + 1, plus - open - 1, demangle(symbol.c_str()));
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

std::string demangle(const char* symbol) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(symbol, nullptr, nullptr, &status),
                                                         &std::free);
  return status == 0 && name != nullptr ? name.get() : symbol;
}

namespace {

/// The text of a thrown `T`; nothing for other types.
template <class T>
std::optional<std::string> thrown_text(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const T& value) {
    if constexpr (std::is_convertible_v<T, std::string_view>) {
      return std::string(value);
    } else {
      return fmt::format("{}", value);
    }
  } catch (...) {
    return std::nullopt;
  }
}

template <class... Types>
std::optional<std::string> first_text(const std::exception_ptr& error) {
  std::optional<std::string> text;
  static_cast<void>(((text = thrown_text<Types>(error)) || ...));
  return text;
}

std::optional<std::string> text_that_was_thrown(const std::exception_ptr& error) {
  return first_text<std::string, std::string_view, const char*, char*>(error);
}

std::optional<std::string> number_that_was_thrown(const std::exception_ptr& error) {
  return first_text<bool, char, short, unsigned short, int, unsigned, long, unsigned long, long long,
                    unsigned long long, float, double>(error);
}

std::optional<std::string> thrown_value(const std::exception_ptr& error) {
  const auto text = text_that_was_thrown(error);
  return text ? text : number_that_was_thrown(error);
}

/// Type of the exception being handled; call it inside a handler only. The exception ABI knows the type even of objects
/// that are not standard exceptions.
std::string thrown_type() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  return type != nullptr ? demangle(type->name()) : "unknown type";
}

}  // namespace

std::string error_text(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& e) {
    return e.what();
  } catch (...) {
    if (const auto text = text_that_was_thrown(error)) return *text;
    const auto number = number_that_was_thrown(error);
    return number ? thrown_type() + " " + *number : "an error of type " + thrown_type();
  }
}

namespace {

/// The type an error was thrown as, without the wrapper that `std::throw_with_nested` adds.
std::string type_name(const std::exception& error) {
  constexpr std::string_view kWrapper = "std::_Nested_exception<";
  std::string name = demangle(typeid(error).name());
  if (name.starts_with(kWrapper)) name = name.substr(kWrapper.size(), name.size() - kWrapper.size() - 1);
  return name;
}

void append_cause(std::string& text, const std::exception& error) {
  text += type_name(error);
  text += ": ";
  text += error.what();
  if (const auto* own = dynamic_cast<const Error*>(&error)) {
    for (const std::string& frame : own->stack()) text += "\n    at " + frame;
  }
  try {
    std::rethrow_if_nested(error);
  } catch (const std::exception& cause) {
    text += "\n  caused by ";
    append_cause(text, cause);
  } catch (...) {
    text += "\n  caused by an error of unknown type";
  }
}

}  // namespace

std::string trace_text(const std::exception_ptr& error) {
  std::string text;
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& e) {
    append_cause(text, e);
  } catch (...) {
    text = thrown_type();
    if (const auto value = thrown_value(error)) text += ": " + *value;
  }
  return text;
}

}  // namespace tessra
