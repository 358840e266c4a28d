#include "Tessra/entitys/ship.h"

namespace tessra {

const FieldTable& Ship::fields() {
  static const FieldTable table(&unit_fields(), {
                                                    {"BaseID", Kind::string},
                                                    {"WeaponSalvos", Kind::dictionary},
                                                });
  return table;
}

}  // namespace tessra
