#include "Tessra/entitys/group.h"

namespace tessra {

const FieldTable& Group::fields() {
  static const FieldTable table(&unit_fields(), {
                                                    {"LeadID", Kind::string},
                                                    {"Members", Kind::list},
                                                });
  return table;
}

}  // namespace tessra
