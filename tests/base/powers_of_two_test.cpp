#include "base/powers_of_two.h"

#include <gtest/gtest.h>

namespace {

struct power_case {
  uint32_t exponent;
  float as_unsigned;
  float as_signed;
};

TEST(PowersOfTwo, WrapAnExponentOf32AndDifferAtThirtyOne) {
  const power_case cases[] = {
      {0, 1.0f, 1.0f},
      {8, 256.0f, 256.0f},
      {30, 1073741824.0f, 1073741824.0f},
      {31, 2147483648.0f, -2147483648.0f},
      {32, 1.0f, 1.0f},
      {255, 2147483648.0f, -2147483648.0f},
      {UINT32_MAX, 2147483648.0f, -2147483648.0f},
  };
  for (const power_case& c : cases) {
    EXPECT_EQ(c.as_unsigned, qo::unsigned_power_of_two(c.exponent)) << c.exponent;
    EXPECT_EQ(c.as_signed, qo::signed_power_of_two(c.exponent)) << c.exponent;
  }
}

}  // namespace
