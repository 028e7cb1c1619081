/// The processor's own operations, for kernels that are written by hand for one instruction set.
#pragma once

#if defined(__SSE2__)

#if defined(__GNUC__) && !defined(__clang__)
// GCC 12 takes the operands that its header leaves undefined on purpose for forgotten ones.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

#endif
