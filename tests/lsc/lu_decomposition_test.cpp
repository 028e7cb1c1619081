#include <gtest/gtest.h>

#include <limits>

#include "qo_cmc/lsc.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/guarded_buffer.h"
#include "tests/lsc/plain_lens_shading.h"

namespace {

constexpr size_t terms = 15;

/// The arrays of one fit, each of exactly its size.
struct fit_arrays {
  fit_arrays(size_t samples, size_t term_count = terms)
      : design(samples * term_count),
        design_t(samples * term_count),
        lu(term_count * term_count),
        index(term_count) {
    for (kit::guarded_array<float>* array : {&design, &design_t, &lu})
      std::fill(array->begin(), array->end(), 7.0f);
    std::fill(index.begin(), index.end(), -5);
  }
  uint32_t decompose(uint16_t width, uint16_t height, uint16_t term_count = terms) {
    return lu_decomposition(design.data(), design_t.data(), lu.data(), index.data(), width, height,
                            term_count);
  }
  bool is_untouched() const {
    return is_full_of(design) && is_full_of(design_t) && has_no_factors();
  }
  bool has_no_factors() const {
    return is_full_of(lu) &&
           std::all_of(index.begin(), index.end(), [](int32_t i) { return i == -5; });
  }
  static bool is_full_of(const kit::guarded_array<float>& array) {
    return std::all_of(array.begin(), array.end(), [](float value) { return value == 7.0f; });
  }

