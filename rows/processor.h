/// What this machine's processor can run, and its operating system lets it run.
#pragma once

namespace qo {

/// AVX2. Never on other architectures than x86-64.
[[nodiscard]] bool has_avx2();

/// AVX-512 F, BW, DQ, VL and VBMI, and AVX2.
[[nodiscard]] bool has_avx512();

}  // namespace qo
