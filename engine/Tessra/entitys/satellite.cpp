#include "Tessra/entitys/satellite.h"

namespace tessra {

const FieldTable& Satellite::fields() {
  static const FieldTable table(&unit_fields(), {
                                                    {"Orbit", Kind::dictionary},
                                                });
  return table;
}

}  // namespace tessra
