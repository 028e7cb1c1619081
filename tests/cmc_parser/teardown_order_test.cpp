// The order in which teardown releases. The linker puts record_release() below in the place of
// every `free` that the library's objects call.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "qo_cmc/parser.h"

extern "C" {
void real_free(void* block) __asm__("__real_free");
void record_release(void* block) __asm__("__wrap_free");
}

namespace {

std::unordered_map<const void*, std::string> names;
std::vector<std::string> releases;

template <typename T>
T* make(const std::string& name, size_t count = 1) {
  T* const block = static_cast<T*>(calloc(count, sizeof(T)));
  names[block] = name;
  return block;
}

record_header* make_copy(const std::string& name) { return make<record_header>(name, 8); }

void fill_kept_slots(parsed_cmc& cmc) {
  cmc.general.record = make_copy("general");
  cmc.general.pairs = make<string_pair>("general.pairs");
  cmc.module_properties = make<module_properties_record>("module_properties");
  cmc.record_5 = make_copy("5");
  cmc.record_6.record = make_copy("6");
  cmc.record_7 = make_copy("7");
  cmc.record_8 = make_copy("8");
  cmc.record_9 = make_copy("9");
  cmc.lsc_grid.record = make_copy("lsc_grid");
  cmc.record_13.record = make_copy("13");
  cmc.record_13.values = make<uint16_t>("13.values");
  cmc.record_14.record = make_copy("14");
  cmc.record_16.record = make_copy("16");
  cmc.record_17.record = make_copy("17");
  cmc.record_18.record = make_copy("18");
  cmc.record_19.record = make_copy("19");
  cmc.record_20.record = make_copy("20");
  cmc.record_21 = make_copy("21");
  cmc.record_23 = make_copy("23");
  cmc.record_25.record = make_copy("25");
  cmc.record_25.entries = make<record_25_entry>("25.entries");
  cmc.record_31 = make_copy("31");
  cmc.record_32 = make_copy("32");
  cmc.record_34 = make_copy("34");
}

void fill_nested_slots(parsed_cmc& cmc) {
  cmc.record_15.record = make_copy("15");
  cmc.record_15.sub_table = make<record_15_sub_table>("15.sub_table");
  cmc.record_15.sub_table->count = 2;
  cmc.record_15.sub_table->entries = make<record_15_entry>("15.entries", 2);
  for (size_t i = 0; i < 2; ++i) {
    record_15_entry& entry = cmc.record_15.sub_table->entries[i];
    entry.array_first = make<uint16_t>("15.first." + std::to_string(i));
    entry.array_second = make<uint16_t>("15.second." + std::to_string(i));
  }

  cmc.record_22 = make<record_22_content>("22");
  cmc.record_22->grid_count = 2;
  cmc.record_22->grid = make<record_22_grid_entry>("22.grid", 2);
  cmc.record_22->grid[0].first_half = make<uint32_t>("22.halves", 4);
  cmc.record_22->grid[1].first_half = cmc.record_22->grid[0].first_half + 2;
  cmc.record_22->items = make<uint8_t>("22.items");
  cmc.record_22->list_count = 2;
  cmc.record_22->list = make<record_22_list_entry>("22.list", 2);
  cmc.record_22->list[0].values = make<uint32_t>("22.values.0");
  cmc.record_22->list[1].values = make<uint32_t>("22.values.1");
  cmc.record_22->list_tail = make<uint8_t>("22.list_tail");

  cmc.record_24 = make<record_24_content>("24");
  cmc.record_24->count = 2;
  cmc.record_24->entries = make<record_24_entry>("24.entries", 2);
  cmc.record_24->entries[0].values = make<uint32_t>("24.values.0");
  cmc.record_24->entries[1].values = make<uint32_t>("24.values.1");

  cmc.record_26 = make<record_26_content>("26");
  cmc.record_27 = make<record_27_content>("27");
  cmc.record_27->record = make_copy("27.copy");
  reinterpret_cast<uint16_t*>(cmc.record_27->record)[12] = 2;
  cmc.record_27->entries = make<record_27_entry>("27.entries", 2);
  for (size_t i = 0; i < 2; ++i) {
    cmc.record_27->entries[i].head = make<uint8_t>("27.head." + std::to_string(i));
    cmc.record_27->entries[i].planes = make<uint16_t>("27.planes." + std::to_string(i));
  }

  cmc.record_29 = make<record_29_content>("29");
  cmc.record_29->planes[0] = make<float>("29.planes", 4);
  for (size_t i = 1; i < 4; ++i) cmc.record_29->planes[i] = cmc.record_29->planes[0] + i;
  cmc.record_30 = make<record_30_content>("30");
  cmc.record_30->items = make<uint8_t>("30.items");
  cmc.record_30->grid = make<uint32_t>("30.grid");
  cmc.record_30->trailing = make<uint32_t>("30.trailing");

  cmc.record_35.first = make<record_35_first>("35.first");
  cmc.record_35.first->array_a = make<uint32_t>("35.first.a");
  cmc.record_35.first->array_b = make<uint16_t>("35.first.b");
  cmc.record_35.first->array_c = make<uint16_t>("35.first.c");
  cmc.record_35.second = make<record_35_second>("35.second");
  cmc.record_35.second->array_b = make<uint16_t>("35.second.b");
  cmc.record_35.second->array_a = make<uint32_t>("35.second.a");
  cmc.record_35.second->array_d = make<uint32_t>("35.second.d");
  cmc.record_36 = make<record_36_content>("36");
  cmc.record_36->array_16 = make<uint16_t>("36.16");
  cmc.record_36->array_32 = make<uint32_t>("36.32");
}

template <typename Light>
lens_shading_set* make_set(const std::string& name, Light* lens_shading_set::*lights) {
  auto* const set = make<lens_shading_set>(name);
  set->light_count = 2;
  set->*lights = make<Light>(name + ".lights", 2);
  for (size_t light = 0; light < 2; ++light)
    for (size_t row = 0; row < 4; ++row)
      for (size_t column = 0; column < 4; ++column)
        (set->*lights)[light].tables[row][column] = make<uint16_t>(
            name + "." + std::to_string(light) + "." + std::to_string(row * 4 + column));
  return set;
}

void append_set(std::vector<std::string>& order, const std::string& name) {
  for (const char* const light : {".0", ".1"})
    // Column by column.
    for (const char* const site : {".0", ".4", ".8", ".12", ".1", ".5", ".9", ".13", ".2", ".6",
                                   ".10", ".14", ".3", ".7", ".11", ".15"})
      order.push_back(name + light + site);
  order.push_back(name + ".lights");
  order.push_back(name);
}

/// Slots that hold a value, an address into another slot's block, or nothing of the library's.
constexpr size_t owning_nothing[] = {2,  3,  6,  7,  10, 15, 16, 17, 20, 22, 24, 25, 26,
                                     27, 29, 31, 33, 35, 36, 38, 39, 41, 42, 48, 62};

void expect_every_owner_filled(const parsed_cmc& cmc) {
  uint64_t slots[sizeof cmc / sizeof(uint64_t)];
  memcpy(slots, &cmc, sizeof slots);
  for (size_t i = 0; i < std::size(slots); ++i) {
    const bool owns = std::find(std::begin(owning_nothing), std::end(owning_nothing), i + 1) ==
                      std::end(owning_nothing);
    EXPECT_EQ(owns, slots[i] != 0) << "slot " << i + 1 << " has no place in the order";
  }
}

TEST(TeardownOrder, EveryBlockIsReleasedOnceBeforeWhatLeadsToIt) {
  auto* const cmc = make<parsed_cmc>("cmc");
  fill_kept_slots(*cmc);
  fill_nested_slots(*cmc);
  cmc->lens_shading = make_set("lens_shading", &lens_shading_set::lights);
  cmc->lens_shading_ext = make_set("lens_shading_ext", &lens_shading_set::lights_ext);
  expect_every_owner_filled(*cmc);

  std::vector<std::string> order = {"general.pairs",
                                    "general",
                                    "module_properties",
                                    "5",
                                    "6",
                                    "7",
                                    "8",
                                    "9",
                                    "lsc_grid",
                                    "13",
                                    "13.values",
                                    "14",
                                    "15.second.0",
                                    "15.first.0",
                                    "15.second.1",
                                    "15.first.1",
                                    "15.entries",
                                    "15.sub_table",
                                    "15",
                                    "16",
                                    "17",
                                    "18",
                                    "19",
                                    "20",
                                    "22.halves",
                                    "22.values.0",
                                    "22.values.1",
                                    "22.list",
                                    "22.list_tail",
                                    "22.grid",
                                    "22.items",
                                    "22",
                                    "23",
                                    "24.values.0",
                                    "24.values.1",
                                    "24.entries",
                                    "24",
                                    "21",
                                    "25.entries",
                                    "25",
                                    "26",
                                    "27.planes.0",
                                    "27.head.0",
                                    "27.planes.1",
                                    "27.head.1",
                                    "27.entries",
                                    "27.copy",
                                    "27",
                                    "30.items",
                                    "30.grid",
                                    "30.trailing",
                                    "30",
                                    "29.planes",
                                    "29"};
  append_set(order, "lens_shading");
  order.insert(order.end(), {"31", "32", "34"});
  append_set(order, "lens_shading_ext");
  order.insert(order.end(),
               {"36.16", "36.32", "36", "35.first.a", "35.first.b", "35.first.c", "35.first",
                "35.second.b", "35.second.a", "35.second.d", "35.second", "cmc"});
  ASSERT_EQ(names.size(), order.size());

  releases.clear();
  qo_cmc_parser_deinit(cmc);
  const std::vector<std::string> released = releases;
  EXPECT_EQ(order, released);
}

}  // namespace

void record_release(void* block) {
  if (const auto found = names.find(block); found != names.end()) releases.push_back(found->second);
  real_free(block);
}
