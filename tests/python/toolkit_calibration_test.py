"""Matrices, surface fit, gain tables and correction, bit for bit against plain references."""

from types import SimpleNamespace

import hypothesis
import hypothesis.extra.numpy as arrays
import hypothesis.strategies as st
import numpy as np
import pytest

import qo_cmc
import reference_calibration as reference
from toolkit_resampling_test import BOUNDED, both_ways, floats, integers, same_bits

f32 = np.float32


@pytest.fixture(autouse=True)
def silent_arithmetic():
    with np.errstate(all="ignore"):
        yield


# ---- Matrices ----


def unaligned(values):
    """The same values at an odd address."""
    memory = np.zeros(values.nbytes + 1, np.uint8)
    view = memory[1:].view(np.float32).reshape(values.shape)
    view[...] = values
    assert not view.flags.aligned
    return view


LAYOUTS = {
    "rows": lambda m: m,
    "columns": np.asfortranarray,
    "backwards": lambda m: m[::-1, ::-1].copy()[::-1, ::-1],
    "with gaps": lambda m: np.repeat(np.repeat(m, 3, axis=0), 2, axis=1)[::3, ::2],
    "unaligned": unaligned,
}


@pytest.mark.parametrize("left", LAYOUTS)
@pytest.mark.parametrize("right", LAYOUTS)
def test_matrices_of_any_layout_are_multiplied(left, right):
    for n, k, m in [(1, 1, 1), (2, 3, 4), (7, 15, 17), (15, 63, 15), (33, 8, 9), (3, 0, 2)]:
        a = floats((n, k), special=n % 2 == 0)
        b = floats((k, m))
        expected = reference.mul_mm(a, b)
        if k == 0:
            same_bits(expected, qo_cmc.mul_mm(a, b))
            continue
        x, y = LAYOUTS[left](a), LAYOUTS[right](b)
        both_ways(qo_cmc.mul_mm, expected, x, y)
        out = LAYOUTS[left](np.empty((n, m), np.float32))
        assert qo_cmc.mul_mm(x, y, out=out) is out
        same_bits(expected, np.ascontiguousarray(out))


@pytest.mark.parametrize("layout", LAYOUTS)
def test_matrices_of_any_layout_are_transposed_and_multiplied_by_vectors(layout):
    for n, m in [(1, 1), (2, 9), (16, 7), (31, 33), (70, 3)]:
        values = floats((n, m), special=True)
        matrix = LAYOUTS[layout](values)
        both_ways(qo_cmc.transpose_m, np.ascontiguousarray(values.T), matrix)
        vector = floats((m, 1))
        for v in (vector[:, 0], unaligned(vector[:, 0]), vector[::-1, 0].copy()[::-1]):
            both_ways(qo_cmc.mul_mv, reference.mul_mm(values, vector)[:, 0], matrix, v)


def test_rows_that_are_one_row_may_be_multiplied():
    row = floats((1, 9))
    repeated = np.broadcast_to(row, (6, 9))
    same_bits(reference.mul_mm(repeated, row.T), qo_cmc.mul_mm(repeated, row.T))


def test_an_empty_matrix_has_an_empty_transpose():
    assert qo_cmc.transpose_m(np.zeros((0, 3), np.float32)).shape == (3, 0)
    assert qo_cmc.mul_mm(np.zeros((0, 3), f32), np.zeros((3, 0), f32)).shape == (0, 0)


@pytest.mark.parametrize("n", [1, 2, 3, 7, 8, 15, 17, 33])
def test_a_matrix_is_factorised(n):
    for values in (floats((n, n)) + f32(100) * np.eye(n, dtype=f32), floats((n, n), special=True)):
        expected = reference.lu_factors(values)
        for src in (values, np.asfortranarray(values), unaligned(values)):
            factors, index = qo_cmc.lu_decomposition_m(src)
            same_bits(expected, factors)
            same_bits(np.arange(n, dtype=np.int32), index)
        out = (np.empty((n, n), f32), np.empty(n, np.int32))
        factors, index = qo_cmc.lu_decomposition_m(values, out=out)
        assert factors is out[0] and index is out[1]
        same_bits(expected, factors)
        in_place = values.copy()
        qo_cmc.lu_decomposition_m(in_place, out=[in_place, index])
        same_bits(expected, in_place)


