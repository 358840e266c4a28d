#include "Tessra/entitys/commonfunction.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <chrono>

namespace tessra::cf {

void merge_dict(Dict old, const Dict& fresh, Adopt adopt) {
  if (old.is(fresh)) return;
  old.merge(fresh, [&](const Value& key, Value* stored, const Value& value) {
    const Dict* inner = value.if_dict();
    if (stored == nullptr) {
      old.set(key, adopted(value, adopt));
    } else if (inner != nullptr && stored->is_dict()) {
      merge_dict(stored->as_dict(), *inner, adopt);
    } else {
      *stored = adopted(value, adopt);
    }
  });
}

Dict update_dict(Dict old, const Dict& fresh) {
  merge_dict(old, fresh, Adopt::shared);
  return old;
}

std::string get_scenario_time(std::int64_t milliseconds, bool with_date) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(std::chrono::milliseconds(milliseconds));
  // As a plain count: the system clock's own time points end with the year 2262.
  const std::tm utc = fmt::gmtime(static_cast<std::time_t>(seconds.count()));
  return with_date ? fmt::format("{:%Y-%m-%d %H:%M:%S}", utc) : fmt::format("{:%H:%M:%S}", utc);
}

}  // namespace tessra::cf
