#pragma once

#include "Tessra/base/ordered_map.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

// Friendly sides share their contacts. Both the initial build and every update end with this.

namespace tessra {

/// What friends of the played sides see, by side id.
using FriendViews = OrderedMap<SideView>;

/// Gives every player its friends' units and the contacts that it does not hold itself.
void share_initial_contacts(Deduction& engine, const FriendViews& views);
/// The same for what an update brought: merges it into what the players hold already.
void share_updated_contacts(Deduction& engine, const FriendViews& views);

}  // namespace tessra
