"""What the toolkit refuses, and in which words; and that nothing is written then."""

import re
from types import SimpleNamespace

import numpy as np
import pytest

import qo_cmc
import reference_calibration as reference

u8, u16, u32, i32, f32 = np.uint8, np.uint16, np.uint32, np.int32, np.float32
FACTORS = np.eye(15, dtype=f32)


def zeros(shape, dtype):
    return np.zeros(shape, dtype)


def read_only(array):
    array.flags.writeable = False
    return array


def misaligned(shape, dtype):
    count = int(np.prod(shape)) * np.dtype(dtype).itemsize
    return zeros(count + 1, u8)[1:].view(dtype).reshape(shape)


# For each function: arguments that it accepts, by name, with `out` where it takes one.
ACCEPTED = {
    "transpose_m": dict(src=((3, 4), f32), out=((4, 3), f32)),
    "mul_mm": dict(src1=((3, 4), f32), src2=((4, 5), f32), out=((3, 5), f32)),
    "mul_mv": dict(src1=((3, 4), f32), src2=((4,), f32), out=((3,), f32)),
    "interpolate_gain_value": dict(buffer=((5, 6), f32), cell=(0, 0), mode=0),
    "create_extrapolated_buffer_for_bicubic_u16": dict(src=((3, 4), u16), out=((6, 7), f32)),
    "bicubic_resize_32f_to_u16p10": dict(src=((3, 4), f32), shape=(5, 6), out=((5, 6), u16)),
    "bicubic_resize_u16_to_u16": dict(src=((3, 4), u16), shape=(5, 6), in_frac_bits=10,
                                      out=((5, 6), u16)),
    "image_nearest_neighbor_scale_uint32": dict(src=((3, 4), u32), shape=(5, 6),
                                                out=((5, 6), u32)),
    "image_upscale_nearest_neighbor_uint16": dict(src=((3, 4), u16), shape=(5, 6),
                                                  out=((5, 6), u16)),
    "image_downscale_nearest_neighbor_int32": dict(src=((3, 4), i32), shape=(5, 6),
                                                   out=((5, 6), u32)),
    "resize_2d_array_uint8": dict(src=((3, 4), u8), shape=(5, 6), out=((5, 6), u8)),
    "resize_2d_array_uint16": dict(src=((3, 4), u16), shape=(5, 6), out=((5, 6), u16)),
    "resize_2d_array_uint32": dict(src=((3, 4), u32), shape=(5, 6), out=((5, 6), u32)),
    "resize_2d_array_float": dict(src=((3, 4), f32), shape=(5, 6), out=((5, 6), f32)),
    "resize_2d_array_uint8_v1": dict(src=((3, 4), u8), shape=(5, 6), dst_step=2,
                                     out=((5, 6, 2), u8)),
    "resize_2d_array_uint16_v1": dict(src=((3, 4), u16), shape=(5, 6), dst_step=2,
                                      out=((5, 6, 2), u16)),
    "crop_resize_2d_array_uint16": dict(src=((6, 7), u16), shape=(5, 6), crop_origin=(1, 1),
                                        crop_end=(1, 1), out=((5, 6), u16)),
    "image_bicubic_upscale_uint8_to_float": dict(src_planes=((2, 3, 4), u8), shape=(5, 6),
                                                 out=((2, 5, 6), f32)),
    "image_bicubic_upscale_uint16_to_float": dict(src_planes=((2, 3, 4), u16), shape=(5, 6),
                                                  out=((2, 5, 6), f32)),
    "image_downscale_32f_to_u16p10": dict(src_planes=((2, 9, 8), f32), shape=(5, 6),
                                          out=((2, 5, 6), u16)),
    "image_downscale_u16_to_u16": dict(src_planes=((2, 9, 8), u16), shape=(5, 6), in_frac_bits=1,
                                       out_frac_bits=2, out=((2, 5, 6), u16)),
    "lsc_polynomial_upscale_float": dict(design_t=((15, 30), f32), lu=((15, 15), f32),
                                         source=((4, 5, 6), f32), shape=(7, 8),
                                         out=((4, 7, 8), f32)),
    "do_polynomial_upscale": dict(coefficients=((15,), f32), grid_shape=(5, 5), shape=(7, 8),
                                  out=((7, 8), f32)),
}
STRIDED = {"transpose_m", "mul_mm", "mul_mv"}


