/// Layouts of the kinds of which the slot holds a converted form, told as those of kept kinds are
/// (kept_record_layouts.h): as the record that gives the form (restored_records.h), under the names
/// of the form's members.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace document {

template <typename Layout>
void tell_module_properties(Layout& t) {
  uint8_t version = 0;
  t.object("header", [&] { version = t.header(2); });
  t.hex("bytes_8", 4);
  (void)t.u16("value_12");
  (void)t.u16("cfa_layout");
  if (version >= 101)
    (void)t.u16("value_16");
  else
    t.null("value_16");
  if (version >= 102)
    t.hex("bytes_18", 16);
  else
    t.null("bytes_18");
  if (version >= 103)
    (void)t.u16("value_34");
  else
    t.null("value_34");
}

template <typename Layout>
void tell_record_22(Layout& t, bool has_items, bool has_list, int32_t list_count) {
  (void)t.u32("value_8");
  const size_t width = static_cast<size_t>(std::abs(int{t.i16("width")}));
  const size_t height = static_cast<size_t>(std::abs(int{t.i16("height")}));
  (void)t.u32("value_16");
  if (const uint16_t count = t.u16("grid_count"); count != 0) {
    t.objects("grid", count, [&] {
      (void)t.u16("tag");
      t.u32_table("first_half", height, width);
      t.u32_table("second_half", height, width);
    });
  } else {
    t.null("grid");
  }

  (void)t.u32("value_items");
  const int32_t items = t.i32("item_count");
  if (t.has("items", has_items))
    t.hexes("items", static_cast<size_t>(std::max(items, 0)), 1040);
  else
    t.null("items");
  t.hex("block", 1024);
  t.skip(16);

  // Without a list, and without a count of one, the record ends here.
  const bool list_follows = t.has("list", has_list);
  if (!list_follows && t.ahead("list_count", list_count) == 0) {
    t.implied("value_list", 0);
    t.implied("list_count", 0);
  } else {
    (void)t.u32("value_list");
    (void)t.i32("list_count");
  }
  if (list_follows) {
    const size_t count =
        static_cast<size_t>(std::max<int64_t>(t.ahead("list_count", list_count), 0));
    t.objects("list", count, [&] {
      t.f32("value_0");
      t.f32("value_4");
      (void)t.u32("value_8");
      const uint32_t values = t.u32("count");
      t.u32s("values", values);
    });
    t.hexes("list_tail", count, 24);
  } else {
    t.null("list");
    t.null("list_tail");
  }
}

template <typename Layout>
void tell_record_24(Layout& t) {
  t.object("head", [&] {
    (void)t.header(24);
    t.hex("bytes_8", 6);
  });
  if (const uint16_t count = t.u16("count"); count != 0) {
    t.objects("entries", count, [&] {
      (void)t.u16("value_0");
      const uint16_t values = t.u16("count");
      t.hex("bytes_4", 12);
      t.u32s("values", values);
    });
  } else {
    t.null("entries");
  }
}

/// @param has_groups  whether the record stores the groups, or they are the default
template <typename Layout>
void tell_record_26(Layout& t, bool has_groups) {
  t.object("head", [&] {
    (void)t.header(26);
    t.hex("bytes_8", 8);
  });
  if (t.has("groups", has_groups)) {
    t.objects("groups", 2, [&] {
      t.hex("bytes_0", 8);
      t.f32s("values", 4);
    });
  } else {
    t.null("groups");
  }
}

template <typename Layout>
void tell_record_29(Layout& t) {
  t.object("head", [&] {
    (void)t.header(29);
    t.hex("bytes_8", 4);
  });
  const uint16_t width = t.u16("width");
  const uint16_t height = t.u16("height");
  (void)t.u32("value_16");
  t.f32_tables("planes", 4, height, width);
}

/// Parts of record 30 that its slot has; each needs those before it.
struct record_30_parts {
  bool items = false;
  bool grid = false;
  bool trailing = false;
};

template <typename Layout>
void tell_record_30(Layout& t, const record_30_parts& parts) {
  uint8_t version = 0;
  t.object("head", [&] {
    version = t.header_without_size(30);
    t.hex("bytes_8", 8);
  });
  const uint16_t items = t.u16("item_count");
  t.hex("bytes_18", 4);
  const uint16_t width = t.u16("grid_width");
  const uint16_t height = t.u16("grid_height");
  const uint16_t rows = t.u16("trailing_rows");
  const uint16_t columns = t.u16("trailing_columns");
  if (t.has("items", parts.items))
    t.hexes("items", items, 6);
  else
    t.null("items");
  if (!t.has("grid", parts.grid))
    t.null("grid");
  else if (version <= 100)
    t.u16_table("grid", height, width);
  else if (version == 101)
    t.u32_table("grid", height, width);
  else
    t.zero_table("grid", height, width);
  if (t.has("trailing", parts.trailing))
    t.u32_table("trailing", rows, columns);
  else
    t.null("trailing");
}

template <typename Layout>
void tell_record_35(Layout& t) {
  uint8_t count = 0;
  t.object("first", [&] {
    t.object("header", [&] { (void)t.header(35); });
    (void)t.u8("value_8");
    (void)t.u32("value_12");
    count = t.u8("count");
    t.u32s("array_a", count + size_t{1});
    t.u16s("array_b", count + size_t{1});
    t.u16s("array_c", count);
  });
  t.object("second", [&] { t.u32s("array_d", count); });
}

template <typename Layout>
void tell_record_36(Layout& t) {
  t.object("header", [&] { (void)t.header(36); });
  (void)t.u8("value_8");
  t.hex("bytes_9", 4);
  const uint8_t count = t.u8("count");
  t.u16s("array_16", count);
  t.u32s("array_32", count);
}

}  // namespace document
