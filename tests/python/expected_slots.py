"""What a slot must show of its record, read from the record's bytes.

A slot is a dictionary of its attributes: numbers, text, arrays, lists of entries, None. Arrays are
read at any address, with the types that the layouts give.
"""

import numpy as np


def array(record, kind, offset, *shape):
    count = int(np.prod(shape, dtype=np.int64))
    return np.frombuffer(record, kind, count, offset).reshape(shape)


def u8(record, offset, *shape):
    return array(record, "u1", offset, *shape)


def u16(record, offset):
    return int.from_bytes(record[offset : offset + 2], "little")


def u32(record, offset):
    return int.from_bytes(record[offset : offset + 4], "little")


def i16(record, offset):
    return int.from_bytes(record[offset : offset + 2], "little", signed=True)


def i32(record, offset):
    return int.from_bytes(record[offset : offset + 4], "little", signed=True)


def f32(record, offset):
    return array(record, "<f4", offset, 1)[0]


def version_of(record):
    return record[4]


def header(record):
    return {
        "size": len(record),
        "version": version_of(record),
        "reserved": record[5],
        "id": u16(record, 6),
    }


def kept(record):
    return {**header(record), "bytes": u8(record, 0, len(record))}


def text(record, offset):
    end = record.index(0, offset)
    return record[offset:end].decode("utf-8", "surrogateescape"), end + 1


def record_1(record):
    name, at = text(record, 24)
    pairs = None
    count = 0
    if version_of(record) >= 101:
        count = u16(record, at)
        at += 2
        pairs = []
        for _ in range(count):
            key, at = text(record, at)
            value, at = text(record, at)
            pairs.append({"key": key, "value": value})
    return {"record": kept(record), "name": name, "pair_count": count, "pairs": pairs}


def record_2(record):
    version = version_of(record)
    if version < 100:
        return {"header": {"size": 0, "version": 0, "reserved": 0, "id": 0}, "cfa_layout": 0}
    value_12 = u16(record, 12)
    return {
        "header": header(record),
        "bytes_8": u8(record, 8, 4),
        "value_12": value_12,
        "cfa_layout": u16(record, 14),
        "value_16": u16(record, 16) if version >= 101 else value_12,
        "bytes_18": u8(record, 18, 16) if version >= 102 else np.zeros(16, "u1"),
        "value_34": u16(record, 34) if version >= 103 else value_12,
    }


def record_3(record):
    count = u32(record, 8)
    entries = np.zeros((count, 18), "<f4")
    for i in range(count):
        at = 12 + 16 * i
        entries[i, 0:1].view("<u4")[0] = u32(record, at)
        entries[i, 1] = np.float32(u32(record, at + 4)) / np.float32(65536)
        gains = array(record, "<u2", at + 8, 4).astype("<f4") / np.float32(256)
        entries[i, [2, 3, 6, 7]] = gains
    return {"count": count, "padding_12": 0, "entries": entries}


def record_6(record):
    return {"record": kept(record), "payload": array(record, "<u2", 16, sum(record[12:16]))}


def record_10(record):
    lights, width, height = u16(record, 10), u16(record, 12), u16(record, 14)
    step = 8 + 8 * width * height
    blocks = [
        {
            "light_id": u16(record, at),
            "bytes_2": u8(record, at + 2, 2),
            "coords": array(record, "<u2", at + 4, 2),
            "tables": array(record, "<u2", at + 8, 4, height, width),
        }
        for at in range(16, 16 + lights * step, step)
    ]
    end = 16 + lights * step
    has_gains = version_of(record) >= 101
    return {
        "record": kept(record),
        "blocks": blocks,
        "first_table": array(record, "<u2", 24, height, width) if lights else None,
        "light_gains": array(record, "<u2", end, lights, 2) if has_gains else None,
    }