def is_array(value):
    return isinstance(value, tuple) and isinstance(value[1], type)


def arguments_of(name):
    return {key: zeros(*value) if is_array(value) else value
            for key, value in ACCEPTED[name].items()}


def refusal(kind, text, name, **arguments):
    with pytest.raises(kind) as caught:
        getattr(qo_cmc, name)(**arguments)
    assert type(caught.value) is kind
    assert str(caught.value) == f"{name}: {text}"


ARRAYS = [(name, key, *value) for name, given in ACCEPTED.items()
          for key, value in given.items() if is_array(value)]


@pytest.mark.parametrize("name", ACCEPTED)
def test_these_arguments_are_accepted(name):
    getattr(qo_cmc, name)(**arguments_of(name))


@pytest.mark.parametrize("name,key,shape,dtype", ARRAYS)
def test_an_array_has_its_dtype_and_its_dimensions(name, key, shape, dtype):
    kind = np.dtype(dtype).name
    given = arguments_of(name)
    given[key] = zeros(shape, np.float64)
    refusal(TypeError, f"{key} is float64, expected {kind}", name, **given)
    if np.dtype(dtype).itemsize > 1:
        swapped = np.dtype(dtype).newbyteorder()
        given[key] = zeros(shape, swapped)
        refusal(TypeError, f"{key} is {swapped.str}, expected {kind}", name, **given)
    given[key] = zeros((*shape, 1), dtype)
    found = ", ".join(str(side) for side in (*shape, 1))
    plural = "dimension" if len(shape) == 1 else "dimensions"
    refusal(ValueError, f"{key} has shape ({found}), expected {len(shape)} {plural}", name,
            **given)
    given[key] = 5
    sequence = key in ("src_planes", "source")
    expected = ("an array (planes, rows, columns) or a sequence of planes" if sequence
                else f"an array of {kind}")
    refusal(TypeError, f"{key} is int, expected {expected}", name, **given)


@pytest.mark.parametrize("name,key,shape,dtype", [row for row in ARRAYS if row[0] not in STRIDED])
def test_an_array_has_its_layout(name, key, shape, dtype):
    given = arguments_of(name)
    gaps = "is not C-contiguous, expected rows one after the other without gaps"
    given[key] = np.repeat(zeros(shape, dtype), 2, axis=-1)[..., ::2]
    refusal(ValueError, f"{key} {gaps}", name, **given)
    if len(shape) > 1:
        given[key] = np.asfortranarray(zeros(shape, dtype))
        refusal(ValueError, f"{key} {gaps}", name, **given)
    if np.dtype(dtype).itemsize > 1:
        given[key] = misaligned(shape, dtype)
        refusal(ValueError, f"{key} is not aligned, expected elements at multiples of their size",
                name, **given)


WITH_OUT = [name for name, given in ACCEPTED.items() if "out" in given]


@pytest.mark.parametrize("name", WITH_OUT)
def test_out_has_its_shape_and_is_writable(name):
    shape, dtype = ACCEPTED[name]["out"]
    given = arguments_of(name)
    larger = (*shape[:-1], shape[-1] + 1)
    given["out"] = zeros(larger, dtype)

    def text(sides):
        return "(" + ", ".join(map(str, sides)) + (",)" if len(sides) == 1 else ")")

    refusal(ValueError, f"out has shape {text(larger)}, expected {text(shape)}", name, **given)
    given["out"] = read_only(zeros(shape, dtype))
    refusal(ValueError, "out is read-only, expected a writable array", name, **given)


@pytest.mark.parametrize("name", WITH_OUT)
def test_out_overlaps_no_source(name):
    out_shape, out_dtype = ACCEPTED[name]["out"]
    for key, value in ACCEPTED[name].items():
        if key == "out" or not is_array(value):
            continue
        shape, dtype = value
        memory = zeros(4096, u8)
        source_size = int(np.prod(shape)) * np.dtype(dtype).itemsize
        source = memory[:source_size].view(dtype).reshape(shape)
        begin = (source_size - 1) // 8 * 8  # the source's last bytes
        out_size = int(np.prod(out_shape)) * np.dtype(out_dtype).itemsize
        out = memory[begin:begin + out_size].view(out_dtype).reshape(out_shape)
        given = {**arguments_of(name), key: source, "out": out}
        refusal(ValueError, f"out overlaps {key}, expected memory of its own", name, **given)
        beside = memory[begin + 8:begin + 8 + out_size].view(out_dtype).reshape(out_shape)
        assert getattr(qo_cmc, name)(**{**given, "out": beside}) is beside


