#include "Tessra/entitys/submarine.h"

namespace tessra {

const FieldTable& Submarine::fields() {
  static const FieldTable table(&unit_fields(), {
                                                    {"BaseID", Kind::string},
                                                });
  return table;
}

void Submarine::set_depth(double metres) { queue(command("SetAltitude").number("ALTITUDE", -metres)); }

}  // namespace tessra