def lights_of_fixed_grid(record, at_lights, at_blocks, has_aux):
    """Kinds 10 and 11 as lens-shading sets: (width, height, lights)."""
    lights = u16(record, at_lights)
    width, height = u16(record, at_lights + 2), u16(record, at_lights + 4)
    head = 10 if has_aux else 8
    step = head + 8 * width * height
    gains_at = at_blocks + lights * step
    all_of_them = []
    for i in range(lights):
        at = at_blocks + i * step
        number = at + (2 if has_aux else 0)
        gains = np.zeros(2, "<f4")
        if version_of(record) >= 101:
            gains = array(record, "<u2", gains_at + 4 * i, 2).astype("<f4") / np.float32(256)
        coords = array(record, "<u2", number + 4, 2).astype("<f4") / np.float32(65536)
        planes = array(record, "<u2", at + head, 4, height, width)
        light = {
            "light_id": u16(record, number),
            "gains": gains,
            "coords": coords,
            "fraction_bits": 12,
            "tables": {(p // 2, p % 2): planes[p] for p in range(4)},
        }
        if has_aux:
            light["aux"] = u16(record, at)
        all_of_them.append(light)
    return {"light_count": lights, "width": width, "height": height, "of": all_of_them}


def lights_of_mapped_grid(record, is_ext):
    """Kinds 28 and 33."""
    channel_map = array(record, "i1", 8, 4, 4)
    lights, width, height = u16(record, 24), u16(record, 28), u16(record, 30)
    planes = max(int(channel_map.max()) + 1, 0)
    step = 22 + 2 * planes * width * height
    all_of_them = []
    for at in range(32, 32 + lights * step, step):
        samples = array(record, "<u2", at + 22, planes, height, width)
        light = {
            "light_id": u16(record, at) if is_ext else u32(record, at),
            "gains": array(record, "<f4", at + 4, 2),
            "coords": array(record, "<f4", at + 12, 2),
            "fraction_bits": (16 - u16(record, at + 20)) % 65536,
            "tables": {
                (row, column): samples[channel_map[row, column]]
                for row in range(4)
                for column in range(4)
                if channel_map[row, column] >= 0
            },
        }
        if is_ext:
            light["aux"] = (u16(record, at + 2) + 1) % 65536
        all_of_them.append(light)
    return {
        **header(record),
        "channel_map": channel_map,
        "light_count": lights,
        "width": width,
        "height": height,
        ("lights_ext" if is_ext else "lights"): all_of_them,
    }


def lens_shading_of_record_10(record):
    made = lights_of_fixed_grid(record, 10, 16, has_aux=False)
    made["lights"] = made.pop("of")
    return {**made, "version": 100, "reserved": 0, "id": 28}


def record_11(record):
    made = lights_of_fixed_grid(record, 8, 14, has_aux=True)
    made["lights_ext"] = made.pop("of")
    return made


def record_13(record):
    version = version_of(record)
    count = u16(record, 70)
    params = [0, 1, 250, 1000]
    stored = {99: 0, 100: 0, 101: 1}.get(version, 4)
    params[:stored] = [u16(record, 72 + 2 * count + 2 * i) for i in range(stored)]
    return {
        "record": kept(record),
        "values": array(record, "<u2", 72, count),
        "params": np.array(params, "<u2"),
    }


def record_14(record):
    first, last, step = u16(record, 8), u16(record, 10), u16(record, 12)
    if step == 0:
        return None
    return {"record": kept(record), "payload": u8(record, 14, (last - first) // step, 8)}


def record_15(record):
    a, b = u16(record, 8), u16(record, 10)
    at = 12 + 24 * a + 8 * b
    count = u16(record, at)
    at += 2
    entries = []
    for _ in range(count):
        values = u16(record, at + 10)
        entries.append(
            {
                "value_0": int.from_bytes(record[at : at + 8], "little"),
                "value_8": u32(record, at + 8),
                "array_first": array(record, "<u2", at + 12, values),
                "array_second": array(record, "<u2", at + 12 + 2 * values, values),
            }
        )
        at += 12 + 4 * values
    return {
        "record": kept(record),
        "body": u8(record, 12, a, 8),
        "section_1": u8(record, 12 + 8 * a, a, 8),
        "section_2": u8(record, 12 + 16 * a, a, 8),
        "section_3": u8(record, 12 + 24 * a, b, 8),
        "sub_table": {"count": count, "entries": entries},
        "counts": {"a": a, "b": b},
    }


def record_16(record):
    return {"record": kept(record), "payload": array(record, "<u4", 14, u16(record, 12))}


def record_17(record):
    has_payload = version_of(record) >= 101
    return {
        "record": kept(record),
        "payload": u8(record, 14, len(record) - 14) if has_payload else None,
    }


def record_18(record):
    count = u16(record, 8)
    end = 10 + 84 * count
    has_tail = version_of(record) >= 101
    return {
        "record": kept(record),
        "entries": u8(record, 10, count, 84),
        "tail": u8(record, end, len(record) - end) if has_tail else None,
    }


SHORT_ENTRY = np.dtype([("value_0", "<u4"), ("value_4", "<u4")])
LONG_ENTRY = np.dtype(
    [("value_0", "<u4"), ("value_4", "<u4"), ("values_8", "<u4", 3), ("values_20", "<u2", 4)]
)


def record_19(record):
    entries, tail = u16(record, 12), u16(record, 14)
    return {
        "record": kept(record),
        "entries": array(record, LONG_ENTRY, 16, entries),
        "tail": array(record, SHORT_ENTRY, 16 + 28 * entries, tail),
    }


def record_20(record):
    version = version_of(record)
    copy = bytearray(record)
    if version <= 100:
        copy[13] = 8
    has_list = version >= 102
    return {
        "record": kept(bytes(copy)),
        "payload": u8(record, 14, 6) if has_list else None,
        "tail": array(record, SHORT_ENTRY, 20, u16(record, 16)) if has_list else None,
    }


def record_22(record):
    version = version_of(record)
    width, height, count = i16(record, 12), i16(record, 14), u16(record, 20)
    values = width * height
    grid = [
        {
            "tag": u16(record, at),
            "first_half": array(record, "<u4", at + 2, height, width),
            "second_half": array(record, "<u4", at + 2 + 4 * values, height, width),
        }
        for at in range(22, 22 + count * (2 + 8 * values), 2 + 8 * values)
    ]
    made = {
        "value_8": u32(record, 8),
        "width": width,
        "height": height,
        "value_16": u32(record, 16),
        "grid_count": count,
        "grid": grid or None,
        "value_items": 0,
        "item_count": 0,
        "items": None,
        "block": np.zeros(1024, "u1"),
        "block_tail": np.zeros(16, "u1"),
        "value_list": 0,
        "list_count": 0,
        "list": None,
        "list_tail": None,
    }
    at = 22 + count * (2 + 8 * values)
    if version >= 101:
        items = i32(record, at + 4)
        made["value_items"], made["item_count"] = u32(record, at), items
        at += 8
        if items:
            made["items"] = u8(record, at, items, 1040)
        at += 1040 * items
        made["block"] = u8(record, at, 1024)
        made["block_tail"] = u8(record, at + 512, 16)
        at += 1040
    if version >= 102:
        lists = i32(record, at + 4)
        made["value_list"], made["list_count"] = u32(record, at), lists
        at += 8
        entries = []
        for _ in range(lists):
            values = u32(record, at + 12)
            entries.append(
                {
                    "value_0": f32(record, at),
                    "value_4": f32(record, at + 4),
                    "value_8": u32(record, at + 8),
                    "count": values,
                    "values": array(record, "<u4", at + 16, values),
                }
            )
            at += 16 + 4 * values
        made["list"], made["list_tail"] = entries, u8(record, at, lists, 24)
    return made


def record_24(record):
    at, entries = 16, []
    for _ in range(u16(record, 14)):
        count = u16(record, at + 2)
        entries.append(
            {
                "value_0": u16(record, at),
                "count": count,
                "bytes_4": u8(record, at + 4, 12),
                "values": array(record, "<u4", at + 16, count),
            }
        )
        at += 16 + 4 * count
    return {"head": u8(record, 0, 14), "count": len(entries), "entries": entries or None}


def record_25(record):
    count, items = u16(record, 8), u16(record, 10)
    start = 24 if version_of(record) > 100 else 20
    step = start + 36 + 36 * items
    entries = [
        {
            "start": u8(record, at, start),
            "block_first": u8(record, at + start, 16),
            "block_second": u8(record, at + start + 16, 16),
            "value": u32(record, at + start + 32),
            "items": u8(record, at + start + 36, items, 36),
        }
        for at in range(12 + 4 * items, 12 + 4 * items + count * step, step)
    ]
    return {"record": kept(record), "payload": u8(record, 12, items, 4), "entries": entries}


def record_26(record):
    groups = [{"bytes_0": u8(record, 8, 8), "values": np.ones(4, "<f4")}] * 2
    if version_of(record) >= 101:
        groups = [
            {"bytes_0": u8(record, at, 8), "values": array(record, "<f4", at + 8, 4)}
            for at in (16, 40)
        ]
    return {"head": u8(record, 0, 16), "groups": groups}


def record_27(record):
    count, planes, width, height = (u16(record, at) for at in (24, 26, 28, 30))
    step = 20 + 2 * planes * width * height
    end = 32 + count * step
    return {
        "record": kept(record),
        "entries": [
            {"head": u8(record, at, 20), "planes": array(record, "<u2", at + 20, planes, height, width)}
            for at in range(32, end, step)
        ],
        "tail": u8(record, end, count, 16) if version_of(record) >= 101 else None,
    }


def record_29(record):
    width, height = u16(record, 12), u16(record, 14)
    return {
        "head": u8(record, 0, 12),
        "width": width,
        "height": height,
        "value_16": u32(record, 16),
        "planes": list(array(record, "<f4", 20, 4, height, width)),
    }


def record_30(record):
    version = version_of(record)
    items, width, height = u16(record, 16), u16(record, 22), u16(record, 24)
    rows, columns = u16(record, 26), u16(record, 28)
    made = {
        "head": u8(record, 0, 16),
        "item_count": items,
        "bytes_18": u8(record, 18, 4),
        "grid_width": width,
        "grid_height": height,
        "trailing_rows": rows,
        "trailing_columns": columns,
        "items": None,
        "grid": None,
        "trailing": None,
    }
    if items == 0:
        return made
    at = 30 + 6 * items
    made["items"] = u8(record, 30, items, 6)
    if version <= 100:
        made["grid"] = array(record, "<u2", at, height, width).astype("<u4")
        at += 2 * width * height
    elif version == 101:
        made["grid"] = array(record, "<u4", at, height, width)
        at += 4 * width * height
    else:
        made["grid"] = np.zeros((height, width), "<u4")
    made["trailing"] = array(record, "<u4", at, rows, columns)
    return made


def record_31(record):
    count = u32(record, 8)
    return {
        "count": count,
        "padding_12": u32(record, 12),
        "entries": array(record, "<f4", 24, count, 18),
    }


PLACED_LONG_ENTRY = np.dtype(
    [
        ("value_0", "<f4"),
        ("value_4", "<f4"),
        ("values_8", "<u4", 3),
        ("values_20", "<u2", 4),
        ("padding_28", "<u4"),
    ]
)
PLACED_SHORT_ENTRY = np.dtype([("value_0", "<f4"), ("value_4", "<u4")])


def record_34(record):
    blocks = []
    for i in range(min(u32(record, 8), 4)):
        at = int.from_bytes(record[16:24], "little") + 40 * i
        long_count, short_count = u32(record, at + 8), u32(record, at + 12)
        places = [int.from_bytes(record[at + k : at + k + 8], "little") for k in (16, 24, 32)]
        blocks.append(
            {
                "kind": u32(record, at),
                "value_4": u32(record, at + 4),
                "long_count": long_count,
                "short_count": short_count,
                "long_entries": array(record, PLACED_LONG_ENTRY, places[0], long_count)
                if places[0]
                else None,
                "short_entries": array(record, PLACED_SHORT_ENTRY, places[1], short_count)
                if places[1]
                else None,
                "tail": array(record, "<u2", places[2], 4) if places[2] else None,
            }
        )
    return {
        "block_count": len(blocks),
        "padding_12": u32(record, 12),
        "blocks": blocks,
        "padding_24": int.from_bytes(record[24:32], "little"),
    }


def record_35(record):
    count = record[13]
    more = count + 1
    a, b = 14, 14 + 4 * more
    c, d = b + 2 * more, b + 2 * more + 2 * count
    common = {
        "header": header(record),
        "value_8": record[8],
        "value_12": u32(record, 9),
        "count": count,
        "array_a": array(record, "<u4", a, more),
        "array_b": array(record, "<u2", b, more),
    }
    return {
        "first": {**common, "array_c": array(record, "<u2", c, count)},
        "second": {**common, "array_d": array(record, "<u4", d, count)},
    }


def record_36(record):
    count = record[13]
    return {
        "header": header(record),
        "value_8": record[8],
        "bytes_9": u8(record, 9, 4),
        "count": count,
        "array_16": array(record, "<u2", 14, count),
        "array_32": array(record, "<u4", 14 + 2 * count, count),
    }


def record_722(record):
    count = min(u32(record, 12), 8)
    entries = np.zeros(8, "<u8")
    entries[:count] = array(record, "<u8", 16, count)
    return {
        "others_value": u32(record, 8),
        "others_count": count,
        "others_entries": entries,
    }


# Kind: the slots that it fills.
SLOTS = {
    1: {"general": record_1},
    2: {"module_properties": record_2},
    3: {"record_31": record_3},
    6: {"record_6": record_6},
    10: {"lsc_grid": record_10, "lens_shading": lens_shading_of_record_10},
    11: {"lens_shading_ext": record_11},
    13: {"record_13": record_13},
    14: {"record_14": record_14},
    15: {"record_15": record_15},
    16: {"record_16": record_16},
    17: {"record_17": record_17},
    18: {"record_18": record_18},
    19: {"record_19": record_19},
    20: {"record_20": record_20},
    22: {"record_22": record_22},
    24: {"record_24": record_24},
    25: {"record_25": record_25},
    26: {"record_26": record_26},
    27: {"record_27": record_27},
    28: {"lens_shading": lambda record: lights_of_mapped_grid(record, is_ext=False)},
    29: {"record_29": record_29},
    30: {"record_30": record_30},
    31: {"record_31": record_31},
    33: {"lens_shading_ext": lambda record: lights_of_mapped_grid(record, is_ext=True)},
    34: {"record_34": record_34},
    35: {"record_35": record_35},
    36: {"record_36": record_36},
    722: {"others": record_722},
    **{kind: {f"record_{kind}": kept} for kind in (5, 7, 8, 9, 21, 23, 32)},
}


def expected_slots(record):
    """What the slots that the record fills must show, by their names."""
    return {name: show(record) for name, show in SLOTS.get(u16(record, 6), {}).items()}
