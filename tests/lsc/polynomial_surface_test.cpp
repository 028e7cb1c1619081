#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "qo_cmc/lsc.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/guarded_buffer.h"
#include "tests/lsc/plain_lens_shading.h"

namespace {

using kit::guarded_array;
constexpr size_t terms = 15;
constexpr float infinity = std::numeric_limits<float>::infinity();
// The normal matrix of unscaled coordinates is so ill-conditioned that single precision keeps three
// to four digits of a gain: 2.2e-4 and 3.3e-3 are lost with these grids. The bits are those of the
// plain rule; the bounds here only say that the rule fits what it should.
constexpr double constant_tolerance = 5e-4;
constexpr double quartic_tolerance = 7e-3;

guarded_array<float> exactly(const plain::floats& values) {
  guarded_array<float> array(values.size());
  std::copy(values.begin(), values.end(), array.begin());
  return array;
}

plain::floats sampled(const plain::floats& coefficients, uint16_t grid_width, uint16_t grid_height,
                      uint16_t out_width, uint16_t out_height,
                      kit::guard_side side = kit::guard_side::behind) {
  const guarded_array<float> c = exactly(coefficients);
  guarded_array<float> plane(size_t(out_width) * out_height, side);
  do_polynomial_upscale(plane.data(), c.data(), grid_width, grid_height, out_width, out_height);
  return {plane.begin(), plane.end()};
}

plain::floats one_term(size_t term) {
  plain::floats coefficients(terms, 0.0f);
  coefficients[term] = 1.0f;
  return coefficients;
}

TEST(PolynomialSurface, SamplesTheGridItselfWhenTheSizesAreEqual) {
  EXPECT_EQ((plain::floats{1, 2, 3, 1, 2, 3}), sampled(one_term(1), 3, 2, 3, 2));
  EXPECT_EQ((plain::floats{1, 1, 1, 2, 2, 2}), sampled(one_term(2), 3, 2, 3, 2));
}

TEST(PolynomialSurface, HasItsFifteenTermsInTheOrderOfTheDesignMatrix) {
  for (size_t term = 0; term < terms; ++term) {
    const plain::floats plane = sampled(one_term(term), 4, 3, 4, 3);
    for (uint64_t r = 0; r < 3; ++r)
      for (uint64_t k = 0; k < 4; ++k)
        EXPECT_EQ(plane[r * 4 + k], plain::monomials(k + 1, r + 1)[term]) << "term " << term;
  }
}

TEST(PolynomialSurface, SpansTheGridFromCornerToCorner) {
  const plain::floats x = sampled(one_term(1), 17, 13, 65, 49);
  const plain::floats y = sampled(one_term(2), 17, 13, 65, 49);
  EXPECT_EQ(1.0f, x[0]);
  EXPECT_EQ(17.0f, x[64]);
  EXPECT_EQ(1.5f, x[2]);
  EXPECT_EQ(1.0f, y[0]);
  EXPECT_EQ(13.0f, y[48 * 65]);
}

TEST(PolynomialSurface, EqualsThePlainRuleAtEverySize) {
  std::mt19937 random(21);
  std::uniform_real_distribution<float> value(-2.0f, 2.0f);
  for (uint16_t out_width = 1; out_width <= 70; ++out_width) {
    for (const uint16_t out_height : std::initializer_list<uint16_t>{1, 2, 5, 30}) {
      plain::floats c(terms);
      for (float& coefficient : c) coefficient = value(random);
      const uint16_t grid_width = uint16_t(1 + out_width % 40);
      const uint16_t grid_height = uint16_t(1 + (out_width * 5 + out_height) % 30);
      const plain::floats expected =
          plain::surface(c, grid_width, grid_height, out_width, out_height);
      const plain::floats actual = sampled(c, grid_width, grid_height, out_width, out_height);
      ASSERT_EQ(actual.size(),
                plain::first_difference(expected.data(), actual.data(), actual.size()))
          << out_width << " x " << out_height;
    }
  }
}

TEST(PolynomialSurface, EqualsThePlainRuleAcrossVectorsAndStrips) {
  std::mt19937 random(22);
  std::uniform_real_distribution<float> value(-2.0f, 2.0f);
  std::vector<uint16_t> widths;
  for (uint16_t width = 71; width <= 140; ++width) widths.push_back(width);
  for (uint16_t width = 510; width <= 530; ++width) widths.push_back(width);
  widths.insert(widths.end(), {1023, 1024, 1025, 1030, 1040});
  for (const uint16_t width : widths) {
    for (const uint16_t height : std::initializer_list<uint16_t>{2, 3, 4, 7, 63, 64, 65, 130}) {
      plain::floats c(terms);
      for (float& coefficient : c) coefficient = value(random);
      const plain::floats expected = plain::surface(c, 17, 13, width, height);
      const plain::floats actual =
          sampled(c, 17, 13, width, height,
                  height % 2 == 0 ? kit::guard_side::before : kit::guard_side::behind);
      ASSERT_EQ(actual.size(),
                plain::first_difference(expected.data(), actual.data(), actual.size()))
          << width << " x " << height;
    }
  }
}

TEST(PolynomialSurface, OfNegativeZerosIsNegativeZero) {
  const plain::floats c(terms, -0.0f);
  for (const float sample : sampled(c, 5, 5, 37, 9)) ASSERT_TRUE(std::signbit(sample));
  for (const float sample : sampled(c, 5, 5, 3, 9)) ASSERT_TRUE(std::signbit(sample));
}

TEST(PolynomialSurface, EqualsThePlainRuleForExtremeCoefficientsAndEmptyGrids) {
  plain::floats c(terms, 1.0f);
  for (const float extreme : {infinity, -infinity, 1e38f, 1e-42f, std::nanf("")}) {
    for (size_t term = 0; term < terms; ++term) {
      const float kept = c[term];
      c[term] = extreme;
      for (const uint16_t grid : std::initializer_list<uint16_t>{0, 1, 9}) {
        const plain::floats expected = plain::surface(c, grid, grid, 11, 7);
        const plain::floats actual = sampled(c, grid, grid, 11, 7);
        ASSERT_EQ(actual.size(),
                  plain::first_difference(expected.data(), actual.data(), actual.size()));
      }
      c[term] = kept;
    }
  }
}

TEST(PolynomialSurface, OfLargeSidesKeepsItsPositionsExactInSinglePrecision) {
  const plain::floats c = one_term(1);
  const plain::floats expected = plain::surface(c, 255, 2, 65535, 2);
  const plain::floats actual = sampled(c, 255, 2, 65535, 2);
  EXPECT_EQ(actual.size(), plain::first_difference(expected.data(), actual.data(), actual.size()));
}

TEST(PolynomialSurface, WithAnOutputSideOfOneIsNanEverywhere) {
  const plain::floats c(terms, 1.0f);
  for (const uint16_t grid : std::initializer_list<uint16_t>{1, 9}) {
    for (const float sample : sampled(c, grid, grid, 1, 6)) EXPECT_TRUE(std::isnan(sample));
    for (const float sample : sampled(c, grid, grid, 6, 1)) EXPECT_TRUE(std::isnan(sample));
    EXPECT_TRUE(std::isnan(sampled(c, grid, grid, 1, 1)[0]));
  }
}

TEST(PolynomialSurface, WithAnEmptyOutputOrANullPointerWritesNothing) {
  const plain::floats c(terms, 1.0f);
  float sample = 7.0f;
  do_polynomial_upscale(&sample, c.data(), 9, 9, 0, 5);
  do_polynomial_upscale(&sample, c.data(), 9, 9, 5, 0);
  do_polynomial_upscale(nullptr, nullptr, 9, 9, 0, 0);
  do_polynomial_upscale(&sample, nullptr, 9, 9, 1, 1);
  do_polynomial_upscale(nullptr, c.data(), 9, 9, 1, 1);
  EXPECT_EQ(7.0f, sample);
}

/// A call of the fit with arrays of exactly their sizes.
struct surface_fit {
  surface_fit(const plain::fit& factors, uint16_t width, uint16_t height)
      : design_t(exactly(factors.a_t)),
        lu(exactly(factors.lu)),
        grid_width(uint16_t(factors.width)),
        grid_height(uint16_t(factors.height)),
        out_width(width),
        out_height(height) {
    std::mt19937 random(31);
    std::uniform_real_distribution<float> gain(1.0f, 4.0f);
    for (int c = 0; c < 4; ++c) {
      plain::floats grid(factors.width * factors.height);
      for (float& value : grid) value = gain(random);
      grids.push_back(grid);
      sources.push_back(exactly(grid));
      planes.push_back(exactly(plain::floats(size_t(width) * height, 7.0f)));
    }
    for (size_t c = 0; c < 4; ++c) {
      source[c] = sources[c].data();
      destination[c] = planes[c].data();
    }
  }
  uint32_t upscale(uint16_t term_count = terms) {
    return lsc_polynomial_upscale_float(design_t.data(), lu.data(), nullptr, source, destination,
                                        grid_width, grid_height, out_width, out_height, term_count);
  }
  bool is_untouched(size_t channel) const {
    return std::all_of(planes[channel].begin(), planes[channel].end(),
                       [](float sample) { return sample == 7.0f; });
  }
  bool equals(size_t channel, const plain::floats& expected) const {
    return expected.size() == planes[channel].size() &&
           plain::first_difference(expected.data(), planes[channel].data(), expected.size()) ==
               expected.size();
  }

