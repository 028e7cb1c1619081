"""Plain NumPy references of the resamplers, written from their formulas.

Every one takes arrays and gives arrays as the routine of the same name does. Loops run over output
rows, columns or terms of sums where the order of operations counts; all else is vectorised across
outputs, which changes no bit.
"""

import numpy as np

f32 = np.float32
f64 = np.float64


def truncated(values):
    """Floats as signed 32-bit integers: towards zero, saturated, NaN as 0."""
    wide = np.asarray(values, f64)
    inside = np.clip(np.where(np.isnan(wide), 0, wide), -(2.0**31), 2.0**31 - 1)
    return np.trunc(inside).astype(np.int64)


def low_16(values):
    return (truncated(values) & 0xFFFF).astype(np.uint16)


def power_of_two(bits):
    """1 << bits as a signed 32-bit shift makes it, as a float."""
    value = 1 << (bits % 32)
    return f32(value - (1 << 32) if value == 1 << 31 else value)


# ---- Two-dimensional array resize ----

_FRACTION_BITS = {np.dtype(np.uint8): 8, np.dtype(np.uint16): 8, np.dtype(np.uint32): 12}
_ALL = (1 << 32) - 1


def _walk(side, outputs, start, bits):
    """First sample of the cell and weights of both ends, for each output; all modulo 2**32."""
    step = ((((side - 1) & _ALL) << bits) & _ALL) // (outputs - 1)
    cells, near, far = [], [], []
    for k in range(outputs):
        position = ((start + k) * step) & _ALL
        cell = 0 if position == 0 else (position - 1) >> bits
        far_weight = (position - (cell << bits)) & _ALL
        cells.append(cell)
        far.append(far_weight)
        near.append(((1 << bits) - far_weight) & _ALL)
    return (np.array(cells, np.uint64), np.array(near, np.uint64), np.array(far, np.uint64))


def _bilinear(src, walk_y, walk_x):
    bits = _FRACTION_BITS[src.dtype]
    flat = src.reshape(-1).astype(np.uint64)
    mask = np.uint64(_ALL)
    row, near_y, far_y = (part[:, None] for part in walk_y)
    column, near_x, far_x = (part[None, :] for part in walk_x)

    def at(r, c):
        index = r * np.uint64(src.shape[1]) + c
        return flat[np.minimum(index, np.uint64(flat.size - 1))]

    one = np.uint64(1)
    top = (at(row, column) * near_x + at(row, column + one) * far_x) & mask
    below = (at(row + one, column) * near_x + at(row + one, column + one) * far_x) & mask
    total = (top * near_y + below * far_y + np.uint64(1 << (2 * bits - 1))) & mask
    return (total >> np.uint64(2 * bits)).astype(src.dtype)


def resize_2d_array_int(src, shape):
    bits = _FRACTION_BITS[src.dtype]
    return _bilinear(src, _walk(src.shape[0], shape[0], 0, bits),
                     _walk(src.shape[1], shape[1], 0, bits))


def crop_resize_2d_array_uint16(src, shape, crop_origin, crop_end):
    left, top = crop_origin
    right, bottom = crop_end
    width = (src.shape[1] - (left + right)) & _ALL
    height = (src.shape[0] - (top + bottom)) & _ALL
    return _bilinear(src, _walk(height, shape[0], top, 8), _walk(width, shape[1], left, 8))


def resize_2d_array_float(src, shape):
    def axis(side, outputs):
        step = f32(side - 1) / f32(outputs - 1)
        position = np.arange(outputs).astype(f32) * step
        first = truncated(position) & 0xFFFF
        second = np.where(first < side - 1, first + 1, first)
        return first, second, position - first.astype(f32)

    r0, r1, fy = axis(src.shape[0], shape[0])
    c0, c1, fx = axis(src.shape[1], shape[1])
    fy, fx = fy[:, None], fx[None, :]
    s00, s01 = src[np.ix_(r0, c0)], src[np.ix_(r0, c1)]
    s10, s11 = src[np.ix_(r1, c0)], src[np.ix_(r1, c1)]
    one = f32(1)
    return fx * s11 * fy + ((s01 * fx * (one - fy) + s00 * (one - fx) * (one - fy))
                            + (one - fx) * s10 * fy)


