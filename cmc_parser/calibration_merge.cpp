#include "cmc_parser/calibration_merge.h"

namespace qo {

void merge_calibration(parsed_cmc&, const calibration&) {}

}  // namespace qo
