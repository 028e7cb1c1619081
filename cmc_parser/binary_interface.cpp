// Sizes, places and types that other libraries of the stack were compiled against: every public
// structure, every member of it, and every enumerator. `structure_layout` looks whether one is
// missing.

#include <bit>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/lsc.h"
#include "qo_cmc/parser.h"
#include "qo_nvm.h"

static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(void*) == 8);

#define QO_ASSERT_SIZE(size, structure) static_assert(sizeof(structure) == (size))
#define QO_ASSERT_AT(offset, structure, member, type)     \
  static_assert(offsetof(structure, member) == (offset)); \
  static_assert(std::is_same_v<decltype(std::declval<structure>().member), type>)
// Slot k of the parsed CMC is at byte 8 (k - 1).
#define QO_ASSERT_SLOT(number, member, type) \
  QO_ASSERT_AT(8 * ((number)-1), parsed_cmc, member, type)
#define QO_ASSERT_VALUE(value, enumerator) static_assert((enumerator) == (value))

QO_ASSERT_VALUE(0, QO_CMC_OK);
QO_ASSERT_VALUE(2, QO_CMC_STEP_FAILED);
QO_ASSERT_VALUE(4, QO_CMC_NO_MEMORY);
QO_ASSERT_VALUE(8, QO_CMC_INVALID);
QO_ASSERT_VALUE(32, QO_CMC_INVALID_SIZE);
QO_ASSERT_VALUE(1040, record_22_item_size);
QO_ASSERT_VALUE(24, record_22_list_tail_size);

// A new slot changes the binary interface: see 'To add a record kind' in HACKING.md.
QO_ASSERT_SIZE(496, parsed_cmc);
QO_ASSERT_SLOT(1, general.record, record_header*);
QO_ASSERT_SLOT(2, general.name, const char*);
QO_ASSERT_SLOT(3, general.pair_count, uint16_t);
QO_ASSERT_AT(18, parsed_cmc, general.padding, uint8_t[6]);
QO_ASSERT_SLOT(4, general.pairs, string_pair*);
QO_ASSERT_SLOT(5, module_properties, module_properties_record*);
QO_ASSERT_SLOT(6, unused_6, void*);
QO_ASSERT_SLOT(7, unused_7, void*);
QO_ASSERT_SLOT(8, record_5, record_header*);
QO_ASSERT_SLOT(9, record_6.record, record_header*);
QO_ASSERT_SLOT(10, record_6.payload, const uint8_t*);
QO_ASSERT_SLOT(11, record_7, record_header*);
QO_ASSERT_SLOT(12, record_8, record_header*);
QO_ASSERT_SLOT(13, record_9, record_header*);
QO_ASSERT_SLOT(14, lsc_grid.record, record_header*);
QO_ASSERT_SLOT(15, lsc_grid.blocks, const uint8_t*);
QO_ASSERT_SLOT(16, lsc_grid.first_table, const uint8_t*);
QO_ASSERT_SLOT(17, lsc_grid.light_gains, const uint8_t*);
QO_ASSERT_SLOT(18, record_13.record, record_header*);
QO_ASSERT_SLOT(19, record_13.values, uint16_t*);
QO_ASSERT_SLOT(20, record_13.params, uint16_t[4]);
QO_ASSERT_SLOT(21, record_14.record, record_header*);
QO_ASSERT_SLOT(22, record_14.payload, const uint8_t*);
QO_ASSERT_SLOT(23, record_15.record, record_header*);
QO_ASSERT_SLOT(24, record_15.body, const uint8_t*);
QO_ASSERT_SLOT(25, record_15.section_1, const uint8_t*);
QO_ASSERT_SLOT(26, record_15.section_2, const uint8_t*);
QO_ASSERT_SLOT(27, record_15.section_3, const uint8_t*);
QO_ASSERT_SLOT(28, record_15.sub_table, record_15_sub_table*);
QO_ASSERT_SLOT(29, record_15.counts.a, uint16_t);
QO_ASSERT_AT(226, parsed_cmc, record_15.counts.b, uint16_t);
QO_ASSERT_AT(228, parsed_cmc, record_15.counts.padding, uint32_t);
QO_ASSERT_SLOT(30, record_16.record, record_header*);
QO_ASSERT_SLOT(31, record_16.payload, const uint8_t*);
QO_ASSERT_SLOT(32, record_17.record, record_header*);
QO_ASSERT_SLOT(33, record_17.payload, const uint8_t*);
QO_ASSERT_SLOT(34, record_18.record, record_header*);
QO_ASSERT_SLOT(35, record_18.entries, const uint8_t*);
QO_ASSERT_SLOT(36, record_18.tail, const uint8_t*);
QO_ASSERT_SLOT(37, record_19.record, record_header*);
QO_ASSERT_SLOT(38, record_19.entries, const uint8_t*);
QO_ASSERT_SLOT(39, record_19.tail, const uint8_t*);
QO_ASSERT_SLOT(40, record_20.record, record_header*);
QO_ASSERT_SLOT(41, record_20.payload, const uint8_t*);
QO_ASSERT_SLOT(42, record_20.tail, const uint8_t*);
QO_ASSERT_SLOT(43, record_22, record_22_content*);
QO_ASSERT_SLOT(44, record_23, record_header*);
QO_ASSERT_SLOT(45, record_24, record_24_content*);
QO_ASSERT_SLOT(46, record_21, record_header*);
QO_ASSERT_SLOT(47, record_25.record, record_header*);
QO_ASSERT_SLOT(48, record_25.payload, const uint8_t*);
QO_ASSERT_SLOT(49, record_25.entries, record_25_entry*);
QO_ASSERT_SLOT(50, record_26, record_26_content*);
QO_ASSERT_SLOT(51, record_27, record_27_content*);
QO_ASSERT_SLOT(52, record_30, record_30_content*);
QO_ASSERT_SLOT(53, record_29, record_29_content*);
QO_ASSERT_SLOT(54, lens_shading, lens_shading_set*);
QO_ASSERT_SLOT(55, record_31, record_header*);
QO_ASSERT_SLOT(56, record_32, record_header*);
QO_ASSERT_SLOT(57, lens_shading_ext, lens_shading_set*);
QO_ASSERT_SLOT(58, record_34, record_header*);
QO_ASSERT_SLOT(59, record_35.first, record_35_first*);
QO_ASSERT_SLOT(60, record_35.second, record_35_second*);
QO_ASSERT_SLOT(61, record_36, record_36_content*);
QO_ASSERT_SLOT(62, others, others_block*);

