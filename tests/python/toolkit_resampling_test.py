"""The resamplers on NumPy arrays, bit for bit against plain references."""

import itertools

import hypothesis
import hypothesis.extra.numpy as arrays
import hypothesis.strategies as st
import numpy as np
import pytest

import qo_cmc
import reference_resampling as reference

SEED = 20231

# Sides on both sides of every vector's length, paired so that few of the planes are squares.
SHAPES = [(2, 2), (2, 70), (3, 5), (5, 3), (7, 16), (9, 8), (15, 31), (16, 17), (17, 64), (33, 9),
          (49, 65), (64, 2), (70, 33)]
PAIRS = [(a, b) for i, a in enumerate(SHAPES) for j, b in enumerate(SHAPES) if (i + j) % 3 != 1]

SPECIAL = np.array([0, -0.0, 1, -1, 0.5, np.nan, np.inf, -np.inf, 1e-45, -1e-40, 3.4e38, -3.4e38,
                    65535, 65536, 2**31, -2**31, 63.999996, 1e10], np.float32)


def same_bits(expected, actual):
    """Equal but for the sign and payload of NaNs."""
    assert expected.dtype == actual.dtype
    assert expected.shape == actual.shape
    if expected.dtype == np.float32:
        both = np.isnan(expected) & np.isnan(actual)
        expected = np.where(both, 0, expected.view(np.uint32))
        actual = np.where(both, 0, actual.view(np.uint32))
    np.testing.assert_array_equal(actual, expected)


def integers(shape, dtype, high=None):
    rng = np.random.default_rng([SEED, *shape])
    info = np.iinfo(dtype)
    return rng.integers(info.min, info.max if high is None else high, shape, dtype, endpoint=True)


def floats(shape, special=False):
    rng = np.random.default_rng([SEED, *shape])
    values = rng.uniform(-3, 70, shape).astype(np.float32)
    if special:
        chosen = rng.random(shape) < 0.2
        values[chosen] = rng.choice(SPECIAL, int(chosen.sum()))
    return values


def both_ways(function, expected, *arguments, **keywords):
    """Expects the result, newly made and in `out`, and gives the object that came out."""
    same_bits(expected, function(*arguments, **keywords))
    out = np.full(expected.shape, 77, expected.dtype)
    assert function(*arguments, **keywords, out=out) is out
    same_bits(expected, out)


@pytest.fixture(autouse=True)
def silent_arithmetic():
    with np.errstate(all="ignore"):
        yield


RESIZERS = {
    "uint8": (qo_cmc.resize_2d_array_uint8, np.uint8),
    "uint16": (qo_cmc.resize_2d_array_uint16, np.uint16),
    "uint32": (qo_cmc.resize_2d_array_uint32, np.uint32),
}


@pytest.mark.parametrize("kind", RESIZERS)
@pytest.mark.parametrize("high", [None, 1])
def test_integer_arrays_are_resized(kind, high):
    function, dtype = RESIZERS[kind]
    for source, shape in PAIRS:
        src = integers(source, dtype, high)
        both_ways(function, reference.resize_2d_array_int(src, shape), src, shape)


@pytest.mark.parametrize("dtype,function", [(np.uint8, qo_cmc.resize_2d_array_uint8_v1),
                                            (np.uint16, qo_cmc.resize_2d_array_uint16_v1)])
@pytest.mark.parametrize("step,channel", [(1, 0), (2, 1), (3, 0), (4, 3)])
def test_one_channel_of_an_interleaved_array_is_written(dtype, function, step, channel):
    for source, shape in PAIRS[::5]:
        src = integers(source, dtype)
        plane = reference.resize_2d_array_int(src, shape)
        expected = np.zeros((*shape, step), dtype)
        expected[..., channel] = plane
        same_bits(expected, function(src, shape, step, channel=channel))
        out = integers((*shape, step), dtype)
        expected = out.copy()
        expected[..., channel] = plane
        assert function(src, shape, step, channel=channel, out=out) is out
        same_bits(expected, out)


@pytest.mark.parametrize("special", [False, True])
def test_float_arrays_are_resized(special):
    for source, shape in PAIRS:
        src = floats(source, special)
        both_ways(qo_cmc.resize_2d_array_float, reference.resize_2d_array_float(src, shape), src,
                  shape)


