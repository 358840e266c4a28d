#include "Tessra/entitys/aircraft.h"

namespace tessra {

const FieldTable& Aircraft::fields() {
  static const FieldTable table(&unit_fields(), {
                                                    {"BaseID", Kind::string},
                                                    {"LoadoutName", Kind::string},
                                                });
  return table;
}

void Aircraft::set_altitude(double metres) { queue(command("SetAltitude").number("ALTITUDE", metres)); }

}  // namespace tessra
