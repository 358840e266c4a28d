#pragma once

#include <functional>
#include <set>
#include <string>

#include "Tessra/base/value.h"
#include "services/service_report.h"

namespace tessra {

/// Follows the records of one episode and reports what the engine could not build its model from: parts of a wrong
/// kind, sides, units and contacts that were never introduced, numbers of the wrong kind.
class SituationChecks {
 public:
  explicit SituationChecks(ServiceReport& report) : report_(report) {}

  /// The answer of `set_data_receive`.
  void take_sides(const Value& sides);
  /// The initial record; false if there is nothing to go on with.
  bool take_initial(const Value& record);
  void take_update(const Value& record);

 private:
  void check_times(const Dict& scenario);
  void check_sides(const Dict& record);
  void meet_units(const std::string& side_id, const Dict& side);
  void check_unit_records(const std::string& side_id, const Dict& categories);
  void meet_contacts(const std::string& side_id, const Dict& side);
  void check_contact_places(const std::string& side_id, const Dict& places);
  void check_place(const Dict& place);
  /// Runs checks of a record, parts of which may be of any kind.
  void look_through(const std::function<void()>& checks);
  bool is_new(const std::string& side_id, const Value& id);
  void find(const std::string& wanted, const std::string& came) { report_.find(call_, wanted, came); }

  ServiceReport& report_;
  std::string call_;             // that answered with the record
  std::set<std::string> sides_;  // ids
  std::set<std::string> known_;  // units and contacts, "side id/id", also of those that are gone
};

}  // namespace tessra