@pytest.mark.parametrize("origin,end", [((0, 0), (0, 0)), ((1, 0), (0, 1)), ((2, 3), (4, 1)),
                                        ((-1, -2), (0, 0)), ((200, 300), (1, 1)),
                                        ((2**31 - 1, -2**31), (5, 5))])
def test_regions_are_resized(origin, end):
    for source, shape in PAIRS[::3]:
        src = integers(source, np.uint16)
        region = [(side - before - after) % 2**32
                  for side, before, after in zip(source, origin[::-1], end[::-1])]
        if min(region) < 2:
            with pytest.raises(qo_cmc.StatusError):
                qo_cmc.crop_resize_2d_array_uint16(src, shape, origin, end)
            continue
        expected = reference.crop_resize_2d_array_uint16(src, shape, origin, end)
        both_ways(qo_cmc.crop_resize_2d_array_uint16, expected, src, shape, origin, end)


@pytest.mark.parametrize("extra", [(1, 1), (1, 257), (258, 2), (513, 3)])
def test_planes_of_32_bits_are_scaled(extra):
    for source, shape in [*PAIRS[::4], *((source, extra) for source in SHAPES)]:
        src = integers(source, np.uint32)
        both_ways(qo_cmc.image_nearest_neighbor_scale_uint32,
                  reference.image_nearest_neighbor_scale_uint32(src, shape), src, shape)


def test_planes_of_16_bits_are_scaled_by_their_far_edges():
    for source, shape in [*PAIRS, ((3, 3), (21, 21)), ((2, 7), (49, 63))]:
        src = integers(source, np.uint16)
        both_ways(qo_cmc.image_upscale_nearest_neighbor_uint16,
                  reference.nearest_by_far_edge(src, shape), src, shape)


def test_signed_planes_are_scaled_by_copies_and_by_maxima():
    for source, shape in [*PAIRS[::4], ((3, 3), (21, 21)), ((70, 33), (3, 2))]:
        src = integers(source, np.int32)
        both_ways(qo_cmc.image_downscale_nearest_neighbor_int32,
                  reference.nearest_by_far_edge(src, shape).view(np.uint32), src, shape)
        both_ways(qo_cmc.image_downscale_nearest_neighbor_int32,
                  reference.largest_in_blocks(src, shape), src, shape, use_max=True)


@pytest.mark.parametrize("dtype,function",
                         [(np.uint8, qo_cmc.image_bicubic_upscale_uint8_to_float),
                          (np.uint16, qo_cmc.image_bicubic_upscale_uint16_to_float)])
def test_planes_are_enlarged_by_the_bicubic_spline(dtype, function):
    for source, more in itertools.product(SHAPES[:11:2], [(0, 0), (1, 13), (40, 3)]):
        shape = (source[0] + more[0], source[1] + more[1])
        planes = integers((2, *source), dtype)
        expected = np.stack([reference.bicubic_upscale(plane, shape) for plane in planes])
        both_ways(function, expected, planes, shape)
        same_bits(expected, function(list(planes), shape))
    assert function(np.zeros((0, 3, 3), dtype), (5, 5)).shape == (0, 5, 5)


@pytest.mark.parametrize("shape", [(1, 1), (1, 7), (9, 1), *SHAPES])
def test_planes_are_continued_on_all_sides(shape):
    src = integers(shape, np.uint16)
    both_ways(qo_cmc.create_extrapolated_buffer_for_bicubic_u16, reference.extrapolated(src), src)


@pytest.mark.parametrize("mode", [*range(9), 2**32 - 1])
def test_a_border_cell_is_extrapolated_in_place(mode):
    for special in (False, True):
        buffer = floats((5, 6), special)
        expected = buffer.copy()
        expected[2, 3] = reference.interpolated_cell(buffer, 2, 3, mode)
        value = qo_cmc.interpolate_gain_value(buffer, (2, 3), mode)
        same_bits(expected, buffer)
        same_bits(expected[2, 3:4], np.array([value], np.float32))


