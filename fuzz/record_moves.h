/// Changes to a container that bytes alone seldom make: whole records are repeated, exchanged, left
/// out, given another kind, taken over from another container.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace fuzz {

using random_bits = std::minstd_rand;

/// One such change, whose result has at most `most` bytes; nothing happens to a container without
/// records. Neither size nor checksum of the container is made right.
void move_records(std::vector<uint8_t>& container, size_t most, random_bits& random);

/// Puts a record of `donor` at some place, if there is one and the result has at most `most` bytes.
void splice_record(std::vector<uint8_t>& container, const std::vector<uint8_t>& donor, size_t most,
                   random_bits& random);

/// The sizes of records, so that each ends where the container does at the latest.
void close_records(std::vector<uint8_t>& container);

}  // namespace fuzz
