/// Layouts of the kinds whose copy is kept. Each is told once: to a layout_reader, which makes JSON
/// of a record's bytes, and to a layout_builder, which makes the record of the JSON. Calls stand in
/// the order of the record's bytes. What a slot says beyond the bytes is an argument that only the
/// reader looks at.
#pragma once

#include <cstddef>
#include <cstdint>

namespace document {

template <typename Layout>
void tell_general(Layout& t) {
  uint8_t version = 0;
  t.object("record", [&] {
    version = t.header(1);
    t.hex("bytes_8", 16);
  });
  t.text("name");
  if (version >= 101) {
    const uint16_t count = t.u16("pair_count");
    t.objects("pairs", count, [&] {
      t.text("key");
      t.text("value");
    });
  } else {
    t.implied("pair_count", 0);
    t.null("pairs");
  }
  t.rest("rest");
}

/// 5, 7 to 9, 21, 23, 32: the slot is the copy, of which nothing is read.
template <typename Layout>
void tell_whole(Layout& t, uint16_t kind) {
  (void)t.header(kind);
  t.rest("bytes_8");
}

template <typename Layout>
void tell_record_6(Layout& t) {
  size_t values = 0;
  t.object("record", [&] {
    (void)t.header(6);
    t.hex("bytes_8", 4);
    for (const char* const key : {"value_12", "value_13", "value_14", "value_15"})
      values += t.u8(key);
  });
  t.u16s("payload", values);
  t.rest("rest");
}

/// @param in_lens_shading  leave out what lens_shading holds too
template <typename Layout>
void tell_lsc_grid(Layout& t, bool in_lens_shading, bool has_gains) {
  uint16_t lights = 0, width = 0, height = 0;
  t.object("record", [&] {
    (void)t.header(10);
    t.hex("bytes_8", 2);
    lights = t.u16("light_count");
    width = t.u16("width");
    height = t.u16("height");
  });
  const size_t plane_size = size_t{2} * width * height;
  const bool blocks_elsewhere = t.flag("blocks_in_lens_shading", in_lens_shading);
  const bool gains_elsewhere = t.flag("light_gains_in_lens_shading", in_lens_shading && has_gains);
  if (blocks_elsewhere) {
    t.hexes_between("bytes_2_of_blocks", lights, 2, 2, 4 + 4 * plane_size);
    t.null("blocks");
  } else {
    t.null("bytes_2_of_blocks");
    t.objects("blocks", lights, [&] {
      (void)t.u16("light_id");
      t.hex("bytes_2", 2);
      t.u16s("coords", 2);
      t.u16_tables("tables", 4, height, width);
    });
  }
  if (gains_elsewhere) {
    t.skip(size_t{4} * lights);
    t.null("light_gains");
  } else if (t.has("light_gains", has_gains)) {
    t.u16_table("light_gains", lights, 2);
  } else {
    t.null("light_gains");
  }
  t.rest("rest");
}

/// @param stored_params  how many of the four stand in the record: 0, 1 or 4
template <typename Layout>
void tell_record_13(Layout& t, size_t stored_params) {
  uint16_t count = 0;
  t.object("record", [&] {
    (void)t.header(13);
    t.hex("bytes_8", 62);
    count = t.u16("value_70");
  });
  t.u16s("values", count);
  t.stored_of_four("params", stored_params);
  t.rest("rest");
}

template <typename Layout>
void tell_record_14(Layout& t) {
  uint16_t first = 0, last = 0, step = 0;
  t.object("record", [&] {
    (void)t.header(14);
    first = t.u16("first");
    last = t.u16("last");
    step = t.u16("step");
  });
  // Without a step nothing is kept.
  t.hexes("payload", step != 0 && last >= first ? size_t(last - first) / step : 0, 8);
  t.rest("rest");
}

template <typename Layout>
void tell_record_15(Layout& t, bool has_sub_table) {
  uint16_t a = 0, b = 0;
  t.object("record", [&] { (void)t.header(15); });
  t.object("counts", [&] {
    a = t.u16("a");
    b = t.u16("b");
  });
  t.hexes("body", a, 8);
  t.hexes("section_1", a, 8);
  t.hexes("section_2", a, 8);
  t.hexes("section_3", b, 8);
  if (t.has("sub_table", has_sub_table)) {
    t.object("sub_table", [&] {
      const uint16_t count = t.u16("count");
      t.objects("entries", count, [&] {
        (void)t.u64("value_0");
        const uint32_t values = t.u32("value_8") >> 16;
        t.u16s("array_first", values);
        t.u16s("array_second", values);
      });
    });
  } else {
    t.null("sub_table");
  }
  t.rest("rest");
}

template <typename Layout>
void tell_record_16(Layout& t) {
  uint16_t count = 0;
  t.object("record", [&] {
    (void)t.header(16);
    t.hex("bytes_8", 4);
    count = t.u16("value_12");
  });
  t.hexes("payload", count, 4);
  t.rest("rest");
}

template <typename Layout>
void tell_record_17(Layout& t, bool has_payload) {
  t.object("record", [&] {
    (void)t.header(17);
    t.hex("bytes_8", 2);
    (void)t.u16("plane_order");
    (void)t.u16("orientation");
  });
  if (t.has("payload", has_payload))
    t.rest("payload");
  else
    t.null("payload");
  t.rest("rest");
}

template <typename Layout>
void tell_record_18(Layout& t, bool has_tail) {
  uint16_t count = 0;
  t.object("record", [&] {
    (void)t.header(18);
    count = t.u16("value_8");
  });
  t.hexes("entries", count, 84);
  if (t.has("tail", has_tail))
    t.rest("tail");
  else
    t.null("tail");
  t.rest("rest");
}

/// Entries of 8 bytes in records 19 and 20: a 16.16 number and a word.
template <typename Layout>
void tell_short_entries(Layout& t, const char* key, uint16_t count) {
  t.objects(key, count, [&] {
    (void)t.u32("value_0");
    (void)t.u32("value_4");
  });
}

template <typename Layout>
void tell_record_19(Layout& t) {
  uint16_t entries = 0, tail = 0;
  t.object("record", [&] {
    (void)t.header(19);
    (void)t.u16("value_8");
    t.hex("bytes_10", 2);
    entries = t.u16("value_12");
    tail = t.u16("value_14");
  });
  t.objects("entries", entries, [&] {
    (void)t.u32("value_0");
    (void)t.u32("value_4");
    t.u32s("values_8", 3);
    t.u16s("values_20", 4);
  });
  tell_short_entries(t, "tail", tail);
  t.rest("rest");
}

template <typename Layout>
void tell_record_20(Layout& t, bool has_payload, bool has_tail) {
  t.object("record", [&] {
    (void)t.header(20);
    (void)t.u16("value_8");
    (void)t.u16("value_10");
    (void)t.u8("value_12");
    (void)t.u8("value_13");
  });
  uint16_t entries = 0;
  if (t.has("payload", has_payload)) {
    t.object("payload", [&] {
      (void)t.u16("form");
      entries = t.u16("value_16");
      t.hex("bytes_18", 2);
    });
  } else {
    t.null("payload");
  }
  if (t.has("tail", has_tail))
    tell_short_entries(t, "tail", entries);
  else
    t.null("tail");
  t.rest("rest");
}

template <typename Layout>
void tell_record_25(Layout& t) {
  uint8_t version = 0;
  uint16_t entries = 0, items = 0;
  t.object("record", [&] {
    version = t.header(25);
    entries = t.u16("value_8");
    items = t.u16("value_10");
  });
  t.hexes("payload", items, 4);
  t.objects("entries", entries, [&] {
    t.hex("start", version > 100 ? 24 : 20);
    t.hex("block_first", 16);
    t.hex("block_second", 16);
    (void)t.u32("value");
    t.hexes("items", items, 36);
  });
  t.rest("rest");
}

/// The slot is a structure beside the copy.
template <typename Layout>
void tell_record_27(Layout& t, bool has_tail) {
  uint16_t entries = 0, planes = 0, width = 0, height = 0;
  t.object("record", [&] {
    (void)t.header(27);
    t.hex("bytes_8", 16);
    entries = t.u16("value_24");
    planes = t.u16("value_26");
    width = t.u16("value_28");
    height = t.u16("value_30");
  });
  t.objects("entries", entries, [&] {
    t.hex("head", 20);
    t.u16_tables("planes", planes, height, width);
  });
  if (t.has("tail", has_tail))
    t.hexes("tail", entries, 16);
  else
    t.null("tail");
  t.rest("rest");
}

}  // namespace document
