/// What a fuzz target is made of: the entry that the fuzzer calls, and its seeds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

using input = std::vector<uint8_t>;

/// Well-formed inputs of the target, from which a fuzzer starts, and which a replay alters.
std::vector<input> seeds();

}  // namespace fuzz
