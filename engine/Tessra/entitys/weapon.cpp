#include "Tessra/entitys/weapon.h"

namespace tessra {

const FieldTable& Weapon::fields() {
  static const FieldTable table(&unit_fields(), {
                                                    {"TargetID", Kind::string},
                                                    {"ShooterID", Kind::string},
                                                    {"WeaponName", Kind::string},
                                                });
  return table;
}

}  // namespace tessra