def test_a_matrix_may_lie_in_the_gaps_of_another():
    memory = zeros((6, 6), f32)
    memory[:, ::2] = np.arange(18).reshape(6, 3)
    source = memory[:3, ::2]
    assert qo_cmc.transpose_m(source, out=memory[:3, 1::2]) is not None
    np.testing.assert_array_equal(source.T, memory[:3, 1::2])
    refusal(ValueError, "out overlaps src, expected memory of its own", "transpose_m",
            src=source, out=memory[2:5, ::2])


PAIRS = [(name, key) for name, given in ACCEPTED.items()
         for key in ("shape", "grid_shape", "cell", "crop_origin", "crop_end") if key in given]
EXPECTED = {"crop_origin": "(left, top)", "crop_end": "(right, bottom)"}


@pytest.mark.parametrize("name,key", PAIRS)
def test_a_pair_holds_two_integers_in_range(name, key):
    given = arguments_of(name)
    expected = EXPECTED.get(key, "(rows, columns)")
    least = {"crop_origin": -2**31, "crop_end": -2**31}.get(key, 0)
    given[key] = 5
    refusal(TypeError, f"{key} is int, expected {expected}", name, **given)
    given[key] = (5, 6, 7)
    refusal(ValueError, f"{key} has 3 values, expected {expected}", name, **given)
    given[key] = (5, 6.0)
    refusal(TypeError, f"{key} holds float, expected an integer", name, **given)
    given[key] = "56"
    refusal(TypeError, f"{key} holds str, expected an integer", name, **given)
    for value in (least - 1, 2**63 - 1, 2**31, 2**64):
        if key == "cell" and value > 0:
            continue
        if value == 2**64:
            text = f"{key} holds a number of more than 64 bits, expected "
        else:
            text = f"{key} holds {value}, expected "
        given[key] = (5, value)
        with pytest.raises(ValueError, match=f"^{name}: {re.escape(text)}-?[0-9]+ to [0-9]+$"):
            getattr(qo_cmc, name)(**given)


