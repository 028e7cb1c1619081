// Sizes and offsets that other libraries of the stack were compiled against.

#include <bit>
#include <cstddef>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/lsc.h"
#include "qo_cmc/parser.h"
#include "qo_nvm.h"

static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(void*) == 8);

// Slot k of the parsed CMC is at byte 8 (k - 1).
#define QO_ASSERT_SLOT(number, member) \
  static_assert(offsetof(parsed_cmc, member) == 8 * ((number)-1))
#define QO_ASSERT_AT(offset, structure, member) \
  static_assert(offsetof(structure, member) == (offset))

static_assert(sizeof(parsed_cmc) == 62 * 8,
              "a new slot changes the binary interface: see 'To add a record kind' in HACKING.md");
QO_ASSERT_SLOT(1, general.record);
QO_ASSERT_SLOT(2, general.name);
QO_ASSERT_SLOT(3, general.pair_count);
QO_ASSERT_SLOT(4, general.pairs);
QO_ASSERT_SLOT(5, module_properties);
QO_ASSERT_SLOT(6, unused_6);
QO_ASSERT_SLOT(7, unused_7);
QO_ASSERT_SLOT(8, record_5);
QO_ASSERT_SLOT(9, record_6.record);
QO_ASSERT_SLOT(10, record_6.payload);
QO_ASSERT_SLOT(11, record_7);
QO_ASSERT_SLOT(12, record_8);
QO_ASSERT_SLOT(13, record_9);
QO_ASSERT_SLOT(14, lsc_grid.record);
QO_ASSERT_SLOT(15, lsc_grid.blocks);
QO_ASSERT_SLOT(16, lsc_grid.first_table);
QO_ASSERT_SLOT(17, lsc_grid.light_gains);
QO_ASSERT_SLOT(18, record_13.record);
QO_ASSERT_SLOT(19, record_13.values);
QO_ASSERT_SLOT(20, record_13.params);
QO_ASSERT_SLOT(21, record_14.record);
QO_ASSERT_SLOT(22, record_14.payload);
QO_ASSERT_SLOT(23, record_15.record);
QO_ASSERT_SLOT(24, record_15.body);
QO_ASSERT_SLOT(25, record_15.section_1);
QO_ASSERT_SLOT(26, record_15.section_2);
QO_ASSERT_SLOT(27, record_15.section_3);
QO_ASSERT_SLOT(28, record_15.sub_table);
QO_ASSERT_SLOT(29, record_15.counts);
QO_ASSERT_SLOT(30, record_16.record);
QO_ASSERT_SLOT(31, record_16.payload);
QO_ASSERT_SLOT(32, record_17.record);
QO_ASSERT_SLOT(33, record_17.payload);
QO_ASSERT_SLOT(34, record_18.record);
QO_ASSERT_SLOT(35, record_18.entries);
QO_ASSERT_SLOT(36, record_18.tail);
QO_ASSERT_SLOT(37, record_19.record);
QO_ASSERT_SLOT(38, record_19.entries);
QO_ASSERT_SLOT(39, record_19.tail);
QO_ASSERT_SLOT(40, record_20.record);
QO_ASSERT_SLOT(41, record_20.payload);
QO_ASSERT_SLOT(42, record_20.tail);
QO_ASSERT_SLOT(43, record_22);
QO_ASSERT_SLOT(44, record_23);
QO_ASSERT_SLOT(45, record_24);
QO_ASSERT_SLOT(46, record_21);
QO_ASSERT_SLOT(47, record_25.record);
QO_ASSERT_SLOT(48, record_25.payload);
QO_ASSERT_SLOT(49, record_25.entries);
QO_ASSERT_SLOT(50, record_26);
QO_ASSERT_SLOT(51, record_27);
QO_ASSERT_SLOT(52, record_30);
QO_ASSERT_SLOT(53, record_29);
QO_ASSERT_SLOT(54, lens_shading);
QO_ASSERT_SLOT(55, record_31);
QO_ASSERT_SLOT(56, record_32);
QO_ASSERT_SLOT(57, lens_shading_ext);
QO_ASSERT_SLOT(58, record_34);
QO_ASSERT_SLOT(59, record_35.first);
QO_ASSERT_SLOT(60, record_35.second);
QO_ASSERT_SLOT(61, record_36);
QO_ASSERT_SLOT(62, others);

