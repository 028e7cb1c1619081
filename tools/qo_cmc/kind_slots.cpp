#include "tools/qo_cmc/kind_slots.h"

namespace qo_cmc {
namespace {

/// Whether a record of this kind is what stands in the slot.
bool came_from(const std::string& slot, uint16_t id, const findings::origins& from) {
  if (slot == "lens_shading") return from.lens_shading == id;
  if (slot == "lens_shading_ext") return from.lens_shading_ext == id;
  if (slot == "record_31") return from.record_31 == id;
  return true;
}

}  // namespace

std::vector<std::string> slots_of_kind(uint16_t id) {
  switch (id) {
    case 3:
      return {"record_31"};
    case 10:
      return {"lsc_grid", "lens_shading"};
    case 11:
    case 33:
      return {"lens_shading_ext"};
    case 28:
      return {"lens_shading"};
    default: {
      const std::string name = findings::name_of_kind(id);
      if (name.empty()) return {};
      return {name};
    }
  }
}

nlohmann::ordered_json only_slots_of_kind(const nlohmann::ordered_json& slots, uint16_t id,
                                          const findings::origins& from) {
  nlohmann::ordered_json only = nlohmann::ordered_json::object();
  for (const std::string& slot : slots_of_kind(id)) {
    const auto found = slots.find(slot);
    only[slot] = found != slots.end() && came_from(slot, id, from) ? *found : nullptr;
  }
  return only;
}

}  // namespace qo_cmc