# One by one: function, what differs from the accepted arguments, exception, text.
REFUSED = [
    ("resize_2d_array_uint16", dict(src=[[1, 2], [3, 4]]), TypeError,
     "src is list, expected an array of uint16"),
    ("resize_2d_array_uint16", dict(shape=(65536 * 32768, 5), out=None), ValueError,
     "shape holds 2147483648, expected 0 to 2147483647"),
    ("resize_2d_array_float", dict(shape=(5, 65536), out=None), ValueError,
     "shape holds 65536 columns, expected at most 65535"),
    ("resize_2d_array_float", dict(src=zeros((2, 65536), f32)), ValueError,
     "src has 65536 columns, expected at most 65535"),
    ("resize_2d_array_uint16_v1", dict(dst_step=0), ValueError,
     "dst_step is 0, expected 1 to 2147483647"),
    ("resize_2d_array_uint16_v1", dict(dst_step=2.0), TypeError,
     "dst_step is float, expected an integer"),
    ("resize_2d_array_uint16_v1", dict(channel=2), ValueError, "channel is 2, expected 0 to 1"),
    ("resize_2d_array_uint8_v1", dict(channel=-1), ValueError, "channel is -1, expected 0 to 1"),
    ("resize_2d_array_uint8_v1", dict(dst_step=2**70), ValueError,
     "dst_step takes more than 64 bits, expected 1 to 2147483647"),
    ("image_upscale_nearest_neighbor_uint16", dict(src=zeros((65536, 2), u16)), ValueError,
     "src has 65536 rows, expected at most 65535"),
    ("bicubic_resize_32f_to_u16p10", dict(src=zeros((2, 65536), f32)), ValueError,
     "src has 65536 columns, expected at most 65535"),
    ("bicubic_resize_u16_to_u16", dict(in_frac_bits=65536), ValueError,
     "in_frac_bits is 65536, expected 0 to 65535"),
    ("image_downscale_u16_to_u16", dict(out_frac_bits=-1), ValueError,
     "out_frac_bits is -1, expected 0 to 65535"),
    ("image_downscale_u16_to_u16", dict(in_frac_bits=None), TypeError,
     "in_frac_bits is NoneType, expected an integer"),
    ("image_downscale_u16_to_u16", dict(roi=(1, 2, 3)), ValueError,
     "roi has 3 values, expected (x, y, width, height)"),
    ("image_downscale_32f_to_u16p10", dict(roi=(0, 0, 65536, 3)), ValueError,
     "roi holds 65536, expected 0 to 65535"),
    ("image_downscale_32f_to_u16p10", dict(roi=5), TypeError,
     "roi is int, expected (x, y, width, height)"),
    ("image_downscale_32f_to_u16p10", dict(src_planes=[]), ValueError,
     "src_planes holds no plane, expected at least one"),
    ("image_downscale_32f_to_u16p10", dict(src_planes=[zeros((9, 8), f32), zeros((8, 9), f32)]),
     ValueError, "src_planes holds a plane of shape (8, 9), expected (9, 8) as the first one"),
    ("image_downscale_32f_to_u16p10", dict(src_planes=[zeros((9, 8), f32), 1]), TypeError,
     "src_planes is int, expected an array of float32"),
    ("image_bicubic_upscale_uint8_to_float", dict(src_planes=zeros((65536, 2, 2), u8)),
     ValueError, "src_planes has 65536 planes, expected at most 65535"),
    ("image_bicubic_upscale_uint8_to_float", dict(src_planes=[zeros((2, 2), u8)] * 65536),
     ValueError, "src_planes has 65536 planes, expected at most 65535"),
    ("create_extrapolated_buffer_for_bicubic_u16", dict(src=zeros((0, 5), u16)), ValueError,
     "src has shape (0, 5), expected sides of 1 to 65532"),
    ("create_extrapolated_buffer_for_bicubic_u16", dict(src=zeros((1, 65533), u16)), ValueError,
     "src has 65533 columns, expected at most 65532"),
    ("interpolate_gain_value", dict(mode=-1), ValueError, "mode is -1, expected 0 to 4294967295"),
    ("interpolate_gain_value", dict(cell=(5, 0)), ValueError,
     "cell is (5, 0), expected a cell of a buffer of shape (5, 6)"),
    ("interpolate_gain_value", dict(cell=(0, 6)), ValueError,
     "cell is (0, 6), expected a cell of a buffer of shape (5, 6)"),
    ("interpolate_gain_value", dict(cell=(2**62, 2**62)), ValueError,
     f"cell is ({2**62}, {2**62}), expected a cell of a buffer of shape (5, 6)"),
    ("interpolate_gain_value", dict(buffer=read_only(zeros((5, 6), f32))), ValueError,
     "buffer is read-only, expected a writable array"),
    ("interpolate_gain_value", dict(buffer=zeros((3, 65536), f32)), ValueError,
     "buffer has 65536 columns, expected at most 65535"),
    *(("interpolate_gain_value", dict(mode=mode, cell=cell), ValueError,
       f"cell is {cell}, expected one from which mode {mode} reaches two cells inside a buffer of "
       "shape (5, 6)")
      for mode, cell in [(0, (3, 0)), (1, (1, 0)), (2, (0, 4)), (3, (0, 1)), (4, (3, 0)),
                         (4, (0, 4)), (5, (0, 1)), (6, (1, 0)), (7, (1, 5)), (7, (4, 1))]),
    ("mul_mm", dict(src2=zeros((3, 5), f32)), ValueError,
     "src2 has 3 rows, expected 4, the columns of src1"),
    ("mul_mv", dict(src2=zeros((5,), f32)), ValueError,
     "src2 has 5 elements, expected 4, the columns of src1"),
    ("transpose_m", dict(src=np.broadcast_to(f32(1), (2**31, 1))), ValueError,
     "src has 2147483648 rows, expected at most 2147483647"),
    ("mul_mm", dict(src1=np.broadcast_to(f32(1), (1, 2**31))), ValueError,
     "src1 has 2147483648 columns, expected at most 2147483647"),
    ("lu_decomposition_m", dict(src=zeros((3, 4), f32)), ValueError,
     "src has 3 rows and 4 columns, expected a square of at least 1"),
    ("lu_decomposition_m", dict(src=zeros((0, 0), f32)), ValueError,
     "src has 0 rows and 0 columns, expected a square of at least 1"),
    ("lu_decomposition_m", dict(src=np.broadcast_to(zeros(3, f32), (3, 3))), ValueError,
     "src is not contiguous, expected rows or columns one after the other without gaps"),
    ("lu_decomposition_m", dict(src=zeros((6, 3), f32)[::2]), ValueError,
     "src is not contiguous, expected rows or columns one after the other without gaps"),
    ("lu_decomposition_m", dict(src=zeros((3, 3), f32)[::-1]), ValueError,
     "src is not contiguous, expected rows or columns one after the other without gaps"),
    ("lu_decomposition_m", dict(src=zeros((3, 3), f32), out=zeros((3, 3), f32)), ValueError,
     "out has 3 values, expected (dst, dst_index)"),
    ("lu_decomposition_m", dict(src=zeros((3, 3), f32), out=(None, zeros(3, np.int64))), TypeError,
     "out[1] is int64, expected int32"),
    ("lu_decomposition_m", dict(src=zeros((3, 3), f32), out=(zeros((3, 4), f32), None)),
     ValueError, "out[0] has shape (3, 4), expected (3, 3)"),
    ("lu_decomposition", dict(grid_shape=(5, 65536)), ValueError,
     "grid_shape holds 65536, expected 0 to 65535"),
    ("lu_decomposition", dict(grid_shape=(5, 6), design=zeros((29, 15), f32)), ValueError,
     "design has shape (29, 15), expected (30, 15)"),
    ("lu_decomposition", dict(grid_shape=(5, 6), design=read_only(zeros((30, 15), f32))),
     ValueError, "design is read-only, expected a writable array"),
    ("lu_decomposition", dict(grid_shape=(5, 6), out=(None, None)), ValueError,
     "out has 2 values, expected (design_t, lu, dst_index)"),
    ("lu_decomposition", dict(grid_shape=(3, 5), design=FACTORS, out=(None, FACTORS, None)),
     ValueError, "out[1] overlaps design, expected memory of its own"),
    ("lsc_polynomial_upscale_float", dict(source=zeros((3, 5, 6), f32)), ValueError,
     "source holds 3 grids, expected 4"),
    ("lsc_polynomial_upscale_float", dict(design_t=zeros((15, 31), f32)), ValueError,
     "design_t has shape (15, 31), expected (15, 30)"),
    ("lsc_polynomial_upscale_float", dict(lu=zeros((14, 15), f32)), ValueError,
     "lu has shape (14, 15), expected (15, 15)"),
    ("do_polynomial_upscale", dict(shape=(0, 5)), ValueError,
     "shape holds 0, expected 1 to 65535"),
    ("do_polynomial_upscale", dict(coefficients=zeros(14, f32)), ValueError,
     "coefficients has shape (14,), expected (15,)"),
]


