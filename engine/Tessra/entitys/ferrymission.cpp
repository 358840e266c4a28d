#include "Tessra/entitys/ferrymission.h"

namespace tessra {

const FieldTable& FerryMission::fields() {
  static const FieldTable table(&mission_fields(), {
                                                       {"DestinationID", Kind::string},
                                                   });
  return table;
}

}  // namespace tessra
