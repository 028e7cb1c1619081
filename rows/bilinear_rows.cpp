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

#if defined(__AVX2__)
/// Four bytes take as long to load as to blend.
template <typename Element>
constexpr bool is_across_fast = sizeof(Element) != 4;
#else
template <typename Element>
constexpr bool is_across_fast = false;
#endif

template <typename Element>
constexpr bilinear_kernels<Element> kernels = {plan<Element>, across<Element>,
                                               down<Element>, across_and_down<Element>,
                                               pick<Element>, is_across_fast<Element>};

extern const bilinear_rows bilinear;
constinit const bilinear_rows bilinear = {kernels<uint8_t>, kernels<uint16_t>, kernels<uint32_t>};

}  // namespace qo::QO_ROWS_NS
