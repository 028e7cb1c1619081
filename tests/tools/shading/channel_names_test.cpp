// Which name each site of each colour-filter cell gets. The cells are written out once more: they
// share nothing with the library's table.

#include "tools/shading/channel_names.h"

#include <array>
#include <string>

namespace {

struct cell_case {
  uint16_t layout;
  const char* rows[4];  ///< two letters a site; "--": none
};

const cell_case cases[] = {
    {0, {"G2C2----", "C1G1----", "--------", "--------"}},
    {1, {"C2G2----", "G1C1----", "--------", "--------"}},
    {2, {"C1G1----", "G2C2----", "--------", "--------"}},
    {3, {"G1C1----", "C2G2----", "--------", "--------"}},
    {4, {"--------", "--------", "--------", "--------"}},
    {255, {"--------", "--------", "--------", "--------"}},
    {256, {"C1G2C2G2", "G1--G1--", "C2G2C1G2", "G1--G1--"}},
    {257, {"G2C2G2C1", "--G1--G1", "G2C1G2C2", "--G1--G1"}},
    {258, {"C2G2C1G2", "G1--G1--", "C1G2C2G2", "G1--G1--"}},
    {259, {"G2C1G2C2", "--G1--G1", "G2C2G2C1", "--G1--G1"}},
    {260, {"G1--G1--", "C2G2C1G2", "G1--G1--", "C1G2C2G2"}},
    {261, {"--G1--G1", "G2C1G2C2", "--G1--G1", "G2C2G2C1"}},
    {262, {"G1--G1--", "C1G2C2G2", "G1--G1--", "C2G2C1G2"}},
    {263, {"--G1--G1", "G2C2G2C1", "--G1--G1", "G2C1G2C2"}},
    {264, {"--------", "--------", "--------", "--------"}},
    {65535, {"--------", "--------", "--------", "--------"}},
};

TEST(ChannelNames, EverySiteOfEveryLayoutHasTheCorrectionsColour) {
  for (const cell_case& cell : cases) {
    module_properties_record record_2 = {};
    record_2.cfa_layout = cell.layout;
    for (size_t row = 0; row < 4; ++row) {
      for (size_t column = 0; column < 4; ++column) {
        const auto found = shading::colour_of(&record_2, {row, column});
        const std::string name = found ? shading::name_of(*found) : "--";
        EXPECT_EQ(std::string(cell.rows[row]).substr(2 * column, 2), name)
            << "layout " << cell.layout << " site " << shading::text_of({row, column});
      }
    }
  }
}

TEST(ChannelNames, WithoutRecord2NoSiteHasAColour) {
  EXPECT_FALSE(shading::colour_of(nullptr, {0, 0}).has_value());
}

}  // namespace