QO_ASSERT_SIZE(16, qo_blob);
QO_ASSERT_AT(0, qo_blob, data, const void*);
QO_ASSERT_AT(8, qo_blob, size, uint32_t);

QO_ASSERT_SIZE(8, record_header);
QO_ASSERT_AT(0, record_header, size, uint32_t);
QO_ASSERT_AT(4, record_header, version, uint8_t);
QO_ASSERT_AT(5, record_header, reserved, uint8_t);
QO_ASSERT_AT(6, record_header, id, uint16_t);

QO_ASSERT_SIZE(16, string_pair);
QO_ASSERT_AT(0, string_pair, key, const char*);
QO_ASSERT_AT(8, string_pair, value, const char*);

QO_ASSERT_SIZE(36, module_properties_record);
QO_ASSERT_AT(0, module_properties_record, header, record_header);
QO_ASSERT_AT(8, module_properties_record, bytes_8, uint8_t[4]);
QO_ASSERT_AT(12, module_properties_record, value_12, uint16_t);
QO_ASSERT_AT(14, module_properties_record, cfa_layout, uint16_t);
QO_ASSERT_AT(16, module_properties_record, value_16, uint16_t);
QO_ASSERT_AT(18, module_properties_record, bytes_18, uint8_t[16]);
QO_ASSERT_AT(34, module_properties_record, value_34, uint16_t);

QO_ASSERT_SIZE(16, record_15_sub_table);
QO_ASSERT_AT(0, record_15_sub_table, count, uint16_t);
QO_ASSERT_AT(8, record_15_sub_table, entries, record_15_entry*);

QO_ASSERT_SIZE(32, record_15_entry);
QO_ASSERT_AT(0, record_15_entry, value_0, uint64_t);
QO_ASSERT_AT(8, record_15_entry, value_8, uint32_t);
QO_ASSERT_AT(12, record_15_entry, padding_12, uint32_t);
QO_ASSERT_AT(16, record_15_entry, array_first, uint16_t*);
QO_ASSERT_AT(24, record_15_entry, array_second, uint16_t*);