@pytest.mark.parametrize("name,changes,kind,text", REFUSED)
def test_a_wrong_argument_is_named(name, changes, kind, text):
    given = {**(arguments_of(name) if name in ACCEPTED else {}), **changes}
    refusal(kind, text, name, **given)


# Refusals by the library's own status.
STATUSES = [
    *((name, dict(src=zeros((1, 4), ACCEPTED[name]["src"][1])), 32)
      for name in ("resize_2d_array_uint8", "resize_2d_array_uint16", "resize_2d_array_uint32",
                   "resize_2d_array_float", "resize_2d_array_uint8_v1",
                   "resize_2d_array_uint16_v1", "image_upscale_nearest_neighbor_uint16",
                   "image_downscale_nearest_neighbor_int32")),
    ("image_nearest_neighbor_scale_uint32", dict(src=zeros((0, 4), u32)), 32),
    ("image_nearest_neighbor_scale_uint32", dict(shape=(0, 4), out=None), 32),
    ("bicubic_resize_32f_to_u16p10", dict(src=zeros((3, 0), f32)), 32),
    ("bicubic_resize_32f_to_u16p10", dict(src=zeros((1, 65533), f32)), 32),
    ("bicubic_resize_u16_to_u16", dict(shape=(1, 4), out=None), 32),
    ("crop_resize_2d_array_uint16", dict(crop_origin=(6, 0)), 32),
    ("image_bicubic_upscale_uint8_to_float", dict(shape=(2, 6), out=None), 32),
    ("image_bicubic_upscale_uint16_to_float", dict(src_planes=zeros((1, 2, 1), u16), out=None),
     32),
    ("image_downscale_32f_to_u16p10", dict(shape=(9, 6), out=None), 32),
    ("image_downscale_u16_to_u16", dict(roi=(7, 0, 2, 3)), 32),
    ("lu_decomposition", dict(grid_shape=(5, 6), design=zeros((30, 14), f32)), 2),
]
STATUS_NAMES = {2: "QO_CMC_STEP_FAILED", 8: "QO_CMC_INVALID", 32: "QO_CMC_INVALID_SIZE"}


