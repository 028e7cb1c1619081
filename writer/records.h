/// A builder for every record kind: well-formed records with chosen counts, sizes and fields, and
/// distinct bytes everywhere else, so that a field read from the wrong place shows.
///
/// Members that are not given take plausible defaults: `record_10({.lights = 1, .version = 101})`.
/// What a version does not store is not written, whatever its member says. `filler` starts the
/// bytes that nothing determines; records with different fillers differ in all of them.
/// Every result has exactly the size that its kind's check asks for at least: most are padded to a
/// multiple of 8, kinds without a check end with their last byte. writer::resized() makes a record
/// shorter or longer. Header byte 5, which nothing interprets, is never 0 here.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "writer/container_writer.h"
#include "writer/filler_bytes.h"

namespace writer {

// ------------------------------------------------------- kinds whose copy is kept as it stands

/// Kind 1: the module's name at byte 24, NUL-terminated; from version 101 on the number of pairs
/// (u16) directly after it, then keys and values, NUL-terminated.
struct general_fields {
  std::string name = "module";
  std::vector<std::pair<std::string, std::string>> pairs = {{"vendor", "nobody"}, {"lens", ""}};
  uint8_t version = 101;
  uint32_t filler = 1;
};
bytes record_1(const general_fields& fields = {});

/// Kind 2: 16, 18, 34 or 36 bytes by version, `cfa_layout` (u16) at byte 14.
struct module_properties_fields {
  uint16_t value_12 = 0x2c0d;
  uint16_t cfa_layout = 2;
  uint8_t version = 103;
  uint32_t filler = 2;
};
bytes record_2(const module_properties_fields& fields = {});

/// Kinds 5, 7, 8, 21, 23, 9 and 32, and every kind without a layout: header and filler bytes.
struct plain_fields {
  uint32_t size = 24;
  uint8_t version = 100;
  uint32_t filler = 3;
};
bytes record_5(const plain_fields& fields = {});
bytes record_7(const plain_fields& fields = {});
bytes record_8(const plain_fields& fields = {});
bytes record_9(const plain_fields& fields = {});
bytes record_21(const plain_fields& fields = {});
bytes record_23(const plain_fields& fields = {});
bytes record_32(const plain_fields& fields = {});
/// Any kind: one without a decoder (0, 4 and 12 for instance), or a foreign one (64 and above).
bytes plain_record(uint16_t id, const plain_fields& fields = {});

/// Kind 6: four u8 counts at bytes 12 to 15, then that many u16 in all from byte 16.
struct record_6_fields {
  uint8_t counts[4] = {3, 1, 2, 4};
  uint8_t version = 100;
  uint32_t filler = 6;
};
bytes record_6(const record_6_fields& fields = {});

/// Kind 13: n (u16) at byte 70 and n u16 from byte 72; after them parameter 0 (version 101) and
/// parameters 1 to 3 (version 102), one u16 each.
struct record_13_fields {
  uint16_t count = 5;
  uint16_t params[4] = {11, 12, 260, 1010};
  uint8_t version = 102;
  uint32_t filler = 13;
};
bytes record_13(const record_13_fields& fields = {});

/// Kind 14: first, last and step (u16) at bytes 8, 10 and 12; (last - first) / step entries of
/// 8 bytes from byte 14, and 10 bytes more.
struct record_14_fields {
  uint16_t first = 100;
  uint16_t last = 131;
  uint16_t step = 10;
  uint8_t version = 100;
  uint32_t filler = 14;
};
bytes record_14(const record_14_fields& fields = {});

/// Kind 15: a and b (u16) at bytes 8 and 10; from byte 12 three sections of a and one of b items
/// of 8 bytes; the number of sub-table entries (u16); each entry 12 bytes, its own count in the
/// last two of them, then two arrays of that many u16.
struct record_15_fields {
  uint16_t a = 2;
  uint16_t b = 3;
  std::vector<uint16_t> entry_counts = {2, 0, 3};
  uint8_t version = 100;
  uint32_t filler = 15;
};
bytes record_15(const record_15_fields& fields = {});

/// Kind 16: n (u16) at byte 12, then n items of 4 bytes from byte 14.
struct record_16_fields {
  uint16_t count = 3;
  uint8_t version = 100;
  uint32_t filler = 16;
};
bytes record_16(const record_16_fields& fields = {});

/// Kind 17: plane order (u16) at byte 10, orientation (u16) at byte 12, a payload from byte 14.
struct record_17_fields {
  uint16_t plane_order = 2;
  uint16_t orientation = 0;
  uint32_t payload_bytes = 10;
  uint8_t version = 101;
  uint32_t filler = 17;
};
bytes record_17(const record_17_fields& fields = {});

/// Kind 18: n (u16) at byte 8, n entries of 84 bytes from byte 10; from version 101 on a tail.
struct record_18_fields {
  uint16_t count = 2;
  uint32_t tail_bytes = 16;
  uint8_t version = 101;
  uint32_t filler = 18;
};
bytes record_18(const record_18_fields& fields = {});

/// A value in 16.16 fixed point and a value copied as it is: 8 bytes.
struct fixed_pair {
  uint32_t value_16_16;
  uint32_t word;
};

/// Kind 19: a parameter (u16) at byte 8; N1 and N2 (u16) at bytes 12 and 14; N1 entries of
/// 28 bytes (two 16.16 values, three u32, four u16) from byte 16, then N2 fixed pairs.
struct record_19_entry {
  uint32_t first_16_16;
  uint32_t second_16_16;
  uint32_t words[3];
  uint16_t halves[4];
};
struct record_19_fields {
  uint16_t parameter = 7;
  std::vector<record_19_entry> entries = {
      {0x00018000, 0xffffffff, {0x11121314, 0x15161718, 0x191a1b1c}, {0x2122, 0x2324, 0x2526, 39}},
      {0x00000001, 0x00010000, {0x31323334, 0x35363738, 0x393a3b3c}, {0x4142, 0x4344, 0x4546, 71}}};
  std::vector<fixed_pair> pairs = {{0x00028000, 0x51525354}, {98304, 0x55565758}, {0, 0x595a5b5c}};
  uint8_t version = 100;
  uint32_t filler = 19;
};
bytes record_19(const record_19_fields& fields = {});

/// Kind 20: u16 at bytes 8 and 10, u8 at bytes 12 and 13; from version 102 on form (u16) at
/// byte 14, NC (u16) at 16 and NC fixed pairs from 20.
struct record_20_fields {
  uint16_t value_8 = 0x0801;
  uint16_t value_10 = 0x0a02;
  uint8_t value_12 = 0x0c;
  uint8_t value_13 = 0x0d;
  uint16_t form = 1;
  std::vector<fixed_pair> pairs = {{0x00014000, 0x61626364}, {0xffffffff, 0x65666768}};
  uint8_t version = 102;
  uint32_t filler = 20;
};
bytes record_20(const record_20_fields& fields = {});

// ----------- kinds that the container library decodes in place; 9 and 32 stand with the plain ones

/// Kind 31: n (u32) at byte 8, the place of the entries (u64, from the record's start) at 16,
/// n entries of 18 floats from byte 24.
struct record_31_fields {
  uint32_t count = 2;
  uint8_t version = 100;
  uint32_t filler = 31;
};
bytes record_31(const record_31_fields& fields = {});

/// One block of kind 34. A count of 0 writes the place 0.
struct record_34_block {
  uint32_t kind = 0;
  uint32_t parameter = 7;
  uint32_t long_entries = 1;  ///< 32 bytes each
  uint32_t pairs = 2;         ///< 8 bytes each
  bool tail = false;          ///< four u16
};
/// Kind 34: the number of blocks (u32) at byte 8, their place (u64) at 16, blocks of 40 bytes from
/// byte 32 with their places (u64) at 16, 24 and 32, then the arrays. Places count from the
/// record's start.
struct record_34_fields {
  std::vector<record_34_block> blocks = {{}, {.kind = 1, .long_entries = 0, .tail = true}};
  uint8_t version = 100;
  uint32_t filler = 34;
};
bytes record_34(const record_34_fields& fields = {});

// --------------------------------------------------------------------------- lens-shading kinds

/// What the records store of one light besides its tables. Kinds 10 and 11 hold the gains as 8.8
/// and the coordinates as 0.16 fixed point, and the id as u16; kind 10 has no `aux`.
struct light_head {
  uint32_t light_id;
  uint16_t aux;  ///< as stored: kind 33 stores the set's number less 1
  float gains[2];
  float coords[2];
  uint16_t integer_bits;  ///< kinds 28 and 33: 16 minus the fractional bits
};
/// Sample `index` (row-major) of one plane of one light.
using sample_source = std::function<uint16_t(size_t light, size_t plane, size_t index)>;

/// The head that a light gets when none is given; every field depends on the light. `aux` is the
/// light's number from 1 on (kind 33 then stores 1 less).
light_head default_light_head(size_t light);

/// Kinds 10 and 11: four planes a light; gains only from version 101 on.
///     10:  8 u16 -, u16 lights, u16 width, u16 height; blocks from 16, each u16 id, u16 -,
///          two u16 coordinates, four planes
///     11:  8 u16 lights, u16 width, u16 height; blocks from 14, each u16 aux, u16 id, u16 -,
///          two u16 coordinates, four planes
///     both: two u16 gains a light after the blocks
struct fixed_grid_fields {
  uint16_t lights = 2;
  uint16_t width = 3;
  uint16_t height = 2;
  uint8_t version = 101;
  uint32_t filler = 10;
  std::vector<light_head> heads{};  ///< lights beyond the end take default_light_head()
  sample_source sample{};           ///< filler when there is none
};
bytes record_10(const fixed_grid_fields& fields = {});
bytes record_11(const fixed_grid_fields& fields = {});

/// Kinds 28 and 33: `channel_map` from byte 8; u16 lights at 24, u16 - at 26, u16 width at 28,
/// u16 height at 30; blocks from 32, each a head of 22 bytes and one plane more than the map's
/// largest index.
///     28: u32 id, two f32 gains, two f32 coordinates, u16 integer bits
///     33: u16 id, u16 aux, two f32 gains, two f32 coordinates, u16 integer bits
struct mapped_grid_fields {
  uint16_t lights = 2;
  uint16_t width = 3;
  uint16_t height = 2;
  std::vector<int8_t> channel_map = {0, 1, -1, -1, 2, 3, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
  uint8_t version = 100;
  uint32_t filler = 28;
  std::vector<light_head> heads{};
  sample_source sample{};
};
bytes record_28(const mapped_grid_fields& fields = {});
bytes record_33(const mapped_grid_fields& fields = {});

// ------------------------------------------------- kinds of which the slot holds a converted form

/// Kind 3, the older form of kind 31: n (u32) at byte 8, then n entries of 16 bytes: a word, a
/// 16.16 value, four 8.8 values; four bytes more.
struct record_3_entry {
  uint32_t word;
  uint32_t value_16_16;
  uint16_t values_8_8[4];
};
struct record_3_fields {
  std::vector<record_3_entry> entries = {{0x3f800001, 0x00018000, {256, 384, 1, 65535}},
                                         {0x40490fdb, 0xffffffff, {0, 128, 512, 640}}};
  uint8_t version = 100;
  uint32_t filler = 31;
};
bytes record_3(const record_3_fields& fields = {});

/// Kind 22: u32 at 8; width and height (i16) at 12; u32 at 16; M (u16) at 20; M entries of a u16
/// tag and 2 x width x height words from 22. From version 101: a u32, K (i32), K + 1 times
/// 1040 bytes. From version 102: X (u32), C (i32), C entries (f32, f32, u32, n, n words),
/// C x 24 bytes.
struct record_22_fields {
  int16_t width = 3;
  int16_t height = 2;
  uint16_t grid_entries = 2;
  uint16_t items = 1;
  std::vector<uint32_t> list_counts = {2, 0, 1};  ///< n of each list entry
  uint8_t version = 102;
  uint32_t filler = 22;
};
bytes record_22(const record_22_fields& fields = {});

/// Kind 24: the number of entries (u16) at byte 14; each entry 16 bytes, k in the u16 at its
/// byte 2, then k words.
struct record_24_fields {
  std::vector<uint16_t> counts = {2, 0, 5};
  uint8_t version = 100;
  uint32_t filler = 24;
};
bytes record_24(const record_24_fields& fields = {});

/// Kind 25: n and j (u16) at bytes 8 and 10; j words from byte 12; n entries of 20 bytes (24 above
/// version 100), 36 bytes and j items of 36 bytes.
struct record_25_fields {
  uint16_t entries = 2;
  uint16_t items = 3;
  uint8_t version = 100;
  uint32_t filler = 25;
};
bytes record_25(const record_25_fields& fields = {});

/// Kind 26: 16 bytes; from version 101 on two groups of 8 bytes and four floats.
struct record_26_fields {
  uint8_t version = 101;
  uint32_t filler = 26;
};
bytes record_26(const record_26_fields& fields = {});

/// Kind 27: entries, planes, width and height (u16) from byte 24; from byte 32 for each entry
/// 20 bytes and its planes; from version 101 on 16 bytes an entry after them.
struct record_27_fields {
  uint16_t entries = 2;
  uint16_t planes = 2;
  uint16_t width = 3;
  uint16_t height = 2;
  uint8_t version = 101;
  uint32_t filler = 27;
};
bytes record_27(const record_27_fields& fields = {});

/// Kind 29: width and height (u16) at bytes 12 and 14, u32 at 16, four planes of floats from 20;
/// 56 bytes at least.
struct record_29_fields {
  uint16_t width = 3;
  uint16_t height = 2;
  uint8_t version = 100;
  uint32_t filler = 29;
};
bytes record_29(const record_29_fields& fields = {});

/// Kind 30: items (u16) at 16, grid width and height at 22 and 24, trailing rows and columns at 26
/// and 28; from 30 items of 6 bytes, the grid (u16 up to version 100, u32 in 101, none after), the
/// trailing u32. Long enough for a grid of u32 in every version, which is what its check asks.
struct record_30_fields {
  uint16_t items = 2;
  uint16_t width = 3;
  uint16_t height = 2;
  uint16_t trailing_rows = 2;
  uint16_t trailing_columns = 2;
  std::vector<uint32_t> grid{};  ///< width x height values; filler when there are none
  uint8_t version = 101;
  uint32_t filler = 30;
};
bytes record_30(const record_30_fields& fields = {});

/// Kind 35: u8 at 8, u32 at 9, n (u8) at 13; from 14 n + 1 u32, n + 1 u16, n u16, n u32.
struct record_35_fields {
  uint8_t count = 3;
  uint8_t version = 100;
  uint32_t filler = 35;
};
bytes record_35(const record_35_fields& fields = {});

/// Kind 36: u8 at 8, four bytes from 9, c (u8) at 13; from 14 c u16, then c u32.
struct record_36_fields {
  uint8_t count = 3;
  uint8_t version = 100;
  uint32_t filler = 36;
};
bytes record_36(const record_36_fields& fields = {});

// ----------------------------------------------------------------------------- other consumers'

/// Kind 722: a u32, the number of values (u32), the values (u64) from byte 16.
struct record_722_fields {
  uint32_t value = 0x72200722;
  std::vector<uint64_t> values = {0x0102030405060708, 0x1112131415161718, 0x2122232425262728};
  uint8_t version = 100;
};
bytes record_722(const record_722_fields& fields = {});

// ---------------------------------------------------------------------------------- all of them

struct named_record {
  std::string name;  ///< kind, version and what is special: `record_10_v101`
  bytes content;
};
/// Well-formed records of every kind that has a slot: at each version from 99 to 104 where
/// the kind looks at its version, otherwise at 99, 100 and 104; and with the counts that change a
/// record's form (none, for instance).
std::vector<named_record> every_good_record();
/// Records that no slot takes: kinds without a decoder below 64, and foreign kinds, 722 among them.
std::vector<named_record> every_slotless_record();

}  // namespace writer