QO_ASSERT_SIZE(1104, record_22_content);
QO_ASSERT_AT(0, record_22_content, value_8, uint32_t);
QO_ASSERT_AT(4, record_22_content, width, int16_t);
QO_ASSERT_AT(6, record_22_content, height, int16_t);
QO_ASSERT_AT(8, record_22_content, value_16, uint32_t);
QO_ASSERT_AT(12, record_22_content, grid_count, uint16_t);
QO_ASSERT_AT(16, record_22_content, value_items, uint32_t);
QO_ASSERT_AT(20, record_22_content, item_count, int32_t);
QO_ASSERT_AT(24, record_22_content, block, uint8_t[1024]);
QO_ASSERT_AT(1048, record_22_content, block_tail, uint8_t[16]);
QO_ASSERT_AT(1064, record_22_content, grid, record_22_grid_entry*);
QO_ASSERT_AT(1072, record_22_content, items, uint8_t*);
QO_ASSERT_AT(1080, record_22_content, value_list, uint32_t);
QO_ASSERT_AT(1084, record_22_content, list_count, int32_t);
QO_ASSERT_AT(1088, record_22_content, list, record_22_list_entry*);
QO_ASSERT_AT(1096, record_22_content, list_tail, uint8_t*);

QO_ASSERT_SIZE(24, record_22_grid_entry);
QO_ASSERT_AT(0, record_22_grid_entry, tag, uint16_t);
QO_ASSERT_AT(8, record_22_grid_entry, first_half, uint32_t*);
QO_ASSERT_AT(16, record_22_grid_entry, second_half, uint32_t*);

QO_ASSERT_SIZE(24, record_22_list_entry);
QO_ASSERT_AT(0, record_22_list_entry, value_0, float);
QO_ASSERT_AT(4, record_22_list_entry, value_4, float);
QO_ASSERT_AT(8, record_22_list_entry, value_8, uint32_t);
QO_ASSERT_AT(12, record_22_list_entry, count, uint32_t);
QO_ASSERT_AT(16, record_22_list_entry, values, uint32_t*);

QO_ASSERT_SIZE(24, record_24_content);
QO_ASSERT_AT(0, record_24_content, head, uint8_t[14]);
QO_ASSERT_AT(14, record_24_content, count, uint16_t);
QO_ASSERT_AT(16, record_24_content, entries, record_24_entry*);

QO_ASSERT_SIZE(24, record_24_entry);
QO_ASSERT_AT(0, record_24_entry, value_0, uint16_t);
QO_ASSERT_AT(2, record_24_entry, count, uint16_t);
QO_ASSERT_AT(4, record_24_entry, bytes_4, uint8_t[12]);
QO_ASSERT_AT(16, record_24_entry, values, uint32_t*);

QO_ASSERT_SIZE(56, record_25_entry);
QO_ASSERT_AT(0, record_25_entry, start, const uint8_t*);
QO_ASSERT_AT(8, record_25_entry, block_first, uint8_t[16]);
QO_ASSERT_AT(24, record_25_entry, block_second, uint8_t[16]);
QO_ASSERT_AT(40, record_25_entry, value, uint32_t);
QO_ASSERT_AT(44, record_25_entry, padding_44, uint32_t);
QO_ASSERT_AT(48, record_25_entry, items, const uint8_t*);

QO_ASSERT_SIZE(64, record_26_content);
QO_ASSERT_AT(0, record_26_content, head, uint8_t[16]);
QO_ASSERT_AT(16, record_26_content, groups, record_26_group[2]);

QO_ASSERT_SIZE(24, record_26_group);
QO_ASSERT_AT(0, record_26_group, bytes_0, uint8_t[8]);
QO_ASSERT_AT(8, record_26_group, values, float[4]);

QO_ASSERT_SIZE(24, record_27_content);
QO_ASSERT_AT(0, record_27_content, record, record_header*);
QO_ASSERT_AT(8, record_27_content, entries, record_27_entry*);
QO_ASSERT_AT(16, record_27_content, tail, const uint8_t*);

QO_ASSERT_SIZE(16, record_27_entry);
QO_ASSERT_AT(0, record_27_entry, head, uint8_t*);
QO_ASSERT_AT(8, record_27_entry, planes, uint16_t*);

QO_ASSERT_SIZE(56, record_29_content);
QO_ASSERT_AT(0, record_29_content, head, uint8_t[12]);
QO_ASSERT_AT(12, record_29_content, width, uint16_t);
QO_ASSERT_AT(14, record_29_content, height, uint16_t);
QO_ASSERT_AT(16, record_29_content, value_16, uint32_t);
QO_ASSERT_AT(24, record_29_content, planes, float* [4]);

