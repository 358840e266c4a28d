#include "services/order_checks.h"

#include <fmt/format.h>

namespace tessra {

namespace {

constexpr const char* kNoOrder = "NoSuchCommand({})";
constexpr const char* kCall = "do_package_command(), with two orders that mean nothing";

void check_refused(const Value& refused, ServiceReport& report) {
  report.want(refused.is_none() || refused.is_list(), kCall, "`refused`, a list", refused.to_text());
  if (!refused.is_list()) return;
  for (const Value& entry : refused.as_list()) {
    const Dict refusal = entry.is_dict() ? entry.as_dict() : Dict();
    const Value number = refusal.get("number");
    report.want(number == Value(1) || number == Value(2), kCall, "`number`, 1 or 2, in `refused`", entry.to_text());
    report.want(refusal.get("reason").is_string(), kCall, "`reason`, a text, in `refused`", entry.to_text());
  }
}

}  // namespace

void check_orders(GameServer& service, ServiceReport& report) {
  constexpr const char* kQueue = "need_do_package_command()";
  const auto is_queued = [&] { return report.answer(kQueue, [&] { return service.need_do_package_command(); }); };
  report.want(!is_queued(), kQueue, "false while nothing is queued", "true");
  for (int order = 0; order < 2; ++order) {
    report.answer("add_command()", [&] { service.add_command(kNoOrder); });
  }
  report.want(is_queued(), kQueue, "true while orders are queued", "false");
  const Value answer = report.answer(kCall, [&] { return service.do_package_command(); });
  report.want(!is_queued(), kQueue, "false after the package was sent", "true");

  const Dict package = answer.is_dict() ? answer.as_dict() : Dict();
  report.need(package.get("message").is_string(), kCall, "a dictionary with `message`, a text", answer.to_text());
  if (!package.get("message").is_text("Error")) {
    report.note(fmt::format("the order {} is taken without a word: are orders refused that mean nothing?", kNoOrder));
    return;
  }
  const Value lines = package.get("resbin");
  report.want(lines.is_string() && lines.truthy(), kCall, "a line for each refused order in `resbin`", lines.to_text());
  check_refused(package.get("refused"), report);
}

}  // namespace tessra
