#pragma once

#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra {

/// `Deduction::update_element_info` for a record that others hold as well: `Adopt::copied` makes the element copy the
/// lists and dictionaries it adopts.
void merge_element_info(Deduction& engine, Element& element, const Dict& info, cf::Adopt adopt);

}  // namespace tessra