  kit::guarded_array<float> design, design_t, lu;
  kit::guarded_array<int32_t> index;
};

TEST(LuDecomposition, OfATwoByTwoGridListSamplesRowByRow) {
  fit_arrays fit(4);
  ASSERT_EQ(fit.decompose(2, 2), 0u);
  const float expected[4][terms] = {
      {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
      {1, 2, 1, 4, 2, 1, 8, 4, 2, 1, 16, 8, 4, 2, 1},
      {1, 1, 2, 1, 2, 4, 1, 2, 4, 8, 1, 2, 4, 8, 16},
      {1, 2, 2, 4, 4, 4, 8, 8, 8, 8, 16, 16, 16, 16, 16},
  };
  for (size_t row = 0; row < 4; ++row)
    for (size_t term = 0; term < terms; ++term) {
      EXPECT_EQ(fit.design[row * terms + term], expected[row][term]) << row << ' ' << term;
      EXPECT_EQ(fit.design_t[term * 4 + row], expected[row][term]) << row << ' ' << term;
    }
}

void expect_plain_fit(uint16_t width, uint16_t height) {
  fit_arrays fit(size_t(width) * height);
  ASSERT_EQ(0u, fit.decompose(width, height));
  const plain::fit expected(width, height);
  ASSERT_EQ(fit.design.size(),
            plain::first_difference(expected.a.data(), fit.design.data(), fit.design.size()))
      << width << " x " << height;
  ASSERT_EQ(fit.design_t.size(),
            plain::first_difference(expected.a_t.data(), fit.design_t.data(), fit.design_t.size()))
      << width << " x " << height;
  ASSERT_EQ(fit.lu.size(),
            plain::first_difference(expected.lu.data(), fit.lu.data(), fit.lu.size()))
      << width << " x " << height;
  for (int32_t i = 0; i < int32_t(terms); ++i) ASSERT_EQ(i, fit.index[size_t(i)]);
}

TEST(LuDecomposition, EqualThePlainRuleForEveryGridUpTo40Times30) {
  for (uint16_t height = 1; height <= 30; ++height) {
    for (uint16_t width = 1; width <= 40; ++width)
      ASSERT_NO_FATAL_FAILURE(expect_plain_fit(width, height));
  }
}

TEST(LuDecomposition, EqualThePlainRuleForRowsLongerThanWhatIsFormedAtOnce) {
  for (const uint16_t width : std::initializer_list<uint16_t>{62, 63, 64, 65, 66, 127, 128, 129})
    for (const uint16_t height : std::initializer_list<uint16_t>{1, 2, 7})
      ASSERT_NO_FATAL_FAILURE(expect_plain_fit(width, height));
}

TEST(LuDecomposition, FormSquareAndCubeExactlyBeforeRounding) {
  // At 65533 the exact cube rounds to another float than the product of rounded factors.
  constexpr uint16_t width = 65535;
  fit_arrays fit(width);
  ASSERT_EQ(fit.decompose(width, 1), 0u);
  const plain::floats expected = plain::design(width, 1);
  EXPECT_EQ(plain::first_difference(expected.data(), fit.design.data(), fit.design.size()),
            fit.design.size());
  size_t differing = 0;
  for (size_t x = 1; x <= width; ++x) {
    const float rounded = float(x);
    if (fit.design[(x - 1) * terms + 6] != rounded * (rounded * rounded)) ++differing;
  }
  EXPECT_GT(differing, 0u);  // the distinction is one that these coordinates can show
}

TEST(LuDecomposition, OfFewerThanFiveColumnsOrRowsAreSingularAndStillSucceed) {
  for (const auto& [width, height] : {std::pair{1, 1}, {4, 9}, {9, 4}, {4, 4}}) {
    fit_arrays fit(size_t(width * height));
    EXPECT_EQ(fit.decompose(uint16_t(width), uint16_t(height)), 0u);
  }
}

TEST(LuDecomposition, OfAnEmptyGridFactoriseZeros) {
  for (const auto& [width, height] : {std::pair{0, 3}, {3, 0}, {0, 0}}) {
    fit_arrays fit(0);
    ASSERT_EQ(fit.decompose(uint16_t(width), uint16_t(height)), 0u);
    EXPECT_EQ(fit.lu[0], 0.0f);
    EXPECT_EQ(fit.lu[1], 0.0f);
    EXPECT_TRUE(std::isnan(fit.lu[terms]));
    EXPECT_EQ(fit.index[14], 14);
  }
}

TEST(LuDecomposition, WithMoreTermsLeaveTheCallersColumnsAsTheyAre) {
  constexpr uint16_t term_count = 17, width = 7, height = 6;
  constexpr size_t samples = width * height;
  fit_arrays fit(samples, term_count);
  for (size_t row = 0; row < samples; ++row) {
    fit.design[row * term_count + 15] = float(row % 5);
    fit.design[row * term_count + 16] = float(row % 3) * 100;
  }
  const plain::floats monomials = plain::design(width, height);
  plain::floats expected(fit.design.begin(), fit.design.end());
  for (size_t row = 0; row < samples; ++row)
    for (size_t term = 0; term < terms; ++term)
      expected[row * term_count + term] = monomials[row * terms + term];
  ASSERT_EQ(fit.decompose(width, height, term_count), 0u);
  EXPECT_EQ(plain::floats(fit.design.begin(), fit.design.end()), expected);
  const plain::floats transposed = plain::transpose(expected, samples, term_count);
  EXPECT_EQ(plain::floats(fit.design_t.begin(), fit.design_t.end()), transposed);
  const plain::floats lu = plain::factors(
      plain::product(transposed, expected, term_count, samples, term_count), term_count);
  EXPECT_EQ(plain::first_difference(lu.data(), fit.lu.data(), lu.size()), lu.size());
}

TEST(LuDecomposition, WithFewerThanFifteenTermsAreRefused) {
  for (const uint16_t term_count : std::initializer_list<uint16_t>{0, 1, 14}) {
    fit_arrays fit(25);
    EXPECT_EQ(fit.decompose(5, 5, term_count), 2u);
    EXPECT_TRUE(fit.is_untouched());
  }
}

TEST(LuDecomposition, BeyondTwoGigabytesAreRefused) {
  fit_arrays fit(1);
  EXPECT_EQ(fit.decompose(1, 1, 23171), 2u);  // the normal matrix
  EXPECT_EQ(fit.decompose(1, 1, 65535), 2u);
  EXPECT_EQ(fit.decompose(65535, 65535), 2u);  // one row of the transposed design matrix
  EXPECT_EQ(fit.decompose(65535, 8193), 2u);   // the first height that is too much
  EXPECT_TRUE(fit.is_untouched());
}

TEST(LuDecomposition, OfNullAreRefused) {
  fit_arrays fit(1);
  float* const design = fit.design.data();
  float* const design_t = fit.design_t.data();
  float* const lu = fit.lu.data();
  int32_t* const index = fit.index.data();
  EXPECT_EQ(lu_decomposition(nullptr, design_t, lu, index, 1, 1, 15), 2u);
  EXPECT_EQ(lu_decomposition(design, nullptr, lu, index, 1, 1, 15), 2u);
  EXPECT_EQ(lu_decomposition(design, design_t, nullptr, index, 1, 1, 15), 2u);
  EXPECT_EQ(lu_decomposition(design, design_t, lu, nullptr, 1, 1, 15), 2u);
  EXPECT_EQ(lu_decomposition(nullptr, nullptr, nullptr, nullptr, 0, 0, 15), 2u);
  EXPECT_TRUE(fit.is_untouched());
}

TEST(LuDecomposition, WithoutMemoryForTheNormalMatrixWriteNothing) {
  fit_arrays fit(25);
  kit::allocation_ledger ledger;
  ledger.fail_after(0);
  EXPECT_EQ(fit.decompose(5, 5), 4u);
  EXPECT_TRUE(fit.is_untouched());
  EXPECT_EQ(ledger.live_blocks(), 0u);
}

TEST(LuDecomposition, WithoutMemoryForTheFactorisationReportAFailedStep) {
  fit_arrays fit(25);
  kit::allocation_ledger ledger;
  ledger.fail_after(1);
  EXPECT_EQ(fit.decompose(5, 5), 2u);
  EXPECT_TRUE(fit.has_no_factors());
  const plain::floats expected = plain::design(5, 5);
  EXPECT_EQ(plain::floats(fit.design.begin(), fit.design.end()), expected);
  EXPECT_EQ(ledger.live_blocks(), 0u);
  ledger.fail_never();
  EXPECT_EQ(fit.decompose(5, 5), 0u);
  EXPECT_EQ(ledger.live_blocks(), 0u);
}

}  // namespace
