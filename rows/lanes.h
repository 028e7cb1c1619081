/// Vectors of as many samples as the instruction set's registers hold: a thin type over the
/// compilers' vector extension, whose operators work lane by lane.
///
/// For row kernels only. Everything lies in an anonymous namespace within the set's own: a function
/// that the linker could share between sets would run with instructions that a machine may lack.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifndef QO_ROWS_NS
#define QO_ROWS_NS rows_base
#endif

#if defined(__AVX512VBMI__)
#define QO_VECTOR_BYTES 64
#elif defined(__AVX2__)
#define QO_VECTOR_BYTES 32
#else
#define QO_VECTOR_BYTES 16
#endif

namespace qo::QO_ROWS_NS {
namespace {

template <typename T, size_t Lanes>
struct vector_of {
  typedef T type __attribute__((vector_size(Lanes * sizeof(T))));
};

/// `Lanes` values of type T.
template <typename T, size_t Lanes>
using vector_n = typename vector_of<T, Lanes>::type;

/// Values of type T that one register holds.
template <typename T>
inline constexpr size_t lanes_of = QO_VECTOR_BYTES / sizeof(T);

/// One register of values of type T.
template <typename T>
using vector = vector_n<T, lanes_of<T>>;

/// The vector at `from`, of any alignment.
template <typename Vector>
[[nodiscard]] inline __attribute__((always_inline)) Vector load_vector(const void* from) {
  Vector v;
  memcpy(&v, from, sizeof v);
  return v;
}

template <typename Vector>
inline __attribute__((always_inline)) void store_vector(void* to, const Vector& v) {
  memcpy(to, &v, sizeof v);
}

/// Lane by lane what truncate_to_i32() of base/float_to_int.h gives: toward zero, saturating, 0 for
/// a NaN. The conversion itself never sees a value out of range.
template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<int32_t, Lanes> truncate_lanes(
    vector_n<float, Lanes> v) {
  constexpr float limit = 2147483648.0f;  // 2^31
  const vector_n<int32_t, Lanes> inside = (v < limit) & (v > -limit);
  const vector_n<int32_t, Lanes> safe_bits = load_vector<vector_n<int32_t, Lanes>>(&v) & inside;
  const auto in_range = __builtin_convertvector(load_vector<vector_n<float, Lanes>>(&safe_bits),
                                                vector_n<int32_t, Lanes>);
  return in_range | ((v >= limit) & INT32_MAX) | ((v <= -limit) & INT32_MIN);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
