#include "tools/findings/codes.h"

#include <cstddef>
#include <iterator>

namespace findings {
namespace {

using enum severity;

/// In the order of the enumerations: the library's reasons but `none`, then the observations.
constexpr code_description codes[] = {
    // container_missing
    {"container-missing", error, "There is no container.", "Give a file that holds one."},
    // container_too_short
    {"container-too-short", error, "The file is shorter than the header of a container.",
     "Check that the file was written to its end, and that it is a container at all."},
    // size_mismatch
    {"size-mismatch", error, "The container declares another size than the file has.",
     "A file that is shorter was truncated: write it again. In one that is longer something was "
     "appended, or the header is stale.",
     "size"},
    // checksum_mismatch
    {"checksum-mismatch", error, "Neither of the two checksums holds.",
     "The bytes changed after the container was sealed: write it again, or seal it with the tool "
     "that edited it.",
     "checksum"},
    // container_out_of_memory
    {"container-out-of-memory", error, "There was no memory to parse the container.",
     "Free memory and try again."},

    // bytes_after_last_record
    {"bytes-after-last-record", warning,
     "After the last record there are too few bytes for another one, and nothing reads them.",
     "Check the size of the last record, and what pads the container."},
    // record_size_too_small
    {"record-size-too-small", warning,
     "A record says that it is smaller than its own header. Reading ends there.",
     "Correct the record's size; all records after it are lost until then.", "size"},
    // record_overruns
    {"record-overruns", warning,
     "A record says that it goes on after the container's end. Reading ends there.",
     "Correct the record's size; all records after it are lost until then.", "size"},

    // kind_foreign
    {"kind-foreign", note, "Records of this kind belong to other readers of the container.",
     "Nothing, unless the kind is a slip: kinds of module characterization are 1 to 36.", "id"},
    // kind_refused
    {"kind-refused", warning, "No record of this kind is read.",
     "Check the record's kind; the data has to be written as a kind that is read.", "id"},
    // record_missing
    {"record-missing", warning, "There is no record where one was announced.",
     "Hand over a record with a whole header."},
    // copy_out_of_memory
    {"copy-out-of-memory", warning, "There was no memory for a copy of the record.",
     "Free memory and try again."},

    // record_too_short
    {"record-too-short", warning,
     "The record is too short for what it says it holds, and fills no slot.",
     "Correct the record's size, or the counts from which the needed size follows."},
    // string_unterminated
    {"string-unterminated", warning,
     "A string does not end inside the record, which fills no slot.",
     "End the name, and each key and value, with a zero byte."},
    // range_without_step
    {"range-without-step", warning, "The range has a step of 0, and the record fills no slot.",
     "Write a step of at least 1.", "step"},
    // range_reversed
    {"range-reversed", warning, "The range ends before it starts, and the record fills no slot.",
     "Write the range's first value before its last.", "last"},
    // grid_negative
    {"grid-negative", warning, "One side of the grid is negative, and the record fills no slot.",
     "Write the grid's width and height as numbers from 0 to 32767.", "width"},
    // too_many_planes
    {"too-many-planes", warning,
     "The record has more than three planes for each entry, and fills no slot.",
     "Write at most three planes for each entry.", "planes"},
    // plane_empty
    {"plane-empty", warning, "The planes have a side of 0, and the record fills no slot.",
     "Write planes of at least one value, or leave the record out.", "width"},
    // refused_by_stack
    {"refused-by-stack", warning,
     "The container library of the stack refuses the record, which fills no slot.",
     "Check the record's size, its counts, and the places that it names."},
    // record_superseded
    {"record-superseded", note, "An earlier record fills the slot already, and stays.",
     "Leave one of the records out."},
    // out_of_memory
    {"out-of-memory", warning, "There was no memory for what the record holds.",
     "Free memory and try again."},

    // version_without_layout
    {"version-without-layout", warning,
     "The record's version has no fields, and the slot holds zeros.",
     "Write a version of 100 or above.", "version"},
    // fields_lost
    {"fields-lost", warning,
     "The record is too short for the fields of its version, and the slot holds zeros.",
     "Correct the record's size, or its version."},
    // gains_lost
    {"gains-lost", warning, "The record ends before the gains of its lights, which are missing.",
     "Write two gains for each light after the last light, or version 100.", "gains"},
    // set_superseded
    {"set-superseded", note,
     "An earlier record fills the lens shading already, and stays. The record itself is kept.",
     "Leave one of the records out.", "lens_shading"},
    // parameters_defaulted
    {"parameters-defaulted", warning,
     "The record ends before the parameters of its version, and defaults stand for them.",
     "Write the parameters after the values, or an older version.", "params"},
    // sub_table_lost
    {"sub-table-lost", warning, "The sub-table does not fit into the record, and is missing.",
     "Correct the record's size, or the counts of the sub-table and of its entries.", "sub_table"},
    // items_lost
    {"items-lost", warning,
     "The items do not fit into the record. They and all that follows them are missing.",
     "Correct the record's size, or the number of items.", "items"},
    // block_lost
    {"block-lost", warning,
     "The block does not fit into the record. It and all that follows it are missing.",
     "Correct the record's size, or write version 100.", "block"},
    // list_lost
    {"list-lost", warning, "The list does not fit into the record, and is missing.",
     "Correct the record's size, or the counts of the list and of its entries.", "list"},
    // list_count_negative
    {"list-count-negative", warning, "The list has a negative count, and is missing.",
     "Write the number of entries of the list as 0 or above.", "list_count"},
    // groups_defaulted
    {"groups-defaulted", warning,
     "The record ends before the groups of its version, and defaults stand for them.",
     "Write both groups, so that the record has 64 bytes, or version 100.", "groups"},
    // grid_lost
    {"grid-lost", warning,
     "The grid does not fit into the record. It and the values after it are missing.",
     "Correct the record's size, or the grid's. Room for 4 bytes a value is needed in every "
     "version.",
     "grid"},
    // trailing_lost
    {"trailing-lost", warning,
     "The values after the grid do not fit into the record, and are missing.",
     "Correct the record's size, or the number of rows and columns.", "trailing"},
    // tables_without_items
    {"tables-without-items", warning,
     "The record has no items, and its grid and the values after it are missing therefore.",
     "Write at least one item: without any, nothing after them is read.", "items"},
    // blocks_dropped
    {"blocks-dropped", warning,
     "The record has more than four blocks, and only the first four count.",
     "Write at most four blocks.", "block_count"},
    // entries_dropped
    {"entries-dropped", warning,
     "The record has more than eight entries, and only the first eight count.",
     "Write at most eight entries.", "others_count"},
    // part_out_of_memory
    {"part-out-of-memory", warning, "There was no memory for a part of what the record holds.",
     "Free memory and try again."},

    // nvm_empty
    {"nvm-empty", warning, "The NVM image is empty, and no module calibration is used.",
     "Read the module's NVM again, or leave the image out."},
    // nvm_refused
    {"nvm-refused", warning,
     "The NVM library refuses the NVM image, and no module calibration is used.",
     "Check that the image is whole, and that it is of a module that the NVM library knows."},

    // merge_without_lens_shading
    {"merge-without-lens-shading", warning,
     "The module's calibration is not merged: no record fills the lens shading.",
     "Add a record 28 or 10, or mend the one that is there.", "lens_shading"},
    // merge_without_extended_set
    {"merge-without-extended-set", warning,
     "The module's calibration is not merged: no record fills the extended lens shading.",
     "Add a record 33 or 11, or mend the one that is there.", "lens_shading_ext"},
    // merge_without_properties
    {"merge-without-properties", warning,
     "The module's calibration is not merged: without record 2 the sensor's colours are not known.",
     "Add a record 2, or mend the one that is there.", "module_properties"},
    // merge_without_record_17
    {"merge-without-record-17", warning,
     "The module's calibration is not merged: without record 17 the orientation of its grids is "
     "not "
     "known.",
     "Add a record 17, or mend the one that is there.", "record_17"},
    // merge_without_lights
    {"merge-without-lights", warning,
     "The module's calibration is not merged: the lens shading has no lights.",
     "Write at least one light into the record that fills it.", "lens_shading"},
    // merge_without_tables
    {"merge-without-tables", warning,
     "The module's calibration is not merged: the lens shading has no tables.",
     "Write a channel map that names at least one plane.", "lens_shading"},
    // gains_not_computed
    {"gains-not-computed", warning,
     "The module's calibration is not merged: no gain planes could be computed from it.",
     "Check the grids of the NVM image (five columns and rows at least), record 17's orientation "
     "(0 to 3), and that the lens shading has a width and a height above 1."},
    // extended_set_too_small
    {"extended-set-too-small", warning,
     "The module's calibration is not merged: the extended lens shading has fewer lights, or "
     "smaller tables, than the lens shading.",
     "Write both records for the same lights and the same size.", "lens_shading_ext"},
    // gain_table_missing
    {"gain-table-missing", warning,
     "The merge of the module's calibration ended at a light that names no set of the calibration.",
     "Check the numbers of the lights in record 33 or 11 (aux, from 1 on) against the number of "
     "sets in the NVM image.",
     "aux"},
    // plane_order_unknown
    {"plane-order-unknown", warning,
     "The module's calibration is not merged: record 17 has an unknown order of planes.",
     "Write a plane order from 0 to 3 into record 17.", "plane_order"},
    // cfa_layout_unknown
    {"cfa-layout-unknown", warning,
     "The module's calibration is not merged: record 2 names an unknown arrangement of colours.",
     "Write an arrangement from 0 to 3, or from 256 to 263, into record 2.", "cfa_layout"},

    // derived_without_record_20
    {"derived-without-record-20", warning,
     "Record 20 counts as absent where record 34 is derived, since its list is cut.",
     "Mend record 20, or add a record 34.", "record_34"},
    // derived_out_of_memory
    {"derived-out-of-memory", warning, "There was no memory to derive record 34.",
     "Free memory and try again.", "record_34"},

    // container_too_large
    {"container-too-large", error, "The file is larger than a container can be.",
     "A container has at most 4 GiB - 1: check that the file is one."},
    // record_replaced
    {"record-replaced", note, "The record takes the place of an earlier one.",
     "Leave one of the records out; the last one counts."},
    // record_displaced
    {"record-displaced", warning,
     "The record fills no slot, and yet the earlier one that filled it is gone.",
     "Leave the record out, or mend it."},
    // version_unknown
    {"version-unknown", warning,
     "The record has an unknown version, and is read as the nearest one that is known.",
     "Write a version from 100 to 103; what a later one adds is not read.", "version"},
    // fraction_bits_implausible
    {"fraction-bits-implausible", warning,
     "A light has more than 16 fraction bits, though its samples have 16 bits in all.",
     "Check the light's number of integer bits in the record: it is 16 at most.", "fraction_bits"},
    // coordinates_implausible
    {"coordinates-implausible", warning, "A light has coordinates outside 0 to 1.",
     "Check the light's coordinates in the record.", "coords"},
    // library_message
    {"library-message", note, "The library wrote a message to the log.",
     "See what is found at the same record."},
};

constexpr size_t reason_count = [] {
  size_t count = 0;
#define QO_COUNT_REASON(name) ++count;
  QO_REASONS(QO_COUNT_REASON)
#undef QO_COUNT_REASON
  return count;
}();
static_assert(std::size(codes) ==
                  reason_count + static_cast<size_t>(observation::library_message) + 1,
              "a reason or an observation has no code");

}  // namespace

const char* word_of(severity how_bad) {
  switch (how_bad) {
    case note:
      return "note";
    case warning:
      return "warning";
    case error:
      break;
  }
  return "error";
}

const code_description& describe(qo::reason why) { return codes[static_cast<size_t>(why) - 1]; }

const code_description& describe(observation seen) {
  return codes[reason_count + static_cast<size_t>(seen)];
}

std::span<const code_description> every_code() { return codes; }

}  // namespace findings