@pytest.mark.parametrize("name,changes,status", STATUSES)
def test_a_status_is_an_error_and_leaves_out_as_it_was(name, changes, status):
    given = {**(arguments_of(name) if name in ACCEPTED else {}), **changes}
    if given.get("out") is not None:
        given["out"][...] = 7
    with pytest.raises(qo_cmc.StatusError) as caught:
        getattr(qo_cmc, name)(**given)
    assert isinstance(caught.value, ValueError)
    assert caught.value.status == status
    assert str(caught.value) == f"{name}: {STATUS_NAMES[status]} ({status})"
    assert given.get("out") is None or (given["out"] == 7).all()


def test_what_cannot_be_allocated_is_a_memory_error():
    with pytest.raises(MemoryError):
        qo_cmc.resize_2d_array_uint32(zeros((2, 2), u32), (2**21, 2**21))
    with pytest.raises(ValueError):  # more than an array can be
        qo_cmc.resize_2d_array_uint16_v1(zeros((2, 2), u16), (2**31 - 1, 2**31 - 1), 2**31 - 1)


def test_an_integer_that_changes_a_list_is_harmless():
    class Evil:
        def __index__(self):
            shape.clear()
            return 4

    shape = [Evil(), Evil()]
    result = qo_cmc.resize_2d_array_uint16(zeros((2, 2), u16), shape)
    assert result.shape == (4, 4)


# ---- Builders ----

IMAGE = reference.nvm_image([(8, [np.full((5, 6), 9, u8)] * 4)], 5, 6)
BUILDERS = ["compute_upscaled_lsc_tables_polynom4th", "compute_upscaled_lsc_tables_bicubic"]


@pytest.mark.parametrize("name", BUILDERS)
def test_a_builder_refuses(name):
    refusal(TypeError, "nvm is str, expected bytes or another buffer", name, shape=(9, 9), nvm="x")
    refusal(TypeError, "nvm is NoneType, expected bytes or another buffer", name, shape=(9, 9),
            nvm=None)
    refusal(ValueError, "nvm is not contiguous, expected bytes one after the other", name,
            shape=(9, 9), nvm=memoryview(IMAGE)[::2])
    refusal(ValueError, "shape holds 65536, expected 0 to 65535", name, shape=(9, 65536),
            nvm=IMAGE)
    refusal(ValueError, "orientation is -1, expected 0 to 4294967295", name, shape=(9, 9),
            nvm=IMAGE, orientation=-1)
    for nvm in (b"", IMAGE[:-1], b"\0" * 40):
        with pytest.raises(ValueError, match=f"^{name}: nvm is refused by the NVM library with "
                           "status [0-9]+, expected an NVM image$"):
            getattr(qo_cmc, name)((9, 9), nvm)
    for shape in ((0, 9), (9, 0)):
        with pytest.raises(ValueError, match=f"^{name}: no tables: an output "):
            getattr(qo_cmc, name)(shape, IMAGE)


# ---- Correction ----


def correction(target=(), source=(), **changes):
    shape = (2, 3)
    light = dict(light_id=1, gains=(1, 2), coords=(3, 4), fraction_bits=12,
                 tables={(0, 0): zeros(shape, u16)})
    first = SimpleNamespace(**{**light, **dict(target)})
    second = SimpleNamespace(**{**light, "aux": 1, **dict(source)})
    given = dict(target=SimpleNamespace(width=3, height=2, lights=[first]),
                 source=SimpleNamespace(width=3, height=2, lights_ext=[second]),
                 gains=[np.ones((4, *shape), f32)], cfa_layout=0, plane_order=0)
    return {**given, **changes}


