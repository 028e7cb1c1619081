#include "base/c_heap.h"
#include "cmc_parser/records/decoders.h"

namespace qo {
namespace {

/// In the order of release. The others block is not among them: it is the client's.
constexpr slot_release* releases[] = {
    release_general,  //
    release_module_properties, release_record_5,  release_record_6,  release_record_7,
    release_record_8,          release_record_9,  release_lsc_grid,  release_record_13,
    release_record_14,         release_record_15, release_record_16, release_record_17,
    release_record_18,         release_record_19, release_record_20, release_record_22,
    release_record_23,         release_record_24, release_record_21, release_record_25,
    release_record_26,         release_record_27, release_record_30, release_record_29,
    release_lens_shading,      release_record_31, release_record_32, release_record_34,
    release_lens_shading_ext,  release_record_36, release_record_35,
};

}  // namespace
}  // namespace qo

void qo_cmc_parser_deinit(parsed_cmc* cmc) {
  if (cmc == nullptr) return;
  for (qo::slot_release* const release : qo::releases) release(*cmc);
  free(cmc);
}
