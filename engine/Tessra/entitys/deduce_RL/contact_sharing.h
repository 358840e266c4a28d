#pragma once

#include "Tessra/base/ordered_map.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

// Friendly sides share their contacts. Both the initial build and every update end with this.

namespace tessra {

/// What friends of the played sides see, by side id.
using FriendViews = OrderedMap<SideView>;

/// Gives every player its friends' units, and those of their contacts that are new or better than its own.
void share_initial_contacts(Deduction& engine, const FriendViews& views);
/// The same for an update, merged into what the players already hold.
void share_updated_contacts(Deduction& engine, const FriendViews& views);

}  // namespace tessra
