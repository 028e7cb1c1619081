// The lists of records that sweeps run over.
#include "cmc_parser/records/kinds.h"
#include "writer/records.h"

namespace writer {
namespace {

constexpr uint8_t each_version[] = {99, 100, 101, 102, 103, 104};
constexpr uint8_t few_versions[] = {99, 100, 104};

class collection {
 public:
  /// The record that `build` makes of `fields` at each of `versions`.
  template <typename Fields, size_t Count>
  collection& add(bytes (*build)(const Fields&), const uint8_t (&versions)[Count],
                  Fields fields = {}, const std::string& special = {}) {
    for (const uint8_t version : versions) {
      fields.version = version;
      bytes content = build(fields);
      std::string name = "record_" + std::to_string(content.u16_at(6)) + "_v" +
                         std::to_string(version) + (special.empty() ? "" : "_" + special);
      records_.push_back({std::move(name), std::move(content)});
    }
    return *this;
  }
  std::vector<named_record> take() { return std::move(records_); }

 private:
  std::vector<named_record> records_;
};

const std::vector<int8_t> no_planes(16, -1);
const std::vector<int8_t> sixteen_sites = {0, 1, 2, 1, 3, 4, 3, 4, 2, 1, 0, 1, 3, 4, 3, 4};

}  // namespace

std::vector<named_record> every_good_record() {
  collection all;
  all.add(record_1, each_version)
      .add(record_1, each_version, {.name = "", .pairs = {}}, "nameless_without_pairs")
      .add(record_2, each_version)
      .add(record_3, few_versions)
      .add(record_3, few_versions, {.entries = {}}, "without_entries")
      .add(record_5, few_versions)
      .add(record_6, few_versions)
      .add(record_6, few_versions, {.counts = {0, 0, 0, 0}}, "without_values")
      .add(record_7, few_versions)
      .add(record_8, few_versions)
      .add(record_8, few_versions, {.size = 8}, "header_alone")
      .add(record_9, few_versions)
      .add(record_10, each_version)
      .add(record_10, each_version, {.lights = 0}, "without_lights")
      .add(record_10, each_version, {.width = 0}, "without_samples")
      .add(record_11, each_version)
      .add(record_11, each_version, {.lights = 0}, "without_lights")
      .add(record_11, each_version, {.height = 0}, "without_samples")
      .add(record_13, each_version)
      .add(record_13, each_version, {.count = 0}, "without_values")
      .add(record_14, few_versions)
      .add(record_14, few_versions, {.step = 0}, "without_step")
      .add(record_15, few_versions)
      .add(record_15, few_versions, {.entry_counts = {}}, "without_entries")
      .add(record_15, few_versions, {.a = 0, .b = 0}, "without_sections")
      .add(record_16, few_versions)
      .add(record_16, few_versions, {.count = 0}, "without_items")
      .add(record_17, each_version)
      .add(record_17, each_version, {.payload_bytes = 2}, "short_payload")
      .add(record_18, each_version)
      .add(record_18, each_version, {.count = 0}, "without_entries")
      .add(record_19, few_versions)
      .add(record_19, few_versions, {.entries = {}, .pairs = {}}, "without_entries")
      .add(record_20, each_version)
      .add(record_20, each_version, {.pairs = {}}, "without_pairs")
      .add(record_20, each_version, {.form = 0}, "another_form")
      .add(record_21, few_versions);
  all.add(record_22, each_version)
      .add(record_22, each_version, {.grid_entries = 0, .items = 0, .list_counts = {}},
           "without_entries")
      .add(record_22, each_version, {.width = 0}, "without_points")
      .add(record_23, few_versions)
      .add(record_24, few_versions)
      .add(record_24, few_versions, {.counts = {}}, "without_entries")
      .add(record_25, each_version)
      .add(record_25, each_version, {.entries = 0}, "without_entries")
      .add(record_25, each_version, {.items = 0}, "without_items")
      .add(record_26, each_version)
      .add(record_27, each_version)
      .add(record_27, each_version, {.entries = 0}, "without_entries")
      .add(record_27, each_version, {.planes = 0}, "without_planes")
      .add(record_28, few_versions)
      .add(record_28, few_versions, {.lights = 0}, "without_lights")
      .add(record_28, few_versions, {.channel_map = no_planes}, "without_planes")
      .add(record_28, few_versions, {.channel_map = sixteen_sites}, "sixteen_sites")
      .add(record_29, few_versions)
      .add(record_29, few_versions, {.width = 1, .height = 1}, "one_point")
      .add(record_30, each_version)
      .add(record_30, each_version, {.items = 0}, "without_items")
      .add(record_30, each_version, {.width = 0}, "without_points")
      .add(record_30, each_version, {.trailing_rows = 0}, "without_trailing")
      .add(record_31, few_versions)
      .add(record_31, few_versions, {.count = 0}, "without_entries")
      .add(record_32, few_versions)
      .add(record_33, few_versions)
      .add(record_33, few_versions, {.lights = 0}, "without_lights")
      .add(record_33, few_versions, {.channel_map = no_planes}, "without_planes")
      .add(record_33, few_versions, {.channel_map = sixteen_sites}, "sixteen_sites")
      .add(record_34, few_versions)
      .add(record_34, few_versions, {.blocks = {}}, "without_blocks")
      .add(record_34, few_versions, {.blocks = std::vector<record_34_block>(6)}, "six_blocks")
      .add(record_35, few_versions)
      .add(record_35, few_versions, {.count = 0}, "without_entries")
      .add(record_36, few_versions)
      .add(record_36, few_versions, {.count = 0}, "without_entries");
  return all.take();
}

std::vector<named_record> every_slotless_record() {
  std::vector<named_record> all;
  const auto add_plain = [&all](uint16_t id) {
    all.push_back({"record_" + std::to_string(id), plain_record(id)});
  };
  for (uint16_t id = 0; id <= 63; ++id)
    if (!qo::is_record_kind(id)) add_plain(id);
  for (const uint16_t id : {uint16_t{64}, uint16_t{721}, uint16_t{65535}}) add_plain(id);
  all.push_back({"record_722", record_722()});
  all.push_back({"record_722_without_values", record_722({.values = {}})});
  return all;
}

}  // namespace writer
