// What of an update record the deletion pass reads. The pass runs last and must see the record as it was delivered,
// but the merge takes the record apart; so the deletions, and the little beside them that the pass reports on, are
// copied out first. The functions below follow the pass part by part: each returns the share of one kind of record.

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

namespace {

const Name kComponents[] = {names::kMounts, Name("Loadouts"), Name("CommDevices"), Name("Magazines")};

using Share = Dict (*)(const Dict& record);

/// Puts the share of the part under the key into `share`, unless nothing is left of it. A part of another kind comes
/// along as it is: what the pass cannot read in the record, it must not be able to read here.
void take_part(Dict& share, const Dict& record, const KeyRef& key, Share of_part) {
  const Value* part = record.find(key);
  if (part == nullptr) return;
  const Dict* dict = part->if_dict();
  if (dict == nullptr) {
    share.set(key, part->deep_copy(Texts::shared));
  } else if (const Dict left = of_part(*dict); !left.empty()) {
    share.set(key, left);
  }
}

/// The record's own deletions.
Dict deletions(const Dict& record) {
  const Value* listed = record.find(names::kMapdel);
  return listed != nullptr ? Dict{{names::kMapdel, listed->deep_copy(Texts::shared)}} : Dict();
}

/// The deletions of a table and those inside its records.
template <Share of_entry>
Dict table(const Dict& records) {
  Dict share;
  for (auto [id, record] : records) {
    const Dict* dict = record.if_dict();
    if (dict == nullptr || id.is_name(names::kMapdel)) {
      share.set(id, record.deep_copy(Texts::shared));
    } else if (const Dict left = of_entry(*dict); !left.empty()) {
      share.set(id, left);
    }
  }
  return share;
}

Dict doctrine(const Dict& record) {
  Dict share = deletions(record);
  take_part(share, record, names::kWRA, table<deletions>);
  return share;
}

Dict with_doctrine(const Dict& record) {
  Dict share = deletions(record);
  take_part(share, record, names::kDoctrine, doctrine);
  return share;
}

Dict unit_info(const Dict& record) {
  Dict share;
  take_part(share, record, names::kDoctrine, doctrine);
  return share;
}

Dict weapons_of_component(const Dict& record) {
  Dict share = deletions(record);
  take_part(share, record, names::kWeaponRecs, table<deletions>);
  take_part(share, record, names::kMagazineWeaponRecs, table<deletions>);
  return share;
}

Dict cargo(const Dict& record) {
  Dict share = deletions(record);
  take_part(share, record, names::kMounts, table<weapons_of_component>);
  return share;
}

Dict active_unit(const Dict& record) {
  Dict share = deletions(record);
  take_part(share, record, names::kAI, deletions);
  for (const Name components : kComponents) {
    take_part(share, record, components, table<weapons_of_component>);
  }
  take_part(share, record, names::kCargos, table<cargo>);
  return share;
}

Dict live_unit(const Dict& record) {
  Dict share = deletions(record);
  take_part(share, record, names::kActiveUnit, active_unit);
  return share;
}

Dict mission(const Dict& record) {
  Dict share = deletions(record);
  take_part(share, record, "Mission", with_doctrine);
  return share;
}

/// Missions keep their ids, also without deletions: the pass reports those that are not registered.
Dict missions_of_category(const Dict& records) {
  Dict share;
  for (auto [id, record] : records) {
    const Dict* dict = record.if_dict();
    share.set(id, dict != nullptr ? Value(mission(*dict)) : record.deep_copy(Texts::shared));
  }
  return share;
}

Dict basic_part(const Dict& side) {
  Dict share = deletions(side);
  take_part(share, side, "Missions", table<missions_of_category>);
  take_part(share, side, names::kDoctrine, doctrine);
  take_part(share, side, "ActiveUnitsInfo", table<unit_info>);
  return share;
}

Dict live_part(const Dict& real) {
  Dict share = deletions(real);
  take_part(share, real, "WeaponSalvos", table<deletions>);
  take_part(share, real, "ActiveUnits", table<table<live_unit>>);
  take_part(share, real, "Contacts", table<deletions>);
  return share;
}

Dict side_record(const Dict& record) {
  Dict share;
  take_part(share, record, "Side", basic_part);
  take_part(share, record, "SideReal", live_part);
  take_part(share, record, "SidePosition", deletions);
  return share;
}

Dict situation_info(const Dict& info) {
  Dict share;
  take_part(share, info, "NonActiveUnits", deletions);
  return share;
}

Dict situation(const Dict& record) {
  Dict share;
  take_part(share, record, "SituationInfo", situation_info);
  take_part(share, record, "SituationSides", table<side_record>);
  return share;
}

Dict events(const Dict& record) {
  Dict share = deletions(record);
  for (const std::string_view events_table : {"EventTriggers", "EventConditions", "EventActions", "SimEvents"}) {
    take_part(share, record, events_table, deletions);
  }
  return share;
}

}  // namespace

Dict Deduction::deletion_share(const Dict& situation_data) {
  Dict share;
  take_part(share, situation_data, "Situation", situation);
  take_part(share, situation_data, "Events", events);
  return share;
}

}  // namespace tessra