@pytest.mark.parametrize("special", [False, True])
def test_float_planes_are_resized_to_16_bits_by_the_bicubic_spline(special):
    for source, shape in [*PAIRS[::4], ((5, 7), (1, 1)), ((1, 9), (4, 20)), ((9, 1), (20, 4)),
                          ((5, 7), (0, 3))]:
        src = floats(source, special)
        both_ways(qo_cmc.bicubic_resize_32f_to_u16p10,
                  reference.bicubic_resize_to_u16p10(src, shape), src, shape)


@pytest.mark.parametrize("bits", [0, 10, 16, 31, 42])
def test_planes_of_16_bits_are_resized_by_the_bicubic_spline(bits):
    for source, shape in PAIRS[::8]:
        src = integers(source, np.uint16)
        scaled = src.astype(np.float32) * (np.float32(1) / reference.power_of_two(bits))
        both_ways(qo_cmc.bicubic_resize_u16_to_u16,
                  reference.bicubic_resize_to_u16p10(scaled, shape), src, shape, bits)


REDUCTIONS = [((4, 4), (3, 3), None), ((8, 8), (4, 4), None), ((9, 17), (3, 16), None),
              ((14, 20), (13, 7), None), ((20, 33), (5, 9), (3, 2, 20, 11)),
              ((12, 12), (3, 4), (12 - 3, 0, 3, 12)), ((12, 12), (5, 6), (1, 1, 2, 3)),
              ((12, 9), (4, 4), (0, 0, 0, 5)), ((15, 16), (13, 14), (1, 1, 14, 14))]


@pytest.mark.parametrize("source,shape,roi", REDUCTIONS)
def test_planes_are_reduced_by_area_means(source, shape, roi):
    for special in (False, True):
        planes = floats((2, *source), special)
        expected = np.stack([reference.image_downscale_32f_to_u16p10(plane, shape, roi)
                             for plane in planes])
        both_ways(qo_cmc.image_downscale_32f_to_u16p10, expected, planes, shape, roi=roi)
        same_bits(expected, qo_cmc.image_downscale_32f_to_u16p10(tuple(planes), shape, roi=roi))
    for in_bits, out_bits in [(10, 10), (0, 4), (12, 16), (31, 31), (33, 8)]:
        planes = integers((2, *source), np.uint16)
        expected = np.stack([reference.image_downscale_u16_to_u16(plane, shape, in_bits, out_bits,
                                                                  roi) for plane in planes])
        both_ways(qo_cmc.image_downscale_u16_to_u16, expected, planes, shape, in_bits, out_bits,
                  roi=roi)


SIDES = st.integers(2, 40)
BOUNDED = hypothesis.settings(derandomize=True, max_examples=60, deadline=None, database=None)


def planes_of(dtype, elements=None):
    return st.tuples(SIDES, SIDES).flatmap(
        lambda shape: arrays.arrays(dtype, shape, elements=elements))


@BOUNDED
@hypothesis.given(st.data(), st.sampled_from(sorted(RESIZERS)), SIDES, SIDES)
def test_any_integer_array_is_resized_to_any_shape(data, kind, rows, columns):
    function, dtype = RESIZERS[kind]
    src = data.draw(planes_of(dtype))
    same_bits(reference.resize_2d_array_int(src, (rows, columns)), function(src, (rows, columns)))


@BOUNDED
@hypothesis.given(planes_of(np.float32, st.floats(width=32)), SIDES, SIDES)
def test_any_float_array_is_resized_to_any_shape(src, rows, columns):
    with np.errstate(all="ignore"):
        same_bits(reference.resize_2d_array_float(src, (rows, columns)),
                  qo_cmc.resize_2d_array_float(src, (rows, columns)))
        same_bits(reference.bicubic_resize_to_u16p10(src, (rows, columns)),
                  qo_cmc.bicubic_resize_32f_to_u16p10(src, (rows, columns)))


def test_a_shape_may_be_any_sequence_of_integers():
    src = integers((3, 5), np.uint16)
    expected = qo_cmc.resize_2d_array_uint16(src, (4, 6))
    for shape in ([4, 6], np.array([4, 6]), (np.int8(4), np.uint64(6)), range(4, 7, 2)):
        same_bits(expected, qo_cmc.resize_2d_array_uint16(src, shape))