# ---- Nearest neighbour ----


def _taken(src, rows, columns):
    rows = np.minimum(rows, src.shape[0] - 1)[:, None]
    index = np.minimum(rows * src.shape[1] + columns[None, :], src.size - 1)
    return src.reshape(-1)[index]


def image_nearest_neighbor_scale_uint32(src, shape):
    def axis(side, outputs):
        return (np.arange(outputs, dtype=np.int64) * ((side << 16) // outputs + 1)) >> 16

    return _taken(src, axis(src.shape[0], shape[0]), axis(src.shape[1], shape[1]))


def _far_edges(side, outputs):
    ratio = f32(side) / f32(outputs)
    edges = np.arange(1, outputs + 1).astype(f32) * ratio
    return np.ceil(edges).astype(np.int64) - 1


def nearest_by_far_edge(src, shape):
    return _taken(src, _far_edges(src.shape[0], shape[0]), _far_edges(src.shape[1], shape[1]))


def largest_in_blocks(src, shape):
    rows = np.minimum(_far_edges(src.shape[0], shape[0]), src.shape[0] - 1)
    columns = _far_edges(src.shape[1], shape[1])
    flat = src.reshape(-1)
    result = np.zeros(shape, np.uint32)
    for y in range(shape[0]):
        above = rows[y - 1] if y > 0 else 0
        for x in range(shape[1]):
            before = columns[x - 1] if x > 0 else 0
            largest = 0
            for r in range(above + 1, rows[y] + 1):
                for c in range(before + 1, columns[x] + 1):
                    largest = max(largest, int(flat[min(r * src.shape[1] + c, flat.size - 1)]))
            result[y, x] = largest
    return result


# ---- Bicubic ----


def interpolated_cell(buffer, row, column, mode):
    def value(r, c):
        return buffer[row + r, column + c]

    def line(r, c):
        return (value(r, c) + value(r, c)) - value(2 * r, 2 * c)

    if mode in (0, 1):
        return line(1 if mode == 0 else -1, 0)
    if mode in (2, 3):
        return line(0, 1 if mode == 2 else -1)
    if mode > 7:
        return f32(0)
    v = 1 if mode in (4, 5) else -1
    h = 1 if mode in (4, 6) else -1
    first = (value(v, 0) + value(v, 0)) - value(2 * v, 0)
    return ((first + (value(0, h) + value(0, h))) - value(0, 2 * h)) * f32(0.5)


def extrapolated(src):
    """The plane as floats, continued by one row and column before and two after it."""
    height, width = src.shape
    buffer = np.zeros((height + 3, width + 3), f32)
    buffer[1:height + 1, 1:width + 1] = src

    def fill(row, column, mode):
        buffer[row, column] = interpolated_cell(buffer, row, column, mode)

    for r in range(1, height + 1):
        fill(r, 0, 2)
        fill(r, width + 1, 3)
        fill(r, width + 2, 3)
    for c in range(1, width + 1):
        fill(0, c, 0)
    fill(0, 0, 4)
    fill(0, width + 1, 5)
    fill(0, width + 2, 5)
    for c in range(1, width + 1):
        fill(height + 1, c, 1)
        fill(height + 2, c, 1)
    fill(height + 1, 0, 6)
    fill(height + 2, 0, 6)
    for r in (height + 1, height + 2):
        fill(r, width + 1, 7)
        fill(r, width + 2, 7)
    return buffer


_SPLINE = np.array([[0, 1, 0, 0], [-0.5, 0, 0.5, 0], [1, -2.5, 2, -0.5], [-0.5, 1.5, -1.5, 0.5]],
                   f32)


def bicubic_upscale(src, shape):
    buffer = extrapolated(src)

    def axis(side, outputs):
        position = np.arange(outputs).astype(f32) * (f32(side - 1) / f32(outputs - 1))
        cell = np.trunc(position).astype(np.int64)
        return cell, position - cell.astype(f32)

    j, ty = axis(src.shape[0], shape[0])
    i, tx = axis(src.shape[1], shape[1])
    ty, tx = ty[:, None], tx[None, :]
    samples = [[buffer[np.ix_(j + r, i + c)] for c in range(4)] for r in range(4)]

    def cubic(a, t):
        return ((a[0] + a[1] * t) + a[2] * (t * t)) + a[3] * ((t * t) * t)

    rows = []
    for m in range(4):
        coefficients = []
        for n in range(4):
            total = np.zeros(shape, f32)
            for r in range(4):
                for c in range(4):
                    total = total + (_SPLINE[m, r] * _SPLINE[n, c]) * samples[r][c]
            coefficients.append(total)
        rows.append(cubic(coefficients, tx))
    return np.minimum(np.maximum(cubic(rows, ty), f32(-255)), f32(65535))


def bicubic_resize_to_u16p10(src, shape):
    buffer = extrapolated(src)

    def axis(side, outputs):
        if outputs == 1:
            position = np.zeros(1, f32)
        else:
            position = np.arange(outputs).astype(f32) / f32(outputs - 1) * f32(side - 1)
        cell = np.floor(position)
        return cell.astype(np.int64), position - cell

    j, ty = axis(src.shape[0], shape[0])
    i, tx = axis(src.shape[1], shape[1])

    def spline(p0, p1, p2, p3, t, differences):
        p2_p0, p1_p2 = differences
        p0, p1, p2, p3, t = (np.asarray(part, f64) for part in (p0, p1, p2, p3, t))
        cubic = t * (3.0 * p1_p2.astype(f64) + p3 - p0)
        square = 2.0 * p0 - 5.0 * p1 + 4.0 * p2 - p3
        return (p1 + 0.5 * t * (p2_p0.astype(f64) + t * (square + cubic))).astype(f32)

    rows = []
    for r in range(4):
        p0, p1, p2, p3 = (buffer[np.ix_(j + r, i + c)] for c in range(4))
        rows.append(spline(p0, p1, p2, p3, tx[None, :], (p2 - p0, p1 - p2)))
    p0, p1, p2, p3 = (row.astype(f64) for row in rows)
    surface = spline(p0, p1, p2, p3, ty[:, None], (p2 - p0, p1 - p2))
    return low_16(f32(1024) * surface)


# ---- Area mean ----


def area_mean(src, shape, scaled, roi=None):
    """`scaled` turns the normalised sums into 16-bit samples."""
    height, width = src.shape
    x0, y0, w, h = roi if roi is not None else (0, 0, width, height)
    if w == 0 or h == 0:
        return np.zeros(shape, np.uint16)

    def covered(extent, outputs, side):
        step = f32(extent) / f32(outputs)
        parts = []
        edge_before = f32(0)
        for k in range(outputs):
            edge = min(f32(k + 1) * step, f32(side))
            first = int(np.floor(edge_before))
            last = int(np.floor(edge))
            last_weight = edge - np.floor(edge)
            if last_weight == 0:
                last, last_weight = last - 1, f32(1)
            weights = [(n, f32(1)) for n in range(first, last + 1)]
            if last > first:
                weights[-1] = (last, f32(last_weight))
            if weights:
                weights[0] = (first, f32(1) - (edge_before - np.floor(edge_before)))
            parts.append(weights)
            edge_before = edge
        return parts, step

    rows, step_y = covered(h, shape[0], height)
    columns, step_x = covered(w, shape[1], width)
    flat = src.reshape(-1).astype(f32)
    norm = f32(1) / (step_x * step_y)
    result = np.zeros(shape, np.uint16)
    for y, covered_rows in enumerate(rows):
        for x, covered_columns in enumerate(columns):
            total = f32(0)
            for r, weight_y in covered_rows:
                row = min(y0 + r, height - 1)
                for c, weight_x in covered_columns:
                    sample = flat[min(row * width + x0 + c, flat.size - 1)]
                    total = total + sample * (weight_x * weight_y)
            result[y, x] = low_16(scaled(norm * total))
    return result


def image_downscale_32f_to_u16p10(src, shape, roi=None):
    return area_mean(src, shape, lambda mean: (mean + f32(2.0**-11)) * f32(1024), roi)


def image_downscale_u16_to_u16(src, shape, in_bits, out_bits, roi=None):
    reciprocal = f32(1) / power_of_two(in_bits)
    factor = power_of_two(out_bits)
    return area_mean(src, shape,
                     lambda mean: (mean * reciprocal + f32(2.0**-11)) * factor, roi)