static_assert(sizeof(qo_blob) == 16);
QO_ASSERT_AT(0, qo_blob, data);
QO_ASSERT_AT(8, qo_blob, size);

static_assert(sizeof(record_header) == 8);
QO_ASSERT_AT(4, record_header, version);
QO_ASSERT_AT(6, record_header, id);

static_assert(sizeof(string_pair) == 16);

static_assert(sizeof(module_properties_record) == 36);
QO_ASSERT_AT(12, module_properties_record, value_12);
QO_ASSERT_AT(14, module_properties_record, cfa_layout);
QO_ASSERT_AT(16, module_properties_record, value_16);
QO_ASSERT_AT(34, module_properties_record, value_34);

static_assert(sizeof(parsed_cmc::record_13.params) == 8);
static_assert(sizeof(parsed_cmc::record_15) == 56);

static_assert(sizeof(record_15_sub_table) == 16);
QO_ASSERT_AT(8, record_15_sub_table, entries);
static_assert(sizeof(record_15_entry) == 32);
QO_ASSERT_AT(8, record_15_entry, value_8);
QO_ASSERT_AT(16, record_15_entry, array_first);
QO_ASSERT_AT(24, record_15_entry, array_second);

static_assert(sizeof(record_22_content) == 1104);
QO_ASSERT_AT(4, record_22_content, width);
QO_ASSERT_AT(6, record_22_content, height);
QO_ASSERT_AT(8, record_22_content, value_16);
QO_ASSERT_AT(12, record_22_content, grid_count);
QO_ASSERT_AT(16, record_22_content, value_items);
QO_ASSERT_AT(20, record_22_content, item_count);
QO_ASSERT_AT(24, record_22_content, block);
QO_ASSERT_AT(1048, record_22_content, block_tail);
QO_ASSERT_AT(1064, record_22_content, grid);
QO_ASSERT_AT(1072, record_22_content, items);
QO_ASSERT_AT(1080, record_22_content, value_list);
QO_ASSERT_AT(1084, record_22_content, list_count);
QO_ASSERT_AT(1088, record_22_content, list);
QO_ASSERT_AT(1096, record_22_content, list_tail);
static_assert(sizeof(record_22_grid_entry) == 24);
QO_ASSERT_AT(8, record_22_grid_entry, first_half);
QO_ASSERT_AT(16, record_22_grid_entry, second_half);
static_assert(sizeof(record_22_list_entry) == 24);
QO_ASSERT_AT(12, record_22_list_entry, count);
QO_ASSERT_AT(16, record_22_list_entry, values);

static_assert(sizeof(record_24_content) == 24);
QO_ASSERT_AT(14, record_24_content, count);
QO_ASSERT_AT(16, record_24_content, entries);
static_assert(sizeof(record_24_entry) == 24);
QO_ASSERT_AT(2, record_24_entry, count);
QO_ASSERT_AT(16, record_24_entry, values);

static_assert(sizeof(record_25_entry) == 56);
QO_ASSERT_AT(8, record_25_entry, block_first);
QO_ASSERT_AT(40, record_25_entry, value);
QO_ASSERT_AT(48, record_25_entry, items);

static_assert(sizeof(record_26_content) == 64);
QO_ASSERT_AT(16, record_26_content, groups);
static_assert(sizeof(record_26_group) == 24);

static_assert(sizeof(record_27_content) == 24);
QO_ASSERT_AT(8, record_27_content, entries);
QO_ASSERT_AT(16, record_27_content, tail);
static_assert(sizeof(record_27_entry) == 16);
QO_ASSERT_AT(8, record_27_entry, planes);

static_assert(sizeof(record_29_content) == 56);
QO_ASSERT_AT(12, record_29_content, width);
QO_ASSERT_AT(16, record_29_content, value_16);
QO_ASSERT_AT(24, record_29_content, planes);

static_assert(sizeof(record_30_content) == 56);
QO_ASSERT_AT(16, record_30_content, item_count);
QO_ASSERT_AT(22, record_30_content, grid_width);
QO_ASSERT_AT(24, record_30_content, grid_height);
QO_ASSERT_AT(26, record_30_content, trailing_rows);
QO_ASSERT_AT(28, record_30_content, trailing_columns);
QO_ASSERT_AT(32, record_30_content, items);
QO_ASSERT_AT(40, record_30_content, grid);
QO_ASSERT_AT(48, record_30_content, trailing);

