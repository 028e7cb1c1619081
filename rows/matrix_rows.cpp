// Products, transposes and factors of matrices. Lanes are results, never terms of a sum.

#include "rows/matrix_rows.h"

#include "rows/matrix_factors.inl.h"
#include "rows/matrix_product.inl.h"
#include "rows/matrix_transpose.inl.h"
#include "rows/matrix_vector.inl.h"

namespace qo::QO_ROWS_NS {

extern const matrix_rows matrix;
constinit const matrix_rows matrix = {multiply, multiply_vector, multiply_four_vectors, transpose,
                                      factorise};

}  // namespace qo::QO_ROWS_NS