QO_ASSERT_SIZE(56, record_30_content);
QO_ASSERT_AT(0, record_30_content, head, uint8_t[16]);
QO_ASSERT_AT(16, record_30_content, item_count, uint16_t);
QO_ASSERT_AT(18, record_30_content, bytes_18, uint8_t[4]);
QO_ASSERT_AT(22, record_30_content, grid_width, uint16_t);
QO_ASSERT_AT(24, record_30_content, grid_height, uint16_t);
QO_ASSERT_AT(26, record_30_content, trailing_rows, uint16_t);
QO_ASSERT_AT(28, record_30_content, trailing_columns, uint16_t);
QO_ASSERT_AT(30, record_30_content, padding_30, uint8_t[2]);
QO_ASSERT_AT(32, record_30_content, items, uint8_t*);
QO_ASSERT_AT(40, record_30_content, grid, uint32_t*);
QO_ASSERT_AT(48, record_30_content, trailing, uint32_t*);

QO_ASSERT_SIZE(24, record_31_table);
QO_ASSERT_AT(0, record_31_table, header, record_header);
QO_ASSERT_AT(8, record_31_table, count, uint32_t);
QO_ASSERT_AT(12, record_31_table, padding_12, uint32_t);
QO_ASSERT_AT(16, record_31_table, entries, const float (*)[18]);

QO_ASSERT_SIZE(32, record_34_table);
QO_ASSERT_AT(0, record_34_table, header, record_header);
QO_ASSERT_AT(8, record_34_table, block_count, uint32_t);
QO_ASSERT_AT(12, record_34_table, padding_12, uint32_t);
QO_ASSERT_AT(16, record_34_table, blocks, record_34_block*);
QO_ASSERT_AT(24, record_34_table, padding_24, uint64_t);

QO_ASSERT_SIZE(40, record_34_block);
QO_ASSERT_AT(0, record_34_block, kind, uint32_t);
QO_ASSERT_AT(4, record_34_block, value_4, uint32_t);
QO_ASSERT_AT(8, record_34_block, long_count, uint32_t);
QO_ASSERT_AT(12, record_34_block, short_count, uint32_t);
QO_ASSERT_AT(16, record_34_block, long_entries, record_34_long_entry*);
QO_ASSERT_AT(24, record_34_block, short_entries, record_34_short_entry*);
QO_ASSERT_AT(32, record_34_block, tail, uint16_t*);

QO_ASSERT_SIZE(32, record_34_long_entry);
QO_ASSERT_AT(0, record_34_long_entry, value_0, float);
QO_ASSERT_AT(4, record_34_long_entry, value_4, float);
QO_ASSERT_AT(8, record_34_long_entry, values_8, uint32_t[3]);
QO_ASSERT_AT(20, record_34_long_entry, values_20, uint16_t[4]);
QO_ASSERT_AT(28, record_34_long_entry, padding_28, uint32_t);

QO_ASSERT_SIZE(8, record_34_short_entry);
QO_ASSERT_AT(0, record_34_short_entry, value_0, float);
QO_ASSERT_AT(4, record_34_short_entry, value_4, uint32_t);

QO_ASSERT_SIZE(48, record_35_first);
QO_ASSERT_AT(0, record_35_first, header, record_header);
QO_ASSERT_AT(8, record_35_first, value_8, uint8_t);
QO_ASSERT_AT(12, record_35_first, value_12, uint32_t);
QO_ASSERT_AT(16, record_35_first, count, uint8_t);
QO_ASSERT_AT(24, record_35_first, array_a, uint32_t*);
QO_ASSERT_AT(32, record_35_first, array_b, uint16_t*);
QO_ASSERT_AT(40, record_35_first, array_c, uint16_t*);

QO_ASSERT_SIZE(48, record_35_second);
QO_ASSERT_AT(0, record_35_second, header, record_header);
QO_ASSERT_AT(8, record_35_second, value_8, uint8_t);
QO_ASSERT_AT(12, record_35_second, value_12, uint32_t);
QO_ASSERT_AT(16, record_35_second, count, uint8_t);
QO_ASSERT_AT(24, record_35_second, array_b, uint16_t*);
QO_ASSERT_AT(32, record_35_second, array_a, uint32_t*);
QO_ASSERT_AT(40, record_35_second, array_d, uint32_t*);

