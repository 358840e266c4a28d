#include "services/package_answer.h"

#include <fmt/format.h>

namespace tessra {

Dict package_answer(const List& refused) {
  std::string report;
  for (const Value& entry : refused) {
    const Dict& order = entry.as_dict();
    report += fmt::format("{}{}: {}: {}", report.empty() ? "" : "\n", order.at_integer("number"),
                          order.at("command").to_text(), order.at("reason").to_text());
  }
  return {{"message", report.empty() ? "OK" : "Error"}, {"resbin", report}, {"refused", refused}};
}

}  // namespace tessra
