// Merging an update. Deletions are copied out of the record first and applied last: the merge takes the record apart,
// and what it reports on must still be registered.

#include <fmt/printf.h>

#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/deduce_RL/agent_calls.h"
#include "Tessra/entitys/deduce_RL/contact_sharing.h"
#include "Tessra/entitys/deduce_RL/element_lookup.h"
#include "Tessra/entitys/deduce_RL/element_merge.h"
#include "Tessra/entitys/deduce_RL/key_messages.h"
#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/field_names.h"
#include "Tessra/entitys/gameenvs/utils.h"

namespace tessra {

namespace {

/// Merges the sides of one update, and keeps what their friends are to see of them.
class SideMerge {
 public:
  SideMerge(Deduction& engine, const Dict& scenario_info) : engine_(engine), scenario_info_(scenario_info) {}

  void run(const Value& side_id, const Dict& side_situation);
  const FriendViews& friend_views() const { return friend_views_; }

 private:
  void merge_units(std::string_view side_name, Dict& units, cf::Adopt adopt);
  void merge_new_unit(std::string_view side_name, const Value& unit_id, Value info);
  void merge_missions(std::string_view side_name, Dict& side_part);

  Deduction& engine_;
  const Dict& scenario_info_;
  FriendViews friend_views_;
};

void SideMerge::run(const Value& side_id, const Dict& side_situation) {
  const Value* known_name = engine_.side_id2name.find(side_id);
  if (known_name == nullptr) return;
  const std::string side_name = known_name->to_text();
  const bool is_friend = engine_.friend_side_set.contains(side_id.to_text());
  const auto* found = engine_.players.find(side_name);
  if (found == nullptr) {
    if (is_friend) friend_views_.set(side_id.to_text(), engine_.get_side_update_situation(side_name, side_situation));
    return;
  }
  work_on(engine_, side_name);
  RuleAgentBase& player = **found;
  Dict side_part = part_or_empty(side_situation, "Side");
  Dict real_part = part_or_empty(side_situation, "SideReal");

  const Dict current_contacts = player.get_dict("Contacts");
  SideView view = engine_.get_side_update_situation(side_name, side_situation, &current_contacts);
  // Friends get the view as it is now. The merge leaves its records as they are, but for what is new in them or adopted
  // from them, which goes on to change with the model: so it adopts copies instead.
  if (is_friend) friend_views_.set(side_id.to_text(), {view.units, view.contacts});
  const cf::Adopt adopt = is_friend ? cf::Adopt::copied : cf::Adopt::shared;
  merge_units(side_name, view.units, adopt);
  side_part.erase("ActiveUnitsInfo");
  merge_missions(side_name, side_part);
  real_part.erase("ActiveUnits");

  // A part that is empty gives way to the next one: the side's record is then that part itself.
  const auto join = [&side_part](const Dict& part) {
    if (side_part.empty()) {
      side_part = part;
    } else {
      side_part.update(part);
    }
  };
  if (!real_part.empty()) join(real_part);
  if (const Dict* descriptor = side_descriptor(scenario_info_, side_id)) join(*descriptor);
  if (side_situation.non_empty("SideVitalChange")) side_part.update(side_situation.at_dict("SideVitalChange"));
  side_part.set("Contacts", view.contacts);
  merge_element_info(engine_, player, side_part, adopt);

  if (const Dict* messages = side_situation.find_dict(utils::side_key_msg))
    merge_key_messages(engine_, player, side_name, *messages);
}

void SideMerge::merge_units(std::string_view side_name, Dict& units, cf::Adopt adopt) {
  const std::vector<Element*> found = elements_of(engine_, units);
  std::size_t at = 0;
  for (auto [unit_id, info] : units) {
    Element* element = found[at++];
    if (element == nullptr) element = element_of(engine_, unit_id);  // the ids 1 and "1" are one unit, made just now
    if (element != nullptr) {
      merge_element_info(engine_, *element, entry_dict(unit_id, info), adopt);
    } else if (engine_.crt_delete_units.contains(unit_id.to_text())) {
      log_only(engine_, LogLevel::info, [&, &id = unit_id, &entry = info] {
        const Dict& record = entry_dict(id, entry);
        const std::string first_key = record.empty() ? "No" : (*record.begin()).key.to_text();
        return fmt::sprintf("更新态势出错！推演中在推演方-%s-单元-%s删除后又有信息-%s-收到!", side_name, id.to_text(),
                            first_key);
      });
    } else {
      merge_new_unit(side_name, unit_id, cf::adopted(info, adopt));
    }
  }
}

void SideMerge::merge_new_unit(std::string_view side_name, const Value& unit_id, Value info) {
  entry_dict(unit_id, info).set(names::kId, unit_id);
  const Value* code = info.as_dict().find(names::kUnitType);
  if (code == nullptr) {
    log_or_print(engine_, LogLevel::error,
                 fmt::sprintf("更新态势出错！推演中新单元-%s-在推演方-%s-没有基本信息的UnitType!", unit_id.to_text(),
                              side_name));
  } else if (const auto type = unit_element_type(*code)) {
    engine_.create_element(cf::text_of(unit_id), std::move(info), *type, side_name);
  } else {
    log_or_print(engine_, LogLevel::error,
                 fmt::sprintf("更新态势出错！推演中在推演方-%s-新单元-%s-UnitType异常值:%d!", side_name,
                              unit_id.to_text(), whole_number(*code)));
  }
}

void SideMerge::merge_missions(std::string_view side_name, Dict& side_part) {
  take_missions(side_part, [&](const Value& guid, Value& info, ElementType type) {
    if (auto* const element = element_of(engine_, guid)) {
      engine_.update_element_info(*element, info.as_dict());
    } else {
      engine_.create_element(cf::text_of(guid), std::move(info), type, side_name);
    }
  });
}

}  // namespace

void Deduction::parse_update_situation(const Value& situation_data) {
  if (!situation_data.truthy()) return;
  const Dict& update = situation_data.as_dict();
  if (update.non_empty("IsEnd")) {
    log_only(*this, LogLevel::info, "receive end situation!");
    deduce_is_end = true;
  }
  const Dict deletions = deletion_share(update);

  const Dict scen = part_or_empty(update, "ScenarioInfo");
  const Dict situ = part_or_empty(update, "Situation");
  Dict side_situations = part_or_empty(situ, "SituationSides");
  if (!side_situations.empty()) {
    SideMerge merge(*this, scen);
    for (auto [side_id, side] : side_situations) merge.run(side_id, entry_dict(side_id, side));
    share_updated_contacts(*this, merge.friend_views());
    work_on(*this, "");
  }
  update_scenario_new(update);
  parse_delete_situation(deletions);
}

}  // namespace tessra
