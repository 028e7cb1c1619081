/// Vectors of as many samples as the instruction set's registers hold: a thin type over the
/// compilers' vector extension, whose operators work lane by lane.
///
/// For row kernels only. Everything lies in an anonymous namespace within the set's own: a function
/// that the linker could share between sets would run with instructions that a machine may lack.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#if defined(__AVX2__)
#include <immintrin.h>
#endif

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

/// The same register under another type, to and from what intrinsics take.
template <typename To, typename From>
[[nodiscard]] inline __attribute__((always_inline)) To same_bits(const From& from) {
  static_assert(sizeof(To) == sizeof(From));
  return load_vector<To>(&from);
}

/// The lanes of two vectors, one after the other, that the indices name.
template <int... Index, typename Vector>
[[nodiscard]] inline __attribute__((always_inline)) auto shuffled(Vector a, Vector b) {
#if __has_builtin(__builtin_shufflevector)
  return __builtin_shufflevector(a, b, Index...);
#else  // GCC 11, whose own builtin gives as many lanes as it takes
  typedef __typeof__(Vector{}[0]) value;
  constexpr int lanes = sizeof(Vector) / sizeof(value);
  if constexpr (sizeof...(Index) == lanes) {
    return __builtin_shuffle(a, b, decltype(a == b){Index...});
  } else {
    return vector_n<value, sizeof...(Index)>{
        (Index < lanes ? a[Index % lanes] : b[Index % lanes])...};
  }
#endif
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

#if defined(__AVX2__)
/// Lane by lane what the processor truncates to: what is out of range, or no number, becomes
/// INT32_MIN.
template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<int32_t, Lanes> truncate_or_lowest(
    vector_n<float, Lanes> v) {
  if constexpr (Lanes == 4) {
    return same_bits<vector_n<int32_t, 4>>(_mm_cvttps_epi32(same_bits<__m128>(v)));
  } else if constexpr (Lanes == 8) {
    return same_bits<vector_n<int32_t, 8>>(_mm256_cvttps_epi32(same_bits<__m256>(v)));
  } else {
#if defined(__AVX512F__)
    static_assert(Lanes == 16);
    return same_bits<vector_n<int32_t, 16>>(_mm512_cvttps_epi32(same_bits<__m512>(v)));
#endif
  }
}
#endif

/// Lane by lane a value whose low 16 bits are those of truncate_lanes().
template <size_t Lanes>
[[nodiscard]] inline __attribute__((always_inline)) vector_n<int32_t, Lanes>
truncate_lanes_for_low_16(vector_n<float, Lanes> v) {
#if defined(__AVX2__)
  // INT32_MIN ends in 16 zeros: right for a NaN and for what is too low. INT32_MAX ends in 16 ones.
  if constexpr (Lanes == 4 || Lanes == 8 || Lanes == lanes_of<float>)
    return truncate_or_lowest<Lanes>(v) | (v >= 2147483648.0f);
#endif
  return truncate_lanes<Lanes>(v);
}

}  // namespace
}  // namespace qo::QO_ROWS_NS