@BOUNDED
@hypothesis.given(st.data(), st.integers(1, 20), st.integers(0, 20), st.integers(1, 20))
def test_any_matrices_are_multiplied(data, n, k, m):
    elements = st.floats(width=32)
    a = data.draw(arrays.arrays(f32, (n, k), elements=elements))
    b = data.draw(arrays.arrays(f32, (k, m), elements=elements))
    with np.errstate(all="ignore"):
        same_bits(reference.mul_mm(a, b), qo_cmc.mul_mm(a, b))


# ---- Surface ----

GRIDS = [(5, 5), (7, 9), (10, 6), (13, 17)]


@pytest.mark.parametrize("grid", [(2, 2), (1, 6), (0, 5), *GRIDS])
def test_a_fit_is_prepared(grid):
    samples = grid[0] * grid[1]
    expected = reference.design_matrix(*grid)
    normal = reference.mul_mm(np.ascontiguousarray(expected.T), expected)
    factors = reference.lu_factors(normal)
    wider = floats((samples, 17))
    for own in (None, np.zeros((samples, 15), f32), wider):
        design, design_t, lu, index = qo_cmc.lu_decomposition(grid, design=own)
        assert own is None or design is own
        same_bits(expected, np.ascontiguousarray(design[:, :15]))
        same_bits(np.ascontiguousarray(design.T), design_t)
        same_bits(np.arange(design.shape[1], dtype=np.int32), index)
        if own is not wider:
            same_bits(factors, lu)
    same_bits(np.ascontiguousarray(floats((samples, 17))[:, 15:]),
              np.ascontiguousarray(wider[:, 15:]))
    out = (np.empty((15, samples), f32), np.empty((15, 15), f32), np.empty(15, np.int32))
    results = qo_cmc.lu_decomposition(grid, out=out)
    assert all(given is result for given, result in zip(out, results[1:]))
    same_bits(factors, out[1])


@pytest.mark.parametrize("grid", GRIDS)
def test_surfaces_are_fitted_and_sampled(grid):
    design, design_t, lu, _ = qo_cmc.lu_decomposition(grid)
    for shape in [(2, 2), (5, 16), (17, 9), (33, 65), (1, 4), (0, 4)]:
        source = np.abs(floats((4, *grid)))
        expected = np.stack([reference.fitted(design, lu, plane, shape) for plane in source])
        both_ways(qo_cmc.lsc_polynomial_upscale_float, expected, design_t, lu, source, shape)
        same_bits(expected, qo_cmc.lsc_polynomial_upscale_float(design_t, lu, list(source), shape))


@pytest.mark.parametrize("special", [False, True])
def test_a_surface_is_sampled(special):
    for grid in [(1, 1), (0, 3), (5, 5), (65535, 300)]:
        for shape in [(1, 1), (2, 3), (16, 15), (7, 70)]:
            coefficients = floats((1, 15), special)[0]
            expected = reference.surface(coefficients, grid, shape)
            both_ways(qo_cmc.do_polynomial_upscale, expected, coefficients, grid, shape)


# ---- Gain tables ----


def smooth_sets(rows, columns):
    """Two sets, one of 8-bit and one of 16-bit grids, that fall off from the middle."""
    y, x = np.mgrid[:rows, :columns]
    far = ((y - rows / 2.2)**2 + (x - columns / 1.9)**2) / (rows**2 + columns**2)
    return [(bits, [(far * scale * (1 + c / 7) + 3 * c).astype(dtype) for c in range(4)])
            for bits, scale, dtype in ((7, 300, np.uint8), (10, 3000, np.uint16))]


@pytest.mark.parametrize("orientation", range(4))
def test_gain_tables_are_built_with_the_surface(orientation):
    for rows, columns, shape in [(7, 9, (25, 33)), (5, 6, (13, 40)), (8, 5, (2, 2))]:
        sets = smooth_sets(rows, columns)
        tables = qo_cmc.compute_upscaled_lsc_tables_polynom4th(
            shape, reference.nvm_image(sets, rows, columns), orientation)
        assert tables.table_count == len(tables) == 2
        for expected, table in zip(reference.polynomial_tables(sets, shape, orientation), tables):
            same_bits(expected, table)


@pytest.mark.parametrize("orientation", [0, 1, 2, 3, 4, 2**32 - 1])
def test_gain_tables_are_built_with_the_bicubic_spline(orientation):
    for rows, columns, shape in [(7, 9, (25, 33)), (2, 3, (9, 3)), (5, 4, (10, 300)),
                                 (5, 4, (256, 5))]:
        sets = smooth_sets(rows, columns)
        tables = qo_cmc.compute_upscaled_lsc_tables_bicubic(
            shape, bytearray(reference.nvm_image(sets, rows, columns)), orientation)
        for expected, table in zip(reference.bicubic_tables(sets, shape, orientation), tables):
            same_bits(expected, table)


