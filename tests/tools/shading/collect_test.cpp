// What is collected of whole containers.

#include <algorithm>

#include "tests/tools/shading/shading_cases.h"
#include "tools/sample/sample_module.h"
#include "tools/shading/plane_figures.h"
#include "tools/shading/shading.h"
#include "writer/container_writer.h"

namespace {

using shading::collect;
using shading::light_panels;
using shading::plane_pair;
using shading::stage;
using shading::subject;

subject collect_module(const module_fields& fields, std::vector<uint8_t> nvm = module_nvm()) {
  return collect("module.vexb", module_container(fields), nvm);
}

std::vector<std::string> channel_names(const light_panels& light) {
  std::vector<std::string> names;
  for (const plane_pair& channel : light.channels) names.push_back(channel.channel);
  return names;
}

TEST(Collect, TheSampleHasItsLightsChannelsAndGains) {
  const subject about = collect("sample.vexb", sample_container(), sample_nvm());
  EXPECT_TRUE(about.valid);
  EXPECT_TRUE(about.has_module);
  EXPECT_EQ("sample module", about.module_name);
  EXPECT_EQ(65u, about.width);
  EXPECT_EQ(49u, about.height);
  ASSERT_EQ(3u, about.lights.size());
  for (const light_panels& light : about.lights) {
    EXPECT_EQ("", light.not_corrected);
    ASSERT_EQ((std::vector<std::string>{"C1", "G1", "G2", "C2"}), channel_names(light));
    // Layout 3: G1 C1 / C2 G2.
    EXPECT_EQ("(0, 1)", light.channels[0].sites);
    EXPECT_EQ("(0, 0)", light.channels[1].sites);
    EXPECT_EQ("(1, 1)", light.channels[2].sites);
    EXPECT_EQ("(1, 0)", light.channels[3].sites);
    for (const plane_pair& channel : light.channels) {
      EXPECT_TRUE(channel.wrapped_known);
      EXPECT_EQ(65u * 49, channel.after.size());
      EXPECT_EQ(65u * 49, channel.gain.size());
      EXPECT_EQ(0, std::count(channel.wrapped.begin(), channel.wrapped.end(), true));
    }
  }
}

// The sample's lens was glued 4.5 % of the half width to the right and 3 % of the half height up.
TEST(Collect, TheSamplesLensIsSeenToStandBesideTheSensorsMiddle) {
  const subject about = collect("sample.vexb", sample_container(), sample_nvm());
  const light_panels& light = about.lights[0];
  for (const size_t channel : {size_t{0}, size_t{3}}) {
    const shading::plane_view before(about, light, light.channels[channel], stage::before);
    const shading::plane_view after(about, light, light.channels[channel], stage::after);
    const auto designed = shading::figures_of(before).contour_centre;
    const auto glued = shading::figures_of(after).contour_centre;
    ASSERT_TRUE(designed.has_value() && glued.has_value());
    EXPECT_NEAR(32, designed->column, 0.05);
    EXPECT_NEAR(24, designed->row, 0.05);
    EXPECT_NEAR(32 + 32 * 0.045, glued->column, 0.1);
    EXPECT_NEAR(24 - 24 * 0.030, glued->row, 0.1);
  }
}

TEST(Collect, WithoutAnNvmImageThereIsOnlyBefore) {
  const subject about = collect("sample.vexb", sample_container(), std::nullopt);
  EXPECT_TRUE(about.valid);
  EXPECT_FALSE(about.has_module);
  EXPECT_FALSE(about.module_lost);
  EXPECT_NE(std::string::npos, about.module_state.find("No NVM image"));
  for (const plane_pair& channel : about.lights.at(0).channels) {
    EXPECT_EQ(65u * 49, channel.before.size());
    EXPECT_TRUE(channel.after.empty());
    EXPECT_FALSE(channel.wrapped_known);
  }
}

struct refusal_case {
  const char* name;
  module_fields fields;
  std::vector<uint8_t> nvm;
  const char* reason;
};

TEST(Collect, AMergeThatDidNotRunIsSaidWithItsReason) {
  const refusal_case cases[] = {
      {"empty image", {}, {}, "The NVM image is empty"},
      {"refused image", {}, {1, 2, 3}, "The NVM library refuses the NVM image"},
      {"no record 2", {.cfa_layout = std::nullopt}, module_nvm(), "without record 2"},
      {"unknown layout", {.cfa_layout = 17}, module_nvm(), "unknown arrangement of colours"},
      {"unknown order", {.plane_order = 4}, module_nvm(), "unknown order of planes"},
      {"too narrow", {.width = 1}, module_nvm(), "no gain planes could be computed"},
  };
  for (const refusal_case& refused : cases) {
    const subject about = collect_module(refused.fields, refused.nvm);
    EXPECT_TRUE(about.valid) << refused.name;
    EXPECT_FALSE(about.has_module) << refused.name;
    EXPECT_TRUE(about.module_lost) << refused.name;
    EXPECT_NE(std::string::npos, about.module_state.find(refused.reason))
        << refused.name << ": " << about.module_state;
    EXPECT_EQ(4u, about.lights.at(0).channels.size()) << refused.name;
  }
}

TEST(Collect, WithoutRecord2ChannelsAreCalledByTheirSites) {
  const subject about = collect_module({.cfa_layout = std::nullopt});
  EXPECT_EQ((std::vector<std::string>{"site (0, 0)", "site (0, 1)", "site (1, 0)", "site (1, 1)"}),
            channel_names(about.lights.at(0)));
}

TEST(Collect, SitesWithTheSameTablesAreOneChannel) {
  // Layout 256 on four planes: every colour's sites share one.
  module_fields fields = {.cfa_layout = 256,
                          .channel_map = {0, 2, 3, 2, 1, -1, 1, -1, 3, 2, 0, 2, 1, -1, 1, -1}};
  fields.before = [](size_t, size_t plane, size_t) {
    return static_cast<uint16_t>(4096 + 10 * plane);
  };
  const subject about = collect_module(fields);
  const light_panels& light = about.lights.at(0);
  ASSERT_EQ((std::vector<std::string>{"C1", "G1", "G2", "C2"}), channel_names(light));
  EXPECT_EQ("(0, 0) (2, 2)", light.channels[0].sites);
  EXPECT_EQ("(1, 0) (1, 2) (3, 0) (3, 2)", light.channels[1].sites);
  EXPECT_EQ("(0, 1) (0, 3) (2, 1) (2, 3)", light.channels[2].sites);
  EXPECT_EQ("(0, 2) (2, 0)", light.channels[3].sites);
  for (const plane_pair& channel : light.channels) EXPECT_TRUE(channel.wrapped_known);
}

TEST(Collect, SitesOfAColourThatDifferAreToldApart) {
  const std::vector<shading_case> all = every_shading_case();
  const auto sixteen = std::find_if(
      all.begin(), all.end(), [](const shading_case& one) { return one.name == "sixteen_sites"; });
  ASSERT_NE(all.end(), sixteen);
  const subject about = collect("x", sixteen->container, sixteen->nvm);
  EXPECT_EQ((std::vector<std::string>{"C1 (0, 0)", "C1 (2, 2)", "G1 (1, 0)", "G1 (1, 2)",
                                      "G1 (3, 0)", "G1 (3, 2)", "G2 (0, 1)", "G2 (0, 3)",
                                      "G2 (2, 1)", "G2 (2, 3)", "C2 (0, 2)", "C2 (2, 0)",
                                      "site (1, 1)", "site (1, 3)", "site (3, 1)", "site (3, 3)"}),
            channel_names(about.lights.at(0)));
  // Sites without a gain plane are left as they were.
  for (size_t i = 12; i < 16; ++i) {
    const plane_pair& channel = about.lights[0].channels[i];
    EXPECT_FALSE(channel.wrapped_known);
    EXPECT_EQ(channel.before, channel.after);
  }
}

// A module that asks for no gain anywhere multiplies by exactly 1; one source sample then decides
// what wraps.
TEST(Collect, ProductsThatFitAreNotTakenForWrapped) {
  module_fields fields;
  fields.source = [](size_t, size_t, size_t) -> uint16_t { return 65535; };
  const subject about = collect_module(fields, module_nvm(0));
  ASSERT_TRUE(about.has_module);
  for (const plane_pair& channel : about.lights.at(0).channels) {
    ASSERT_TRUE(channel.wrapped_known);
    for (size_t i = 0; i < channel.after.size(); ++i) {
      // The fitted surface is flat but for rounding, which may lift a gain above 1.
      const bool wraps = 65535.0f * channel.gain[i] >= 65536.0f;
      EXPECT_EQ(wraps, channel.wrapped[i]) << i;
      EXPECT_EQ(wraps, channel.after[i] != 65535) << i;
    }
  }
}

TEST(Collect, WrappedProductsAreThoseThatPass65535) {
  module_fields fields;
  fields.source = [](size_t, size_t, size_t) -> uint16_t { return 60000; };
  const subject about = collect_module(fields, module_nvm(200));
  ASSERT_TRUE(about.has_module);
  for (const plane_pair& channel : about.lights.at(0).channels) {
    ASSERT_TRUE(channel.wrapped_known);
    size_t wrapped = 0;
    for (size_t i = 0; i < channel.after.size(); ++i) {
      const auto whole = static_cast<uint32_t>(60000.0f * channel.gain[i]);
      EXPECT_EQ(whole > 65535, channel.wrapped[i]) << i;
      EXPECT_EQ(whole % 65536, channel.after[i]) << i;
      wrapped += channel.wrapped[i] ? 1u : 0u;
    }
    // The middle has gain 1; in the corners 60000 x 1.78 is far above.
    EXPECT_FALSE(channel.wrapped[3 * 9 + 4]);
    EXPECT_TRUE(channel.wrapped[0]);
    EXPECT_TRUE(channel.wrapped[62]);
    EXPECT_GT(wrapped, 4u);
  }
}

TEST(Collect, LightsFromTheOneWithoutItsSetOnAreNotCorrected) {
  module_fields fields = {.lights = 3};
  for (uint16_t light = 0; light < 3; ++light) {
    writer::light_head head = writer::default_light_head(light);
    head.aux = light == 1 ? 5 : 0;  // the first set, but for the second light, which asks for none
    head.integer_bits = 4;
    fields.heads.push_back(head);
  }
  const subject about = collect_module(fields);
  ASSERT_TRUE(about.has_module);
  EXPECT_TRUE(about.module_lost);
  EXPECT_NE(std::string::npos, about.module_state.find("into 1 of 3 lights"));
  EXPECT_EQ("", about.lights.at(0).not_corrected);
  for (const size_t light : {size_t{1}, size_t{2}}) {
    EXPECT_NE("", about.lights[light].not_corrected);
    for (const plane_pair& channel : about.lights[light].channels) {
      EXPECT_EQ(channel.before, channel.after);
      EXPECT_FALSE(channel.wrapped_known);
    }
  }
}

TEST(Collect, WhatIsNoContainerIsNotValidAndEmpty) {
  const subject about = collect("a\x1b.vexb", {}, std::nullopt);
  EXPECT_FALSE(about.valid);
  EXPECT_TRUE(about.lights.empty());
  EXPECT_EQ("a\\x1b.vexb", about.file);
}

TEST(Collect, NamesFromTheFileAreEscaped) {
  const subject about = collect_module({.name = "a\x1b[31m\xff"});
  EXPECT_EQ("a\\x1b[31m\\xff", about.module_name);
}

TEST(Collect, EveryByteOfASmallContainerMayBeWrong) {
  const std::vector<uint8_t> good = module_container({.lights = 2});
  for (size_t i = 24; i < good.size(); i += 7) {
    for (const uint8_t value : {uint8_t{0}, uint8_t{0xff}, uint8_t{0x80}}) {
      std::vector<uint8_t> broken = good;
      broken[i] = value;
      writer::seal(broken);
      const subject about = collect("broken", broken, module_nvm());
      EXPECT_TRUE(about.valid);
      for (const light_panels& light : about.lights)
        for (const plane_pair& channel : light.channels)
          EXPECT_EQ(size_t{about.width} * about.height, channel.before.size());
      EXPECT_FALSE(shading::csv_table(about).empty());
    }
  }
}

}  // namespace
