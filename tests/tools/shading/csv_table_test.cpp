#include <clocale>
#include <cstdlib>
#include <sstream>

#include "tests/tools/shading/made_subject.h"
#include "tools/sample/sample_module.h"
#include "tools/shading/plane_view.h"
#include "tools/shading/shading.h"

namespace {

using shading::stage;
using shading::subject;

/// One line's fields; quotes only around whole fields.
std::vector<std::string> fields_of(const std::string& line) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (const char letter : line) {
    if (letter == '"')
      quoted = !quoted;
    else if (letter == ',' && !quoted)
      fields.emplace_back();
    else
      fields.back() += letter;
  }
  return fields;
}

double number(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  EXPECT_EQ('\0', *end) << text;
  EXPECT_FALSE(text.empty());
  return value;
}

TEST(CsvTable, ReadsBackAsTheTables) {
  const subject about = shading::collect("sample.vexb", sample_container(), sample_nvm());
  std::istringstream lines(shading::csv_table(about));
  std::string line;
  ASSERT_TRUE(std::getline(lines, line));
  EXPECT_EQ("light,channel,row,column,before,after,ratio,flags", line);
  for (const auto& light : about.lights) {
    for (const auto& channel : light.channels) {
      const shading::plane_view before(about, light, channel, stage::before);
      const shading::plane_view after(about, light, channel, stage::after);
      const shading::plane_view ratio(about, light, channel, stage::ratio);
      for (size_t i = 0; i < before.samples(); ++i) {
        ASSERT_TRUE(std::getline(lines, line));
        const std::vector<std::string> fields = fields_of(line);
        ASSERT_EQ(8u, fields.size()) << line;
        ASSERT_EQ(std::to_string(light.light_id), fields[0]);
        ASSERT_EQ(channel.channel, fields[1]);
        ASSERT_EQ(std::to_string(i / about.width), fields[2]);
        ASSERT_EQ(std::to_string(i % about.width), fields[3]);
        ASSERT_EQ(before.at(i), number(fields[4]));
        ASSERT_EQ(after.at(i), number(fields[5]));
        ASSERT_EQ(ratio.at(i), number(fields[6]));
        ASSERT_EQ(after.is_below_one(i) ? "after-below-1" : "", fields[7]);
      }
    }
  }
  EXPECT_FALSE(std::getline(lines, line));
}

TEST(CsvTable, SaysWhatIsWrongWithASample) {
  subject about = made_subject(2, 1, {0, 256}, {255, 3});
  only_channel(about).channel = "site (0, 0)";
  only_channel(about).wrapped = {false, true};
  EXPECT_EQ(
      "light,channel,row,column,before,after,ratio,flags\n"
      "7,\"site (0, 0)\",0,0,0,0.99609375,,before-below-1 after-below-1 ratio-not-finite\n"
      "7,\"site (0, 0)\",0,1,1,0.01171875,0.01171875,after-below-1 wrapped\n",
      shading::csv_table(about));
}

TEST(CsvTable, LeavesAfterAndRatioEmptyWithoutAModule) {
  EXPECT_EQ(
      "light,channel,row,column,before,after,ratio,flags\n"
      "7,C1,0,0,1.5,,,\n",
      shading::csv_table(made_subject(1, 1, {384})));
}

}  // namespace
