#include "Tessra/entitys/global_util.h"

#include <algorithm>
#include <iterator>

namespace tessra {

namespace {

struct Category {
  std::string_view name;
  ElementType type;
};

constexpr Category kCategories[] = {
    {"Aircraft", ElementType::Aircraft},
    {"Ship", ElementType::Ship},
    {"Submarine", ElementType::Submarine},
    {"Facility", ElementType::Facility},
    {"Satellite", ElementType::Satellite},
    {"Weapon", ElementType::Weapon},
    {"Group", ElementType::Group},
    {"Strike", ElementType::StrikeMission},
    {"Patrol", ElementType::PatrolMission},
    {"Support", ElementType::SupportMission},
    {"Ferry", ElementType::FerryMission},
    {"Mining", ElementType::MineMission},
    {"MineClearing", ElementType::MineClearMission},
    {"CargoTransfer", ElementType::CargoMission},
};

}  // namespace

const ElementType* classname2element(const KeyRef& category) {
  const auto* found = std::ranges::find(kCategories, category.text(), &Category::name);
  return found != std::end(kCategories) ? &found->type : nullptr;
}

}  // namespace tessra
