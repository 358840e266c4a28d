#include "Tessra/entitys/supportmission.h"

namespace tessra {

const FieldTable& SupportMission::fields() {
  static const FieldTable table(&mission_fields(), {
                                                       {"Zone", Kind::list},
                                                   });
  return table;
}

}  // namespace tessra
