"""What plant.py plants: of each class of mistake that has hurt parsers and kernels, one or more.

Each is one change at a place that occurs exactly once, with the tests that are to notice it: of those
that do only a few, since all run for each defect.
"""

import dataclasses


@dataclasses.dataclass(frozen=True)
class Defect:
    kind: str
    name: str
    file: str
    find: str
    replace: str
    tests: str  # names, as ctest's regular expression
    build: str = "plain"  # "asan" where only the sanitizers see it


DEFECTS = [
    Defect(
        kind="count x size overflow",
        name="a list entry's size is formed in 32 bits",
        file="cmc_parser/records/record_22.cpp",
        find="reader.skip(size_of<uint32_t> * extent(reader.read<uint32_t>()));",
        replace="reader.skip(extent(4 * reader.read<uint32_t>()));",
        tests="^record_22_test$",
    ),
    Defect(
        kind="count x size overflow",
        name="the size of a copied array may wrap",
        file="base/c_heap.h",
        find="""
  if (__builtin_mul_overflow(count, sizeof(T), &size)) return nullptr;
  T* const copy""",
        replace="""
  size = count * sizeof(T);
  T* const copy""",
        tests="^c_heap_test$",
    ),
    Defect(
        kind="count x size overflow",
        name="a matrix's elements are counted in 32 bits",
        file="lsc/lu_decomposition_m.cpp",
        find="= int64_t{width_height} * width_height;",
        replace="""= static_cast<int32_t>(
      static_cast<uint32_t>(width_height) * static_cast<uint32_t>(width_height));""",
        tests=r"^lu_decomposition_m_test\.base$",
    ),
    Defect(
        kind="check after read",
        name="an entry's head is copied before it is known to be there",
        file="cmc_parser/records/record_24.cpp",
        find="""
    if (head == nullptr) return reason::record_too_short;
    memcpy(&entry, head, entry_head_size.value());""",
        replace="""
    memcpy(&entry, head, entry_head_size.value());
    if (head == nullptr) return reason::record_too_short;""",
        tests="^record_24_test$|^record_shapes_test$",
    ),
    Defect(
        kind="check after read",
        name="the walk reads a header before it asks for eight bytes",
        file="cmc_parser/container.h",
        find="""
  if (total_ < offset_ || total_ - offset_ < sizeof(record_header)) return std::nullopt;
  const uint8_t* const bytes = image_ + offset_;
  const record_header header = load<record_header>(bytes);""",
        replace="""
  const uint8_t* const bytes = image_ + offset_;
  const record_header header = load<record_header>(bytes);
  if (total_ < offset_ || total_ - offset_ < sizeof(record_header)) return std::nullopt;""",
        tests="^record_walk_test$|^container_validation_test$",
    ),
    Defect(
        kind="missing terminator",
        name="a name ends where some zero byte stands",
        file="cmc_parser/records/general.cpp",
        find="name_length = record.string_length(name_offset);",
        replace="""name_length(extent(static_cast<uint32_t>(
      strlen(reinterpret_cast<const char*>(record.at(name_offset))))));""",
        tests=r"^general_test$|^parser_fuzz_replay\.",
        build="asan",
    ),
    Defect(
        kind="missing terminator",
        name="a pair's string ends where some zero byte stands",
        file="cmc_parser/records/general.cpp",
        find="length = record.string_length(offset);",
        replace="""length(extent(static_cast<uint32_t>(
        strlen(reinterpret_cast<const char*>(record.at(offset))))));""",
        tests=r"^general_test$|^parser_fuzz_replay\.",
        build="asan",
    ),
    Defect(
        kind="zero-size record",
        name="the walk takes a record of size 0",
        file="cmc_parser/container.h",
        find="if (header.size < sizeof header || header.size > total_ - offset_)",
        replace="if (header.size > total_ - offset_)",
        tests="^record_walk_test$",
    ),
    Defect(
        kind="zero-size record",
        name="a decoder gets a record without a whole header",
        file="cmc_parser/dispatch.cpp",
        find="if (load<uint32_t>(record) < sizeof(record_header))",
        replace="if (load<uint32_t>(record) == 0)",
        tests="^dispatch_test$|^record_shapes_test$",
    ),
    Defect(
        kind="zero-size record",
        name="an array of no elements has a block of no bytes",
        file="base/c_heap.h",
        find="c_zeroed(count != 0 ? count : 1, sizeof(T))",
        replace="c_zeroed(count, sizeof(T))",
        tests="^c_heap_test$",
    ),
    Defect(
        kind="double release",
        name="a grid's halves keep their first owner",
        file="cmc_parser/records/record_22.cpp",
        find="  halves.release();  // entry 0 owns it\n",
        replace="",
        tests="^record_22_test$|^teardown_test$",
    ),
    Defect(
        kind="double release",
        name="the module's calibration is handed back twice",
        file="cmc_parser/parser.cpp",
        find="    qo_nvm_deinit(module);\n",
        replace="    qo_nvm_deinit(module);\n    qo_nvm_deinit(module);\n",
        tests="^nvm_handle_test$",
    ),
    Defect(
        kind="double release",
        name="a block that several sets share is released with each",
        file="lsc/chosen_gain_tables.cpp",
        find="if (tables_->gain_tables[set] == others_.get()) tables_->gain_tables[set] = nullptr;",
        replace="if (tables_->gain_tables[set] == nullptr) return;",
        tests="^calibration_merge_test$|^module_tables_test$",
    ),
    Defect(
        kind="dangling slot",
        name="a kept record's slot is released and not emptied",
        file="cmc_parser/records/kept_records.cpp",
        find="  free(slot.record);\n  slot = {};\n",
        replace="  free(slot.record);\n",
        tests="^kept_records_test$|^record_shapes_test$",
    ),
    Defect(
        kind="dangling slot",
        name="a slot keeps the content that a malformed record replaced",
        file="cmc_parser/records/record_22.cpp",
        find="  free_content(cmc.record_22);\n  cmc.record_22 = nullptr;\n",
        replace="  free_content(cmc.record_22);\n",
        tests="^record_22_test$|^record_shapes_test$",
    ),
    Defect(
        kind="dangling slot",
        name="a slot names a copy that is released all the same",
        file="cmc_parser/records/record_27.cpp",
        find="content->record = record.keep();",
        replace="content->record = reinterpret_cast<record_header*>(record.bytes());",
        tests="^record_27_test$|^record_shapes_test$",
    ),
    Defect(
        kind="wrong leak",
        name="a kept kind's short record is released, not leaked",
        file="cmc_parser/records/kept_records.cpp",
        find="if (!record.require(minimum_size)) return record.leak_as_too_short();",
        replace="if (!record.require(minimum_size)) return record.drop_as_too_short();",
        tests="^kept_records_test$|^record_shapes_test$",
    ),
    Defect(
        kind="wrong leak",
        name="a range whose items are missing is leaked, not released",
        file="cmc_parser/records/record_14.cpp",
        find="if (!record.require(8 * steps + 24)) return record.drop_as_too_short();",
        replace="if (!record.require(8 * steps + 24)) return record.leak_as_too_short();",
        tests="^record_14_test$|^record_shapes_test$",
    ),
    Defect(
        kind="wrong leak",
        name="the module's calibration is not handed back",
        file="cmc_parser/parser.cpp",
        find="    qo_nvm_deinit(module);\n",
        replace="",
        tests="^nvm_handle_test$",
    ),
    Defect(
        kind="over-write",
        name="as many values are copied as the record states",
        file="cmc_parser/others_record.cpp",
        find="sizeof(uint64_t) * count);",
        replace="sizeof(uint64_t) * stated_count);",
        tests="^others_record_test$",
        build="asan",
    ),
    Defect(
        kind="over-write",
        name="a grid gets the record's room and the module's values",
        file="cmc_parser/records/record_30.cpp",
        find="content.grid = c_new_array<uint32_t>(values.value());",
        replace="content.grid = c_new_array<uint32_t>(record_values.value());",
        tests=r"^record_30_test$|^module_fuzz_replay\.",
        build="asan",
    ),
    Defect(
        kind="over-write",
        name="a spread row has one sample too many",
        file="rows/store_rows.cpp",
        find="for (; i < count; ++i, to += step) *to = from[i];",
        replace="for (; i <= count; ++i, to += step) *to = from[i];",
        tests=r"^store_rows_test\.",
    ),
    Defect(
        kind="off-by-one at a vector tail",
        name="the last sample is not scaled",
        file="rows/gain_rows.cpp",
        find="for (; i < count; ++i) scale_block<1>(source, gains, target, i);",
        replace="for (; i + 1 < count; ++i) scale_block<1>(source, gains, target, i);",
        tests=r"^gain_rows_test\.",
    ),
    Defect(
        kind="off-by-one at a vector tail",
        name="a vector is taken where one sample of it is missing",
        file="rows/float_rows.cpp",
        find="""
  for (; i + lanes_of<float> <= count; i += lanes_of<float>)
    store_vector(dst + i, floats_at(src + i) * factor);""",
        replace="""
  for (; i + lanes_of<float> <= count + 1; i += lanes_of<float>)
    store_vector(dst + i, floats_at(src + i) * factor);""",
        tests=r"^bicubic_upscale_test\.|^extrapolated_rows_test\.",
    ),
    Defect(
        kind="off-by-one at a vector tail",
        name="one word of the last vector is not summed",
        file="rows/word_rows.cpp",
        find="first_words(last, lanes - (count - done));",
        replace="first_words(last, lanes - (count - done) + 1);",
        tests=r"^word_rows_test\.",
    ),
    Defect(
        kind="NaN rule",
        name="a number that is none is converted like any other",
        file="base/float_to_int.h",
        find="  if (value != value) return 0;\n",
        replace="",
        tests="^float_to_int_test$",
    ),
    Defect(
        kind="NaN rule",
        name="a minimum is taken in any order though there is a NaN",
        file="rows/gain_rows.cpp",
        find="      has_nan |= v != v;\n",
        replace="",
        tests=r"^plane_minimum_test\.",
    ),
    Defect(
        kind="NaN rule",
        name="a quotient that is no number stays",
        file="rows/gain_rows.cpp",
        find="values[i] = quotient > 1.0f ? quotient : 1.0f;",
        replace="values[i] = quotient < 1.0f ? 1.0f : quotient;",
        tests=r"^plane_minimum_test\.",
    ),
    Defect(
        kind="wrong conversion",
        name="of four registers that are out of range one is not looked at",
        file="rows/gain_rows.cpp",
        find="any_negative((result[0] | result[1]) | (result[2] | result[3]))",
        replace="any_negative((result[0] | result[1]) | (result[2] | result[2]))",
        tests=r"^gain_rows_test\.|^sample_correction_test\.",
    ),
    Defect(
        kind="wrong conversion",
        name="a shift of 31 makes a negative unit",
        file="cmc_parser/records/calibration_blend.cpp",
        find="1.0f / unsigned_power_of_two(grid.shift)",
        replace="1.0f / signed_power_of_two(grid.shift)",
        tests="^record_30_test$",
    ),
    Defect(
        kind="wrong conversion",
        name="a sum that wrapped is read as unsigned",
        file="cmc_parser/records/calibration_blend.cpp",
        find="static_cast<float>(static_cast<int32_t>(window.sum))",
        replace="static_cast<float>(window.sum)",
        tests="^record_30_test$",
    ),
    Defect(
        kind="row table never chosen",
        name="the plain table counts as the best",
        file="rows/row_table.cpp",
        find="{instruction_set::avx512, instruction_set::avx2}",
        replace="{instruction_set::base, instruction_set::avx2}",
        tests="^row_table_test$",
    ),
    Defect(
        kind="row table never chosen",
        name="the processor is asked for the wrong leaf",
        file="rows/processor.cpp",
        find="extended_leaf = 7;",
        replace="extended_leaf = 6;",
        tests="^row_table_test$",
    ),
    Defect(
        kind="row table never chosen",
        name="the plain table answers to another's name",
        file="rows/row_table.cpp",
        find="return &rows_avx2::table;",
        replace="return &rows_base::table;",
        tests="^row_table_test$",
    ),
    Defect(
        kind="row table never chosen",
        name="the table that is asked for is not taken",
        file="rows/row_table.cpp",
        find="{ chosen.store(&table, std::memory_order_relaxed); }",
        replace="{ (void)table; }",
        tests="^row_table_test$",
    ),
]
