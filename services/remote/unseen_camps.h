#pragma once

#include <string>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::remote {

/// The sides that a configuration in AI-apply mode plays or scores against.
std::vector<std::string> camps_of(const Dict& section);

/// An agent's initial record has no part of the sides it may not see, but the engine scores a round for two camps.
/// Gives each camp that the record does not name an empty part with the score 0: the true one is the scheduling
/// client's to tell.
void add_unseen_camps(Dict& record, const std::vector<std::string>& camps);

}  // namespace tessra::remote
