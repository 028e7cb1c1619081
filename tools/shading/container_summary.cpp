#include "tools/shading/container_summary.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/load.h"
#include "cmc_parser/records/kept_layouts.h"

namespace shading {
namespace {

struct slot_state {
  const char* name;
  bool filled;
};

/// The slots by the names of the C structure.
[[nodiscard]] std::vector<slot_state> slots_of(const parsed_cmc& cmc) {
  return {{"general", cmc.general.record != nullptr},
          {"module_properties", cmc.module_properties != nullptr},
          {"record_5", cmc.record_5 != nullptr},
          {"record_6", cmc.record_6.record != nullptr},
          {"record_7", cmc.record_7 != nullptr},
          {"record_8", cmc.record_8 != nullptr},
          {"record_9", cmc.record_9 != nullptr},
          {"lsc_grid", cmc.lsc_grid.record != nullptr},
          {"record_13", cmc.record_13.record != nullptr},
          {"record_14", cmc.record_14.record != nullptr},
          {"record_15", cmc.record_15.record != nullptr},
          {"record_16", cmc.record_16.record != nullptr},
          {"record_17", cmc.record_17.record != nullptr},
          {"record_18", cmc.record_18.record != nullptr},
          {"record_19", cmc.record_19.record != nullptr},
          {"record_20", cmc.record_20.record != nullptr},
          {"record_21", cmc.record_21 != nullptr},
          {"record_22", cmc.record_22 != nullptr},
          {"record_23", cmc.record_23 != nullptr},
          {"record_24", cmc.record_24 != nullptr},
          {"record_25", cmc.record_25.record != nullptr},
          {"record_26", cmc.record_26 != nullptr},
          {"record_27", cmc.record_27 != nullptr},
          {"record_29", cmc.record_29 != nullptr},
          {"record_30", cmc.record_30 != nullptr},
          {"lens_shading", cmc.lens_shading != nullptr},
          {"lens_shading_ext", cmc.lens_shading_ext != nullptr},
          {"record_31", cmc.record_31 != nullptr},
          {"record_32", cmc.record_32 != nullptr},
          {"record_34", cmc.record_34 != nullptr},
          {"record_35", cmc.record_35.first != nullptr},
          {"record_36", cmc.record_36 != nullptr},
          {"others", cmc.others != nullptr}};
}

[[nodiscard]] std::string names_of(const std::vector<slot_state>& slots, bool filled) {
  std::string result;
  for (const slot_state& slot : slots) {
    if (slot.filled != filled) continue;
    if (!result.empty()) result += ", ";
    result += slot.name;
  }
  return result.empty() ? "none" : result;
}

[[nodiscard]] std::string findings_text(const std::vector<findings::finding>& found) {
  const auto count = [&found](findings::severity how_bad) {
    return std::count_if(found.begin(), found.end(), [how_bad](const findings::finding& finding) {
      return finding.how_bad == how_bad;
    });
  };
  return fmt::format("errors: {}, warnings: {}, notes: {}", count(findings::severity::error),
                     count(findings::severity::warning), count(findings::severity::note));
}

[[nodiscard]] std::string or_none(uint16_t kind) {
  return kind != 0 ? fmt::format("record {}", kind) : "not known";
}

}  // namespace

std::vector<std::pair<std::string, std::string>> summary_of(const subject& about,
                                                            size_t container_size,
                                                            const findings::inspection& shown,
                                                            const findings::inspection& unmerged) {
  std::vector<std::pair<std::string, std::string>> result;
  const auto add = [&result](const char* name, std::string value) {
    result.emplace_back(name, std::move(value));
  };
  add("file", about.file);
  add("size", fmt::format("{} bytes", container_size));
  add("container", about.valid ? "valid" : "not valid");
  if (shown.cmc != nullptr && unmerged.cmc != nullptr) {
    const parsed_cmc& cmc = *shown.cmc;
    add("module name", about.module_name);
    add("lens-shading tables",
        fmt::format("{} x {} samples, {} lights", about.width, about.height, about.lights.size()));
    if (shown.from.lens_shading != 0 || shown.from.lens_shading_ext != 0) {
      add("tables before the module", or_none(shown.from.lens_shading));
      add("tables for the module's gains", or_none(shown.from.lens_shading_ext));
    }
    add("colour-filter layout", cmc.module_properties != nullptr
                                    ? fmt::format("{}", cmc.module_properties->cfa_layout)
                                    : "record 2 is missing");
    const record_header* const record_17 = cmc.record_17.record;
    add("module's grids",
        record_17 != nullptr
            ? fmt::format("plane order {}, orientation {}",
                          qo::load<uint16_t>(record_17, qo::record_17_layout::plane_order),
                          qo::load<uint16_t>(record_17, qo::record_17_layout::orientation))
            : "record 17 is missing");
    const std::vector<slot_state> slots = slots_of(cmc);
    const auto filled = std::count_if(slots.begin(), slots.end(),
                                      [](const slot_state& slot) { return slot.filled; });
    add("slots filled", fmt::format("{} of {}: {}", filled, slots.size(), names_of(slots, true)));
    add("slots empty", names_of(slots, false));
  }
  add("findings", findings_text(about.found));
  add("module's calibration", about.module_state);
  return result;
}

}  // namespace shading
