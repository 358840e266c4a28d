#include "Tessra/entitys/mineclearmission.h"

namespace tessra {

const FieldTable& MineClearMission::fields() {
  static const FieldTable table(&mission_fields(), {
                                                       {"Zone", Kind::list},
                                                   });
  return table;
}

}  // namespace tessra