  guarded_array<float> design_t, lu;
  uint16_t grid_width, grid_height, out_width, out_height;
  std::vector<plain::floats> grids;
  std::vector<guarded_array<float>> sources, planes;
  const float* source[4];
  float* destination[4];
};

TEST(SurfaceFit, EqualsThePlainRuleForGridsUpTo40Times30) {
  for (uint16_t height = 1; height <= 30; height = uint16_t(height + 1 + height / 8)) {
    for (uint16_t width = 1; width <= 40; width = uint16_t(width + 1 + width / 8)) {
      const plain::fit factors(width, height);
      surface_fit call(factors, 13, 9);
      ASSERT_EQ(0u, call.upscale());
      for (size_t c = 0; c < 4; ++c)
        ASSERT_TRUE(call.equals(c, factors.upscale(call.grids[c], 13, 9)))
            << width << " x " << height << " channel " << c;
    }
  }
}

TEST(SurfaceFit, DoesNotReadTheRowIndex) {
  const plain::fit factors(6, 6);
  surface_fit call(factors, 4, 4);
  const guarded_array<int32_t> nothing(0);
  EXPECT_EQ(0u, lsc_polynomial_upscale_float(call.design_t.data(), call.lu.data(), nothing.data(),
                                             call.source, call.destination, 6, 6, 4, 4, 15));
  EXPECT_TRUE(call.equals(0, factors.upscale(call.grids[0], 4, 4)));
}

TEST(SurfaceFit, ReproducesAConstantGrid) {
  const plain::fit factors(17, 13);
  surface_fit call(factors, 65, 49);
  for (size_t c = 0; c < 4; ++c) std::fill(call.sources[c].begin(), call.sources[c].end(), 1.75f);
  ASSERT_EQ(0u, call.upscale());
  double worst = 0;
  for (const guarded_array<float>& plane : call.planes)
    for (const float sample : plane) worst = std::max(worst, std::fabs(double(sample) - 1.75));
  EXPECT_LT(worst, constant_tolerance);
}

TEST(SurfaceFit, ReproducesAKnownQuartic) {
  // A shading profile: 1 in the centre, about 3 in the corners, leaning to one side.
  const auto shading = [](double x, double y) {
    const double u = (x - 9.0) / 8.0, v = (y - 7.0) / 6.0, r2 = u * u + v * v;
    return 1.0 + 0.6 * r2 + 0.2 * r2 * r2 + 0.05 * u - 0.03 * v + 0.02 * u * v * v;
  };
  const plain::fit factors(17, 13);
  surface_fit call(factors, 65, 49);
  for (size_t c = 0; c < 4; ++c)
    for (size_t i = 0; i < call.sources[c].size(); ++i)
      call.sources[c][i] = float(shading(double(i % 17) + 1, double(i / 17) + 1));
  ASSERT_EQ(0u, call.upscale());
  double worst = 0;
  for (size_t r = 0; r < 49; ++r)
    for (size_t k = 0; k < 65; ++k)
      worst = std::max(worst, std::fabs(double(call.planes[3][r * 65 + k]) -
                                        shading(1 + double(k) / 4, 1 + double(r) / 4)));
  EXPECT_LT(worst, quartic_tolerance);
}

TEST(SurfaceFit, WithFewerTermsLeavesTheOtherCoefficientsZero) {
  // Three terms: the plane c0 + c1 x + c2 y.
  const plain::floats a = plain::design(6, 5);
  plain::fit factors(6, 5);
  plain::floats narrow;
  for (size_t row = 0; row < 30; ++row)
    for (size_t term = 0; term < 3; ++term) narrow.push_back(a[row * terms + term]);
  factors.a_t = plain::transpose(narrow, 30, 3);
  factors.lu = plain::factors(plain::product(factors.a_t, narrow, 3, 30, 3), 3);
  surface_fit call(factors, 11, 8);
  ASSERT_EQ(0u, call.upscale(3));
  for (size_t c = 0; c < 4; ++c) {
    plain::floats coefficients =
        plain::solve(factors.lu, plain::product(factors.a_t, call.grids[c], 3, 30, 1), 3);
    coefficients.resize(terms, 0.0f);
    EXPECT_TRUE(call.equals(c, plain::surface(coefficients, 6, 5, 11, 8)));
  }
}

TEST(SurfaceFit, WithoutTermsSamplesTheZeroSurface) {
  const plain::fit factors(6, 5);
  surface_fit call(factors, 11, 8);
  ASSERT_EQ(0u, call.upscale(0));
  for (size_t c = 0; c < 4; ++c) EXPECT_TRUE(call.equals(c, plain::floats(88, 0.0f)));
}

TEST(SurfaceFit, WithMoreTermsSamplesTheFirstFifteen) {
  constexpr size_t count = 16, samples = 42;
  plain::floats wide;
  const plain::floats a = plain::design(7, 6);
  for (size_t row = 0; row < samples; ++row) {
    wide.insert(wide.end(), &a[row * terms], &a[row * terms] + terms);
    wide.push_back(float(row % 5));
  }
  plain::fit factors(7, 6);
  factors.a_t = plain::transpose(wide, samples, count);
  factors.lu = plain::factors(plain::product(factors.a_t, wide, count, samples, count), count);
  surface_fit call(factors, 9, 9);
  ASSERT_EQ(0u, call.upscale(count));
  const plain::floats coefficients = plain::solve(
      factors.lu, plain::product(factors.a_t, call.grids[2], count, samples, 1), count);
  EXPECT_TRUE(call.equals(2, plain::surface(coefficients, 7, 6, 9, 9)));
}

TEST(SurfaceFit, EqualsThePlainRuleForEveryNumberOfTerms) {
  constexpr uint16_t width = 7, height = 5;
  constexpr size_t samples = width * height;
  std::mt19937 random(23);
  std::uniform_real_distribution<float> value(-1.0f, 1.0f);
  for (uint16_t count = 1; count <= 40; ++count) {
    plain::fit factors(width, height);
    factors.a_t.resize(samples * count);
    factors.lu.resize(size_t(count) * count);
    for (float& element : factors.a_t) element = value(random);
    for (float& element : factors.lu) element = value(random);
    for (size_t i = 0; i < count; ++i) factors.lu[i * count + i] += 3.0f;
    surface_fit call(factors, 6, 6);
    ASSERT_EQ(0u, call.upscale(count));
    for (size_t c = 0; c < 4; ++c) {
      plain::floats coefficients = plain::solve(
          factors.lu, plain::product(factors.a_t, call.grids[c], count, samples, 1), count);
      coefficients.resize(std::max<size_t>(terms, count), 0.0f);
      ASSERT_TRUE(call.equals(c, plain::surface(coefficients, width, height, 6, 6)))
          << count << " terms, channel " << c;
    }
  }
}

TEST(SurfaceFit, OfASingularMatrixSucceedsWithWhatTheDivisionsGive) {
  plain::fit factors(6, 6);
  factors.lu.assign(factors.lu.size(), 0.0f);
  surface_fit call(factors, 4, 4);
  ASSERT_EQ(0u, call.upscale());
  for (const float sample : call.planes[0]) EXPECT_FALSE(std::isfinite(sample));
}

TEST(SurfaceFit, WithAnEmptyOutputSucceedsAndLooksAtNoPointer) {
  EXPECT_EQ(0u, lsc_polynomial_upscale_float(nullptr, nullptr, nullptr, nullptr, nullptr, 9, 9, 0,
                                             5, 15));
  EXPECT_EQ(0u, lsc_polynomial_upscale_float(nullptr, nullptr, nullptr, nullptr, nullptr, 9, 9, 5,
                                             0, 15));
  const plain::fit factors(6, 6);
  surface_fit call(factors, 4, 4);
  call.out_width = 0;
  EXPECT_EQ(0u, call.upscale());
  EXPECT_TRUE(call.is_untouched(0));
}

TEST(SurfaceFit, OfAnEmptyGridFitsZero) {
  plain::fit factors(6, 6);
  surface_fit call(factors, 4, 4);
  call.grid_width = 0;
  ASSERT_EQ(0u, call.upscale());
  EXPECT_TRUE(call.equals(0, plain::floats(16, 0.0f)));
}

TEST(SurfaceFit, OfNullIsRefusedAndWritesNothing) {
  const plain::fit factors(6, 6);
  surface_fit call(factors, 4, 4);
  const float* const a_t = call.design_t.data();
  const float* const lu = call.lu.data();
  EXPECT_EQ(2u, lsc_polynomial_upscale_float(nullptr, lu, nullptr, call.source, call.destination, 6,
                                             6, 4, 4, 15));
  EXPECT_EQ(2u, lsc_polynomial_upscale_float(a_t, nullptr, nullptr, call.source, call.destination,
                                             6, 6, 4, 4, 15));
  EXPECT_EQ(2u, lsc_polynomial_upscale_float(a_t, lu, nullptr, nullptr, call.destination, 6, 6, 4,
                                             4, 15));
  EXPECT_EQ(2u,
            lsc_polynomial_upscale_float(a_t, lu, nullptr, call.source, nullptr, 6, 6, 4, 4, 15));
  for (size_t c = 0; c < 4; ++c) {
    const float* const source = call.source[c];
    call.source[c] = nullptr;
    EXPECT_EQ(2u, call.upscale());
    call.source[c] = source;
    float* const destination = call.destination[c];
    call.destination[c] = nullptr;
    EXPECT_EQ(2u, call.upscale());
    call.destination[c] = destination;
  }
  for (size_t c = 0; c < 4; ++c) EXPECT_TRUE(call.is_untouched(c));
}

TEST(SurfaceFit, OfAGridBeyondTwoGigabytesIsRefused) {
  const plain::fit factors(6, 6);
  surface_fit call(factors, 4, 4);
  call.grid_width = 65535;
  call.grid_height = 8193;
  EXPECT_EQ(2u, call.upscale());
  EXPECT_TRUE(call.is_untouched(0));
}

TEST(SurfaceFit, WithoutMemoryKeepsThePlanesOfEarlierChannels) {
  const plain::fit factors(6, 6);
  // Two buffers of the call, then one for each channel.
  for (size_t successes = 0; successes <= 6; ++successes) {
    surface_fit call(factors, 4, 4);
    kit::allocation_ledger ledger;
    ledger.fail_after(successes);
    EXPECT_EQ(call.upscale(), successes < 6 ? 2u : 0u);
    const size_t written = successes < 2 ? 0 : successes - 2;
    for (size_t c = 0; c < 4; ++c) {
      if (c < written) {
        EXPECT_TRUE(call.equals(c, factors.upscale(call.grids[c], 4, 4)));
      } else {
        EXPECT_TRUE(call.is_untouched(c));
      }
    }
    EXPECT_EQ(0u, ledger.live_blocks());
  }
}

}  // namespace
