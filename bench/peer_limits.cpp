#include "bench/peer_limits.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {
namespace {

struct setting {
  const char* name;
  const char* value;  ///< null: not set
};

#define QO_AVX512_FEATURES                                                                    \
  "AVX512F,AVX512BW,AVX512CD,AVX512DQ,AVX512VL,AVX512IFMA,AVX512VBMI,AVX512VBMI2,AVX512VNNI," \
  "AVX512BITALG,AVX512VPOPCNTDQ,AVX512-COMMON,AVX512-SKX,AVX512-CNL,AVX512-CLX,AVX512-ICL"

// OpenBLAS: a core type that does not fit, or a cache size, left in the environment slows it. With
// none it looks for itself.
constexpr setting for_avx512[] = {{"OPENCV_CPU_DISABLE", nullptr},
                                  {"OPENBLAS_CORETYPE", nullptr},
                                  {"OPENBLAS_L2_SIZE", nullptr},
                                  {"LIBXSMM_TARGET", nullptr}};
constexpr setting for_avx2[] = {{"OPENCV_CPU_DISABLE", QO_AVX512_FEATURES},
                                {"OPENBLAS_CORETYPE", "Haswell"},
                                {"OPENBLAS_L2_SIZE", nullptr},
                                {"LIBXSMM_TARGET", "hsw"}};
// A machine without AVX2 has SSE 4.2 for those who ask.
constexpr setting for_base[] = {{"OPENCV_CPU_DISABLE", "AVX,FP16,AVX2,FMA3," QO_AVX512_FEATURES},
                                {"OPENBLAS_CORETYPE", "Nehalem"},
                                {"OPENBLAS_L2_SIZE", nullptr},
                                {"LIBXSMM_TARGET", "wsm"}};

bool holds(const setting& wanted) {
  const char* const value = std::getenv(wanted.name);
  if (value == nullptr || wanted.value == nullptr) return value == wanted.value;
  return std::strcmp(value, wanted.value) == 0;
}

void apply(const setting& wanted) {
  if (wanted.value != nullptr)
    setenv(wanted.name, wanted.value, 1);
  else
    unsetenv(wanted.name);
}

}  // namespace

void limit_peers(row_table table, char** arguments) {
  const auto& settings = table == row_table::avx512 ? for_avx512
                         : table == row_table::avx2 ? for_avx2
                                                    : for_base;
  bool complete = true;
  for (const setting& each : settings) complete = complete && holds(each);
  if (complete) return;
  for (const setting& each : settings) apply(each);
  execv("/proc/self/exe", arguments);
  std::perror("bench: cannot start anew with the peers' settings");
  std::exit(1);
}

}  // namespace bench