def test_an_image_without_sets_gives_no_table():
    image = reference.nvm_image([], 3, 3)
    try:
        tables = qo_cmc.compute_upscaled_lsc_tables_polynom4th((4, 4), image)
    except ValueError as refusal:  # an NVM library may refuse it
        assert "refused by the NVM library" in str(refusal)
    else:
        assert list(tables) == [] and tables.gain_tables == ()


# ---- Correction ----

SITES = [(row, column) for row in range(4) for column in range(4)]


def light(number, shape, sites, **more):
    rng = np.random.default_rng([number, *shape])
    return SimpleNamespace(
        light_id=number, gains=rng.random(2).astype(f32), coords=(number, 0.25), fraction_bits=12,
        tables={site: rng.integers(0, 65536, shape, np.uint16) for site in sites}, **more)


def shading(lights, shape, name):
    return SimpleNamespace(width=shape[1], height=shape[0], **{name: lights})


def gain_table(number, shape):
    table = np.random.default_rng([number]).uniform(-2, 9, (4, *shape)).astype(f32)
    table.reshape(-1)[::11] = [np.nan, np.inf, -np.inf, 3e38][number % 4]
    return table


@pytest.mark.parametrize("layout", reference.LAYOUTS)
@pytest.mark.parametrize("order", range(4))
def test_tables_are_corrected(layout, order):
    for shape in [(1, 1), (5, 13), (7, 33)]:
        target = shading([light(n, shape, SITES[n:]) for n in (1, 2, 3)], shape, "lights")
        source = shading([light(n + 10, shape, SITES[:-n or None], aux=aux)
                          for n, aux in ((1, 2), (0, 1), (2, 2))], shape, "lights_ext")
        gains = [gain_table(0, shape), gain_table(1, shape)]
        averaged = [table.copy() for table in gains]
        before = [{site: table.copy() for site, table in one.tables.items()}
                  for one in target.lights]
        result = qo_cmc.ratio_based_sample_to_sample_correction(target, source, gains, layout,
                                                                order)
        assert isinstance(result, tuple) and len(result) == 3
        for one, given, copies, corrected in zip(target.lights, source.lights_ext, before, result):
            expected = reference.corrected_tables(one.tables, given.tables,
                                                  averaged[given.aux - 1], layout, order)
            assert expected.keys() == corrected.tables.keys()
            for site in expected:
                same_bits(expected[site], corrected.tables[site])
                same_bits(copies[site], one.tables[site])
                assert not np.shares_memory(corrected.tables[site], one.tables[site])
            assert (corrected.light_id, corrected.fraction_bits) == (given.light_id, 12)
            same_bits(given.gains, corrected.gains)
            same_bits(np.array(given.coords, f32), corrected.coords)
        for expected, table in zip(averaged, gains):
            same_bits(expected, table)


def test_tables_of_any_layout_are_corrected():
    shape = (6, 10)
    wide = integers((12, 10), np.uint16)
    read_only = wide[::2]
    read_only.flags.writeable = False
    for table in (read_only, np.asfortranarray(wide[::2]), wide[10::-2]):
        target = shading([light(1, shape, SITES)], shape, "lights")
        target.lights[0].tables[0, 0] = table
        source = shading([light(2, shape, SITES, aux=1)], shape, "lights_ext")
        source.lights_ext[0].tables[0, 0] = table
        gains = np.full((4, *shape), 0.5, f32)
        gains.flags.writeable = False  # which a cell of 2 x 2 sites leaves as it is
        result = qo_cmc.ratio_based_sample_to_sample_correction(target, source, (gains,), 1, 2)
        same_bits(table // 2, result[0].tables[0, 0])


def test_a_parsed_cmc_is_corrected_by_tables_of_its_module():
    cmc = qo_cmc.parse(qo_cmc.sample_container())
    target, source = cmc.lens_shading, cmc.lens_shading_ext
    shape = (target.height, target.width)
    with qo_cmc.compute_upscaled_lsc_tables_polynom4th(shape, qo_cmc.sample_nvm()) as tables:
        result = qo_cmc.ratio_based_sample_to_sample_correction(target, source, tables, 3, 2)
        gains = [table.copy() for table in tables]
        for one, given, corrected in zip(target.lights, source.lights_ext, result):
            expected = reference.corrected_tables(one.tables, given.tables, gains[given.aux - 1],
                                                  3, 2)
            for site in expected:
                same_bits(expected[site], corrected.tables[site])
        del one, given, corrected