TABLE = {(0, 0): zeros((2, 3), f32)}
CORRECTIONS = [
    (dict(target=None), TypeError,
     "target is NoneType, expected an object with the attribute height"),
    (dict(source=SimpleNamespace(width=3, height=2, lights=[])), TypeError,
     "source is types.SimpleNamespace, expected an object with the attribute lights_ext"),
    (dict(target=SimpleNamespace(width=65536, height=2, lights=[])), ValueError,
     "target.width is 65536, expected 0 to 65535"),
    (dict(target=SimpleNamespace(width=3, height=2, lights=5)), TypeError,
     "target.lights is int, expected a sequence of lights"),
    (dict(target=SimpleNamespace(width=3, height=2, lights=[5])), TypeError,
     "target.lights[0] is int, expected an object with the attribute light_id"),
    (dict(cfa_layout=-1), ValueError, "cfa_layout is -1, expected 0 to 4294967295"),
    (dict(plane_order="0"), TypeError, "plane_order is str, expected an integer"),
    (dict(gains=5), TypeError,
     "gains is int, expected ComputedUpscaleLscTables or a sequence of arrays of float32"),
    (dict(gains=[np.ones((4, 2, 3))]), TypeError, "gains[0] is float64, expected float32"),
    (dict(gains=[np.ones((4, 3, 2), f32)]), ValueError,
     "gains[0] has shape (4, 3, 2), expected (4, 2, 3)"),
    (dict(gains=[np.ones((4, 2, 3), f32)] * 256), ValueError,
     "gains has 256 tables, expected at most 255"),
    (dict(gains=[read_only(np.ones((4, 2, 3), f32))], cfa_layout=256), ValueError,
     "gains[0] is read-only, expected a writable array"),
]
LIGHTS = [
    (dict(tables=TABLE), TypeError, "tables[(0, 0)] is float32, expected uint16"),
    (dict(tables={(0, 0): zeros((3, 2), u16)}), ValueError,
     "tables[(0, 0)] has shape (3, 2), expected (2, 3)"),
    (dict(tables={(0, 4): zeros((2, 3), u16)}), ValueError, "tables holds 4, expected 0 to 3"),
    (dict(tables={5: zeros((2, 3), u16)}), TypeError,
     "tables is int, expected sites (row, column)"),
    (dict(tables=5), TypeError, "tables is int, expected a mapping of (row, column) to arrays"),
    (dict(gains=(1,)), ValueError, "gains has 1 values, expected a pair of numbers"),
    (dict(coords=("x", 1)), TypeError, "coords holds str, expected numbers"),
    (dict(light_id=2**32), ValueError, "light_id is 4294967296, expected 0 to 4294967295"),
    (dict(fraction_bits=-1), ValueError, "fraction_bits is -1, expected 0 to 65535"),
]
CORRECT = "ratio_based_sample_to_sample_correction"


@pytest.mark.parametrize("changes,kind,text", CORRECTIONS)
def test_the_correction_refuses(changes, kind, text):
    refusal(kind, text, CORRECT, **correction() | changes)


@pytest.mark.parametrize("light,kind,text", LIGHTS)
def test_the_correction_refuses_a_light(light, kind, text):
    refusal(kind, f"target.lights[0].{text}", CORRECT, **correction(target=light))
    refusal(kind, f"source.lights_ext[0].{text}", CORRECT, **correction(source=light))


def test_the_correction_refuses_by_status():
    small = SimpleNamespace(width=1, height=2, lights_ext=[SimpleNamespace(
        light_id=1, gains=(1, 2), coords=(3, 4), fraction_bits=12, tables={}, aux=1)])
    for given in (correction(source=dict(aux=0)), correction(source=dict(aux=2)),
                  correction(gains=[]), correction(cfa_layout=4), correction(plane_order=4),
                  correction() | dict(source=small),
                  correction() | dict(source=SimpleNamespace(width=3, height=2, lights_ext=[]))):
        with pytest.raises(qo_cmc.StatusError) as caught:
            qo_cmc.ratio_based_sample_to_sample_correction(**given)
        assert str(caught.value) == f"{CORRECT}: QO_CMC_INVALID (8)"


def test_tables_of_another_size_are_refused():
    tables = qo_cmc.compute_upscaled_lsc_tables_bicubic((9, 9), IMAGE)
    refusal(ValueError, "gains has planes of shape (9, 9), expected (2, 3) as the target's tables",
            CORRECT, **correction(gains=tables))


def test_a_target_without_lights_has_nothing_to_correct():
    empty = SimpleNamespace(width=3, height=2, lights=[])
    assert qo_cmc.ratio_based_sample_to_sample_correction(**correction() | dict(target=empty)) == ()
