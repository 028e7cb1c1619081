// Record kinds 10, 11, 28 and 33: the release of the two slots that they feed.

#include "cmc_parser/records/decoders.h"

#include "cmc_parser/records/lens_shading_records.h"

namespace qo {

void release_lens_shading(parsed_cmc& cmc) {
  free_lens_shading_set<lens_shading_light>(cmc.lens_shading);
  cmc.lens_shading = nullptr;
}

void release_lens_shading_ext(parsed_cmc& cmc) {
  free_lens_shading_set<lens_shading_light_ext>(cmc.lens_shading_ext);
  cmc.lens_shading_ext = nullptr;
}

}  // namespace qo