static_assert(sizeof(record_31_table) == 24);
QO_ASSERT_AT(8, record_31_table, count);
QO_ASSERT_AT(16, record_31_table, entries);

static_assert(sizeof(record_34_table) == 32);
QO_ASSERT_AT(8, record_34_table, block_count);
QO_ASSERT_AT(16, record_34_table, blocks);
static_assert(sizeof(record_34_block) == 40);
QO_ASSERT_AT(16, record_34_block, long_entries);
QO_ASSERT_AT(24, record_34_block, short_entries);
QO_ASSERT_AT(32, record_34_block, tail);
static_assert(sizeof(record_34_long_entry) == 32);
QO_ASSERT_AT(8, record_34_long_entry, values_8);
QO_ASSERT_AT(20, record_34_long_entry, values_20);
static_assert(sizeof(record_34_short_entry) == 8);

static_assert(sizeof(record_35_first) == 48);
QO_ASSERT_AT(8, record_35_first, value_8);
QO_ASSERT_AT(12, record_35_first, value_12);
QO_ASSERT_AT(16, record_35_first, count);
QO_ASSERT_AT(24, record_35_first, array_a);
static_assert(sizeof(record_35_second) == 48);
QO_ASSERT_AT(8, record_35_second, value_8);
QO_ASSERT_AT(12, record_35_second, value_12);
QO_ASSERT_AT(16, record_35_second, count);
QO_ASSERT_AT(24, record_35_second, array_b);

static_assert(sizeof(record_36_content) == 32);
QO_ASSERT_AT(9, record_36_content, bytes_9);
QO_ASSERT_AT(13, record_36_content, count);
QO_ASSERT_AT(16, record_36_content, array_16);
QO_ASSERT_AT(24, record_36_content, array_32);

static_assert(sizeof(lens_shading_set) == 40);
QO_ASSERT_AT(4, lens_shading_set, version);
QO_ASSERT_AT(5, lens_shading_set, reserved);
QO_ASSERT_AT(6, lens_shading_set, id);
QO_ASSERT_AT(8, lens_shading_set, channel_map);
QO_ASSERT_AT(24, lens_shading_set, light_count);
QO_ASSERT_AT(26, lens_shading_set, width);
QO_ASSERT_AT(28, lens_shading_set, height);
QO_ASSERT_AT(32, lens_shading_set, lights);
QO_ASSERT_AT(32, lens_shading_set, lights_ext);
static_assert(sizeof(lens_shading_light) == 152);
QO_ASSERT_AT(4, lens_shading_light, gains);
QO_ASSERT_AT(12, lens_shading_light, coords);
QO_ASSERT_AT(20, lens_shading_light, fraction_bits);
QO_ASSERT_AT(24, lens_shading_light, tables);
static_assert(sizeof(lens_shading_light_ext) == 160);
QO_ASSERT_AT(4, lens_shading_light_ext, gains);
QO_ASSERT_AT(12, lens_shading_light_ext, coords);
QO_ASSERT_AT(20, lens_shading_light_ext, fraction_bits);
QO_ASSERT_AT(24, lens_shading_light_ext, tables);
QO_ASSERT_AT(152, lens_shading_light_ext, aux);

static_assert(sizeof(others_block) == 72);
QO_ASSERT_AT(4, others_block, others_count);
QO_ASSERT_AT(8, others_block, others_entries);

static_assert(sizeof(computed_upscale_lsc_tables) == 16);
QO_ASSERT_AT(8, computed_upscale_lsc_tables, gain_tables);
static_assert(sizeof(size_pair_i32) == 8);
QO_ASSERT_AT(4, size_pair_i32, y);

// The NVM library's own object, as far as it is read.
QO_ASSERT_AT(40, calibration, lsc_set_count);
QO_ASSERT_AT(64, calibration, lsc_grid_width);
QO_ASSERT_AT(65, calibration, lsc_grid_height);
QO_ASSERT_AT(72, calibration, lsc_sets);
QO_ASSERT_AT(112, calibration, grid_present);
QO_ASSERT_AT(120, calibration, grid);
QO_ASSERT_AT(16, calibration_grid, width);
QO_ASSERT_AT(17, calibration_grid, height);
QO_ASSERT_AT(18, calibration_grid, shift);
QO_ASSERT_AT(24, calibration_grid, values);
static_assert(sizeof(lsc_calibration_set) == 40);
QO_ASSERT_AT(8, lsc_calibration_set, channel_tables);
