#include "Tessra/entitys/facility.h"

namespace tessra {

const FieldTable& Facility::fields() {
  static const FieldTable table(&unit_fields(), {
                                                    {"HostedUnits", Kind::list},
                                                });
  return table;
}

}  // namespace tessra