QO_ASSERT_SIZE(32, record_36_content);
QO_ASSERT_AT(0, record_36_content, header, record_header);
QO_ASSERT_AT(8, record_36_content, value_8, uint8_t);
QO_ASSERT_AT(9, record_36_content, bytes_9, uint8_t[4]);
QO_ASSERT_AT(13, record_36_content, count, uint8_t);
QO_ASSERT_AT(14, record_36_content, padding_14, uint8_t[2]);
QO_ASSERT_AT(16, record_36_content, array_16, uint16_t*);
QO_ASSERT_AT(24, record_36_content, array_32, uint32_t*);

QO_ASSERT_SIZE(40, lens_shading_set);
QO_ASSERT_AT(0, lens_shading_set, size, uint32_t);
QO_ASSERT_AT(4, lens_shading_set, version, uint8_t);
QO_ASSERT_AT(5, lens_shading_set, reserved, uint8_t);
QO_ASSERT_AT(6, lens_shading_set, id, uint16_t);
QO_ASSERT_AT(8, lens_shading_set, channel_map, int8_t[4][4]);
QO_ASSERT_AT(24, lens_shading_set, light_count, uint16_t);
QO_ASSERT_AT(26, lens_shading_set, width, uint16_t);
QO_ASSERT_AT(28, lens_shading_set, height, uint16_t);
QO_ASSERT_AT(32, lens_shading_set, lights, lens_shading_light*);
QO_ASSERT_AT(32, lens_shading_set, lights_ext, lens_shading_light_ext*);

QO_ASSERT_SIZE(152, lens_shading_light);
QO_ASSERT_AT(0, lens_shading_light, light_id, uint32_t);
QO_ASSERT_AT(4, lens_shading_light, gains, float[2]);
QO_ASSERT_AT(12, lens_shading_light, coords, float[2]);
QO_ASSERT_AT(20, lens_shading_light, fraction_bits, uint16_t);
QO_ASSERT_AT(24, lens_shading_light, tables, uint16_t* [4][4]);

QO_ASSERT_SIZE(160, lens_shading_light_ext);
QO_ASSERT_AT(0, lens_shading_light_ext, light_id, uint32_t);
QO_ASSERT_AT(4, lens_shading_light_ext, gains, float[2]);
QO_ASSERT_AT(12, lens_shading_light_ext, coords, float[2]);
QO_ASSERT_AT(20, lens_shading_light_ext, fraction_bits, uint16_t);
QO_ASSERT_AT(24, lens_shading_light_ext, tables, uint16_t* [4][4]);
QO_ASSERT_AT(152, lens_shading_light_ext, aux, uint16_t);

QO_ASSERT_SIZE(72, others_block);
QO_ASSERT_AT(0, others_block, others_value, uint32_t);
QO_ASSERT_AT(4, others_block, others_count, uint32_t);
QO_ASSERT_AT(8, others_block, others_entries, uint64_t[8]);

QO_ASSERT_SIZE(16, computed_upscale_lsc_tables);
QO_ASSERT_AT(0, computed_upscale_lsc_tables, table_count, uint8_t);
QO_ASSERT_AT(8, computed_upscale_lsc_tables, gain_tables, float**);

QO_ASSERT_SIZE(8, size_pair_i32);
QO_ASSERT_AT(0, size_pair_i32, x, int32_t);
QO_ASSERT_AT(4, size_pair_i32, y, int32_t);

// The NVM library's own objects, as far as they are read.
QO_ASSERT_AT(40, calibration, lsc_set_count, uint8_t);
QO_ASSERT_AT(64, calibration, lsc_grid_width, uint8_t);
QO_ASSERT_AT(65, calibration, lsc_grid_height, uint8_t);
QO_ASSERT_AT(72, calibration, lsc_sets, const lsc_calibration_set*);
QO_ASSERT_AT(112, calibration, grid_present, uint8_t);
QO_ASSERT_AT(120, calibration, grid, const calibration_grid*);

QO_ASSERT_AT(16, calibration_grid, width, uint8_t);
QO_ASSERT_AT(17, calibration_grid, height, uint8_t);
QO_ASSERT_AT(18, calibration_grid, shift, uint8_t);
QO_ASSERT_AT(24, calibration_grid, values, const uint32_t*);

QO_ASSERT_SIZE(40, lsc_calibration_set);
QO_ASSERT_AT(0, lsc_calibration_set, fraction_bits, uint8_t);
QO_ASSERT_AT(8, lsc_calibration_set, channel_tables, const void* [4]);
