"""Plain NumPy references of the matrices, the surface fit, the gain tables and the correction.

Written from the formulas; sums run in ascending order in one single-precision accumulator.
"""

import struct

import numpy as np

from reference_resampling import bicubic_upscale, low_16

f32 = np.float32


def mul_mm(a, b):
    total = np.zeros((a.shape[0], b.shape[1]), f32)
    for k in range(a.shape[1]):
        total = total + a[:, k:k + 1] * b[k:k + 1, :]
    return total


def lu_factors(src):
    factors = np.array(src, f32)
    n = len(factors)
    for k in range(n):
        for i in range(k + 1, n):
            factors[i, k] = factors[i, k] / factors[k, k]
            factors[i, k + 1:] = factors[i, k + 1:] - factors[i, k] * factors[k, k + 1:]
    return factors


_POWERS = [(0, 0), (1, 0), (0, 1), (2, 0), (1, 1), (0, 2), (3, 0), (2, 1), (1, 2), (0, 3), (4, 0),
           (3, 1), (2, 2), (1, 3), (0, 4)]


def _power(value, exponent):
    """value ** exponent: x^3 = x x^2, x^4 = x^3 x."""
    square = value * value
    cube = value * square
    return [np.ones_like(value), value, square, cube, cube * value][exponent]


def design_matrix(rows, columns):
    y, x = (part.reshape(-1).astype(f32) + f32(1) for part in np.mgrid[:rows, :columns])
    return np.stack([_power(x, p) * _power(y, q) for p, q in _POWERS], axis=1)


def surface(c, grid_shape, shape):
    def axis(side, outputs):
        with np.errstate(all="ignore"):
            return f32(1) + np.arange(outputs).astype(f32) * (f32(side - 1) / f32(outputs - 1))

    x = axis(grid_shape[1], shape[1])[None, :]
    y = axis(grid_shape[0], shape[0])[:, None]
    k0 = (((c[0] + c[2] * y) + c[5] * _power(y, 2)) + c[9] * _power(y, 3)) + c[14] * _power(y, 4)
    k1 = ((c[1] + c[4] * y) + c[8] * _power(y, 2)) + c[13] * _power(y, 3)
    k2 = (c[3] + c[7] * y) + c[12] * _power(y, 2)
    k3 = c[6] + c[11] * y
    return (((k0 + k1 * x) + k2 * _power(x, 2)) + k3 * _power(x, 3)) + c[10] * _power(x, 4)


def solved(factors, right):
    n = len(right)
    z = np.zeros(n, f32)
    for i in range(n):
        total = f32(0)
        for k in range(i):
            total = total + factors[i, k] * z[k]
        z[i] = right[i] - total
    c = np.zeros(n, f32)
    for i in reversed(range(n)):
        total = f32(0)
        for k in range(i + 1, n):
            total = total + factors[i, k] * c[k]
        c[i] = (z[i] - total) / factors[i, i]
    return c


def fitted(design, factors, grid, shape):
    right = mul_mm(np.ascontiguousarray(design.T), grid.reshape(-1, 1))[:, 0]
    return surface(solved(factors, right), grid.shape, shape)


def mirrored(plane, orientation):
    if orientation & 1:
        plane = plane[:, ::-1]
    if orientation & 2:
        plane = plane[::-1, :]
    return np.ascontiguousarray(plane)


def polynomial_tables(sets, shape, orientation):
    rows, columns = sets[0][1][0].shape
    design = design_matrix(rows, columns)
    factors = lu_factors(mul_mm(np.ascontiguousarray(design.T), design))
    tables = []
    for bits, grids in sets:
        planes = []
        for grid in grids:
            gains = mirrored(grid.astype(f32) / f32(2**bits) + f32(1), orientation)
            plane = fitted(design, factors, gains, shape)
            planes.append(np.maximum(plane / plane.min(), f32(1)))
        tables.append(np.stack(planes))
    return tables


def bicubic_tables(sets, shape, orientation):
    tables = []
    h8, w8 = shape[0] % 256, shape[1] % 256
    for bits, grids in sets:
        planes = []
        for grid in grids:
            raw = bicubic_upscale(grid, shape).reshape(-1)[:h8 * w8].reshape(h8, w8)
            plane = np.zeros(shape[0] * shape[1], f32)
            if orientation <= 3:
                gains = mirrored(raw / f32(2**bits) + f32(1), orientation)
                plane[:h8 * w8] = gains.reshape(-1)
            planes.append(plane.reshape(shape))
        tables.append(np.stack(planes))
    return tables


def nvm_image(sets, rows, columns):
    """An image of the stand-in's form (docs/nvm_image.md); grids are uint8 up to 8 bits."""
    body = struct.pack("<HBBBBH", 1, len(sets), columns, rows, 0, 0)
    for bits, grids in sets:
        body += struct.pack("<BBBB", bits, 0, 0, 0)
        for grid in grids:
            body += grid.astype("u1" if bits <= 8 else "<u2").tobytes()
    checksum = 2166136261
    for byte in body:
        checksum = ((checksum ^ byte) * 16777619) & 0xFFFFFFFF
    return struct.pack("<III", 0x4D564E51, 12 + len(body), checksum) + body


_CELLS = {
    0: "G2 C2 C1 G1", 1: "C2 G2 G1 C1", 2: "C1 G1 G2 C2", 3: "G1 C1 C2 G2",
    256: "C1 G2 C2 G2 G1 -- G1 -- C2 G2 C1 G2 G1 -- G1 --",
    257: "G2 C2 G2 C1 -- G1 -- G1 G2 C1 G2 C2 -- G1 -- G1",
    258: "C2 G2 C1 G2 G1 -- G1 -- C1 G2 C2 G2 G1 -- G1 --",
    259: "G2 C1 G2 C2 -- G1 -- G1 G2 C2 G2 C1 -- G1 -- G1",
    260: "G1 -- G1 -- C2 G2 C1 G2 G1 -- G1 -- C1 G2 C2 G2",
    261: "-- G1 -- G1 G2 C1 G2 C2 -- G1 -- G1 G2 C2 G2 C1",
    262: "G1 -- G1 -- C1 G2 C2 G2 G1 -- G1 -- C2 G2 C1 G2",
    263: "-- G1 -- G1 G2 C2 G2 C1 -- G1 -- G1 G2 C1 G2 C2",
}
LAYOUTS = tuple(_CELLS)


def corrected_tables(target, source, gains, layout, order):
    """The tables of one light; a cell of 4 x 4 averages the greens of `gains` in place."""
    planes = {colour: i for i, colour in enumerate(_CELLS[order].split())}
    cell = _CELLS[layout].split()
    side = 2 if layout < 256 else 4
    if side == 4:
        mean = (gains[planes["G1"]] + gains[planes["G2"]]) * f32(0.5)
        gains[planes["G1"]] = gains[planes["G2"]] = mean
    result = {site: table.copy() for site, table in target.items()}
    for site in target:
        row, column = site
        if row >= side or column >= side or site not in source:
            continue
        colour = cell[row * side + column]
        if colour == "--":
            continue
        flat = source[site].reshape(-1)[:target[site].size].astype(f32)
        product = low_16(flat * gains[planes[colour]].reshape(-1))
        result[site] = product.reshape(target[site].shape)
    return result
