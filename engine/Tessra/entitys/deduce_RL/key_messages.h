#pragma once

#include <string_view>

#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra {

/// Appends a side's new key messages (message type → list) to those its player holds. New contacts and detections also
/// go into the player's contacts.
void merge_key_messages(const Deduction& engine, RuleAgentBase& player, std::string_view side_name,
                        const Dict& messages);

}  // namespace tessra
