#include <png.h>

#include <algorithm>
#include <set>

#include "tests/tools/shading/made_subject.h"
#include "tests/tools/shading/shading_cases.h"
#include "tools/sample/sample_module.h"
#include "tools/shading/panel_layout.h"
#include "tools/shading/png_file.h"
#include "tools/shading/shading.h"

namespace {

using shading::rgb;
using shading::subject;

struct decoded {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<rgb> pixels;

  [[nodiscard]] rgb at(uint32_t x, uint32_t y) const { return pixels.at(size_t{y} * width + x); }
  [[nodiscard]] size_t count(rgb colour) const {
    return static_cast<size_t>(std::count(pixels.begin(), pixels.end(), colour));
  }
};

decoded decode(const std::vector<uint8_t>& file) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  EXPECT_NE(0, png_image_begin_read_from_memory(&image, file.data(), file.size()));
  EXPECT_EQ(unsigned{PNG_FORMAT_RGB}, image.format);
  decoded result = {image.width, image.height, {}};
  result.pixels.resize(size_t{image.width} * image.height);
  EXPECT_NE(0, png_image_finish_read(&image, nullptr, result.pixels.data(), 0, nullptr));
  return result;
}

TEST(PngFile, ReadsBackAsItsPixels) {
  const std::vector<rgb> pixels = {{1, 2, 3}, {4, 5, 6}, {255, 254, 253},
                                   {0, 0, 0}, {9, 8, 7}, {128, 0, 1}};
  const decoded read = decode(shading::png_file_of(pixels, 3, 2));
  EXPECT_EQ(3u, read.width);
  EXPECT_EQ(2u, read.height);
  EXPECT_EQ(pixels, read.pixels);
}

TEST(PngFile, APictureWithoutPixelsIsRefused) {
  EXPECT_THROW((void)shading::png_file_of({}, 0, 3), std::runtime_error);
  const std::vector<rgb> pixels(5);
  EXPECT_THROW((void)shading::png_file_of(pixels, 3, 2), std::runtime_error);
}

TEST(PngPicture, IsTheSameAtEveryCall) {
  const subject about = shading::collect("sample.vexb", sample_container(), sample_nvm());
  EXPECT_EQ(shading::png_picture(about), shading::png_picture(about));
}

// Two pixels a unit. The heading has three lines here: the file, the module's state, the count.
TEST(PngPicture, ShowsSamplesInTheirColours) {
  const std::vector<uint16_t> samples = {256, 512, 255, 256};
  const decoded picture = decode(shading::png_picture(made_subject(2, 2, samples)));
  const auto cell = shading::cell_at(48 + 3 * 16, 0, 0);
  const shading::box panel = shading::panel_box(cell, 2, 2);
  const auto pixel = [&](double across, double down) {
    return picture.at(static_cast<uint32_t>(2 * (panel.x + across * panel.width)),
                      static_cast<uint32_t>(2 * (panel.y + down * panel.height)));
  };
  EXPECT_EQ(shading::colour_at(0), pixel(0.05, 0.05));
  EXPECT_EQ(shading::colour_at(1), pixel(0.95, 0.05));
  EXPECT_EQ(shading::below_one_colour, pixel(0.05, 0.95));
  EXPECT_EQ(shading::colour_at(0), pixel(0.95, 0.95));
}

TEST(PngPicture, AlarmColoursAppearOnlyWhereSamplesAreWrong) {
  const subject good = made_subject(3, 3, std::vector<uint16_t>(9, 300));
  const decoded without = decode(shading::png_picture(good));
  subject bad = made_subject(3, 3, std::vector<uint16_t>(9, 300), std::vector<uint16_t>(9, 300));
  only_channel(bad).wrapped = std::vector<bool>(9, false);
  only_channel(bad).wrapped[4] = true;
  const decoded with = decode(shading::png_picture(bad));
  // The legend's swatches are 16 x 10 units.
  EXPECT_EQ(4u * 16 * 10, without.count(shading::wrapped_colour));
  EXPECT_GT(with.count(shading::wrapped_colour), 4u * 16 * 10 + 1000);
}

TEST(PngPicture, EveryCaseCanBeDrawn) {
  for (const shading_case& shown : every_shading_case()) {
    const decoded picture =
        decode(shading::png_picture(shading::collect(shown.name, shown.container, shown.nvm)));
    EXPECT_GE(picture.width, 1290u) << shown.name;
    EXPECT_LE(picture.height, 32767u) << shown.name;
  }
}

TEST(PngPicture, ManyLightsAreLimited) {
  subject about = made_subject(1, 1, {256});
  about.lights.resize(65535, about.lights[0]);
  const auto bands = shading::bands_of(about);
  EXPECT_EQ(16u, bands.size());
  EXPECT_EQ("Pictures and tables show the first 16 of 65535 lights.",
            shading::limit_sentence(about, bands));
}

TEST(PngPicture, ManyChannelsAreLimitedByWholeLights) {
  subject about = made_subject(1, 1, {256});
  about.lights[0].channels.resize(16, about.lights[0].channels[0]);
  about.lights.resize(7, about.lights[0]);
  const auto bands = shading::bands_of(about);
  EXPECT_EQ(24u, bands.size());
  EXPECT_EQ(6u, shading::lights_shown(bands));
}

}  // namespace
