#include "Tessra/entitys/minemission.h"

namespace tessra {

const FieldTable& MineMission::fields() {
  static const FieldTable table(&mission_fields(), {
                                                       {"Zone", Kind::list},
                                                   });
  return table;
}

}  // namespace tessra
