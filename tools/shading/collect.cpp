// collect(): from a container's bytes to the tables that are drawn.

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "tools/shading/channel_names.h"
#include "tools/shading/container_summary.h"
#include "tools/shading/repeated_merge.h"
#include "tools/shading/shading.h"

namespace shading {
namespace {

/// One site's tables, borrowed.
struct site_tables {
  cell_site site;
  const uint16_t* before;
  const uint16_t* after;   ///< null without a merge
  const uint16_t* source;  ///< null where the merge leaves the site alone
};

[[nodiscard]] bool same_samples(const uint16_t* a, const uint16_t* b, size_t count) {
  if (a == nullptr || b == nullptr) return a == b;
  return std::equal(a, a + count, b);
}

/// The two parses of one light, and the merge as it stands at that light.
struct light_tables {
  const lens_shading_light& before;
  const lens_shading_light* after;  ///< null without a merge
  const repeated_merge* merge;      ///< null where the light was not corrected
  size_t samples;
};

[[nodiscard]] std::vector<site_tables> tables_of(const light_tables& light) {
  std::vector<site_tables> result;
  for (size_t row = 0; row < table_side; ++row) {
    for (size_t column = 0; column < table_side; ++column) {
      const uint16_t* const before = light.before.tables[row][column];
      if (before == nullptr) continue;
      const uint16_t* const after =
          light.after != nullptr ? light.after->tables[row][column] : nullptr;
      const uint16_t* const source =
          light.merge != nullptr ? light.merge->source_of(row, column) : nullptr;
      result.push_back({{row, column}, before, after, source});
    }
  }
  return result;
}

[[nodiscard]] plane_pair pair_of(const light_tables& light, const site_tables& tables) {
  plane_pair result;
  result.sites = text_of(tables.site);
  result.before.assign(tables.before, tables.before + light.samples);
  if (tables.after == nullptr) return result;
  result.after.assign(tables.after, tables.after + light.samples);
  if (light.merge == nullptr) return result;
  site_products products = light.merge->products_of(tables.site.row, tables.site.column);
  // What is said of the products holds only where they are the ones that the merge stored.
  if (products.product != result.after) return result;
  result.gain = std::move(products.gain);
  result.wrapped = std::move(products.wrapped);
  result.wrapped_known = true;
  return result;
}

/// The channels of one colour: one for all sites whose tables are the same, as in a cell of 4 x 4
/// sites that repeats its planes.
[[nodiscard]] std::vector<plane_pair> channels_of_colour(const light_tables& light,
                                                         const std::vector<site_tables>& sites,
                                                         qo::colour which) {
  std::vector<plane_pair> result;
  std::vector<const site_tables*> firsts;
  for (const site_tables& tables : sites) {
    const auto same = std::find_if(firsts.begin(), firsts.end(), [&](const site_tables* first) {
      return same_samples(first->before, tables.before, light.samples) &&
             same_samples(first->after, tables.after, light.samples) &&
             same_samples(first->source, tables.source, light.samples);
    });
    if (same == firsts.end()) {
      firsts.push_back(&tables);
      result.push_back(pair_of(light, tables));
    } else {
      result[static_cast<size_t>(same - firsts.begin())].sites +=
          fmt::format(" {}", text_of(tables.site));
    }
  }
  for (size_t i = 0; i < result.size(); ++i)
    result[i].channel = result.size() == 1
                            ? name_of(which)
                            : fmt::format("{} {}", name_of(which), text_of(firsts[i]->site));
  return result;
}

[[nodiscard]] std::vector<plane_pair> channels_of(const light_tables& light,
                                                  const module_properties_record* record_2) {
  const std::vector<site_tables> all = tables_of(light);
  std::vector<plane_pair> result;
  for (const qo::colour which : shown_colours) {
    std::vector<site_tables> sites;
    std::copy_if(all.begin(), all.end(), std::back_inserter(sites), [&](const site_tables& tables) {
      return colour_of(record_2, tables.site) == which;
    });
    for (plane_pair& channel : channels_of_colour(light, sites, which))
      result.push_back(std::move(channel));
  }
  for (const site_tables& tables : all) {
    if (colour_of(record_2, tables.site)) continue;
    plane_pair channel = pair_of(light, tables);
    channel.channel = fmt::format("site {}", channel.sites);
    result.push_back(std::move(channel));
  }
  return result;
}

[[nodiscard]] bool same_shape(const lens_shading_set& a, const lens_shading_set& b) {
  return a.width == b.width && a.height == b.height && a.light_count == b.light_count;
}

/// What the inspection found about the NVM image and the merge, as sentences; empty when all went
/// well.
[[nodiscard]] std::string merge_reasons(const std::vector<findings::finding>& found) {
  static constexpr std::string_view codes[] = {"nvm-empty",
                                               "nvm-refused",
                                               "merge-without-lens-shading",
                                               "merge-without-extended-set",
                                               "merge-without-properties",
                                               "merge-without-record-17",
                                               "merge-without-lights",
                                               "merge-without-tables",
                                               "gains-not-computed",
                                               "extended-set-too-small",
                                               "gain-table-missing",
                                               "plane-order-unknown",
                                               "cfa-layout-unknown"};
  std::string result;
  for (const findings::finding& finding : found) {
    if (std::find(std::begin(codes), std::end(codes), finding.code) == std::end(codes)) continue;
    if (!result.empty()) result += ' ';
    result += finding.message;
  }
  return result;
}

/// Fills `about` with the lights, and what became of the module's calibration.
class light_collector {
 public:
  /// `merged` is null without an NVM image.
  light_collector(subject& about, const parsed_cmc& unmerged, const findings::inspection* merged,
                  std::span<const uint8_t> nvm)
      : about_(about), cmc_(unmerged), before_(*unmerged.lens_shading) {
    if (merged == nullptr) {
      about_.module_state =
          "No NVM image was given: the tables are shown as the container holds them, before a "
          "module's calibration.";
      return;
    }
    reasons_ = merge_reasons(merged->found);
    if (merged->from.merged && merged->cmc != nullptr && merged->cmc->lens_shading != nullptr &&
        same_shape(before_, *merged->cmc->lens_shading)) {
      after_ = merged->cmc->lens_shading;
      merge_.emplace(unmerged, nvm);
      about_.has_module = true;
      return;
    }
    about_.module_lost = true;
    about_.module_state =
        fmt::format("{} The tables are shown as the container holds them.",
                    reasons_.empty() ? "The module's calibration is not merged." : reasons_);
  }

