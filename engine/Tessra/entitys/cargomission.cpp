#include "Tessra/entitys/cargomission.h"

namespace tessra {

const FieldTable& CargoMission::fields() {
  static const FieldTable table(&mission_fields(), {
                                                       {"MountsToUnload", Kind::dictionary},
                                                       {"Cargos", Kind::dictionary},
                                                   });
  return table;
}

}  // namespace tessra
