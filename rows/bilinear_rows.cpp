// Bilinear resizing in fixed point.

#include "rows/bilinear_rows.h"

#include "rows/bilinear_pick.inl.h"
#include "rows/lanes.h"

#if defined(__AVX2__)
#include "rows/bilinear_blend.inl.h"
#else
#include "rows/bilinear_plain.inl.h"
#endif

namespace qo::QO_ROWS_NS {

extern const bilinear_rows bilinear;
constinit const bilinear_rows bilinear = {
    {plan<uint8_t>, across<uint8_t>, down<uint8_t>, across_and_down<uint8_t>, pick<uint8_t>},
    {plan<uint16_t>, across<uint16_t>, down<uint16_t>, across_and_down<uint16_t>, pick<uint16_t>},
    {plan<uint32_t>, across<uint32_t>, down<uint32_t>, across_and_down<uint32_t>, pick<uint32_t>},
};

}  // namespace qo::QO_ROWS_NS