  void collect_lights() {
    about_.width = before_.width;
    about_.height = before_.height;
    for (size_t i = 0; i < before_.light_count; ++i) add_light(i);
    if (!about_.has_module) return;
    if (corrected_ == about_.lights.size()) {
      about_.module_state = "The module's calibration is merged into the tables of every light.";
    } else {
      about_.module_lost = true;
      about_.module_state =
          fmt::format("The module's calibration is merged into {} of {} lights. {}", corrected_,
                      about_.lights.size(), reasons_);
    }
  }

 private:
  void add_light(size_t index) {
    const lens_shading_light& before = before_.lights[index];
    const lens_shading_light* const after = after_ != nullptr ? &after_->lights[index] : nullptr;
    const bool corrected = after != nullptr && merge_->next_light();
    light_panels light = {.light_id = after != nullptr ? after->light_id : before.light_id,
                          .fraction_bits_before = before.fraction_bits,
                          .fraction_bits_after = (after != nullptr ? *after : before).fraction_bits,
                          .channels = {},
                          .not_corrected = {}};
    light.channels = channels_of({.before = before,
                                  .after = after,
                                  .merge = corrected ? &*merge_ : nullptr,
                                  .samples = size_t{before_.width} * before_.height},
                                 cmc_.module_properties);
    if (corrected)
      ++corrected_;
    else if (after != nullptr)
      light.not_corrected = reasons_.empty() ? "The merge did not come to this light." : reasons_;
    about_.lights.push_back(std::move(light));
  }

  subject& about_;
  const parsed_cmc& cmc_;
  const lens_shading_set& before_;
  const lens_shading_set* after_ = nullptr;
  std::optional<repeated_merge> merge_;
  std::string reasons_;
  size_t corrected_ = 0;
};

}  // namespace

subject collect(const std::string& file, std::span<const uint8_t> container,
                std::optional<std::span<const uint8_t>> nvm) {
  subject about;
  about.file = findings::escaped(file);
  const findings::inspection unmerged = findings::inspect(container, std::nullopt);
  findings::inspection merged;
  if (nvm) merged = findings::inspect(container, nvm);
  const findings::inspection& shown = nvm ? merged : unmerged;
  about.valid = shown.valid;
  about.found = shown.found;
  if (unmerged.cmc != nullptr) {
    const parsed_cmc& cmc = *unmerged.cmc;
    if (cmc.general.name != nullptr) about.module_name = findings::escaped(cmc.general.name);
    if (cmc.lens_shading == nullptr)
      about.module_state = "The container gives no lens-shading tables (records 10 and 28).";
    else
      light_collector(about, cmc, nvm ? &merged : nullptr, nvm.value_or(std::span<const uint8_t>()))
          .collect_lights();
  } else {
    about.module_state = "The container is not valid: there is nothing to show.";
  }
  about.summary = summary_of(about, container.size(), shown, unmerged);
  return about;
}

}  // namespace shading
