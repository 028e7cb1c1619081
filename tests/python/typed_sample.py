"""A user of the whole toolkit, for mypy."""

from types import SimpleNamespace

import numpy as np
import numpy.typing as npt

import qo_cmc

u8: npt.NDArray[np.uint8] = np.zeros((8, 8), np.uint8)
u16: npt.NDArray[np.uint16] = np.zeros((8, 8), np.uint16)
u32: npt.NDArray[np.uint32] = np.zeros((8, 8), np.uint32)
i32: npt.NDArray[np.int32] = np.zeros((8, 8), np.int32)
f32: npt.NDArray[np.float32] = np.ones((8, 8), np.float32)

floats: list[npt.NDArray[np.float32]] = [
    qo_cmc.transpose_m(f32, out=f32),
    qo_cmc.mul_mm(f32, f32),
    qo_cmc.mul_mv(f32, f32[0]),
    qo_cmc.lu_decomposition_m(f32)[0],
    qo_cmc.create_extrapolated_buffer_for_bicubic_u16(u16),
    qo_cmc.image_bicubic_upscale_uint8_to_float([u8, u8], (9, 9)),
    qo_cmc.image_bicubic_upscale_uint16_to_float(u16[None], (9, 9)),
    qo_cmc.resize_2d_array_float(f32, [9, 9]),
    qo_cmc.do_polynomial_upscale(f32[0], (5, 5), (9, 9)),
]
words: list[npt.NDArray[np.uint16]] = [
    qo_cmc.bicubic_resize_32f_to_u16p10(f32, (9, 9)),
    qo_cmc.bicubic_resize_u16_to_u16(u16, (9, 9), 10),
    qo_cmc.image_upscale_nearest_neighbor_uint16(u16, (9, 9)),
    qo_cmc.resize_2d_array_uint16(u16, np.array([9, 9])),
    qo_cmc.resize_2d_array_uint16_v1(u16, (9, 9), 3, channel=1),
    qo_cmc.crop_resize_2d_array_uint16(u16, (5, 5), (1, 1), (1, 1)),
    qo_cmc.image_downscale_32f_to_u16p10([f32], (5, 5), roi=(0, 0, 6, 6)),
    qo_cmc.image_downscale_u16_to_u16(u16[None], (5, 5), 10, 12, out=None),
]
octets: list[npt.NDArray[np.uint8]] = [
    qo_cmc.resize_2d_array_uint8(u8, (9, 9)),
    qo_cmc.resize_2d_array_uint8_v1(u8, (9, 9), 3),
]
longs: list[npt.NDArray[np.uint32]] = [
    qo_cmc.resize_2d_array_uint32(u32, (9, 9)),
    qo_cmc.image_nearest_neighbor_scale_uint32(u32, (9, 9), out=u32),
    qo_cmc.image_downscale_nearest_neighbor_int32(i32, (5, 5), use_max=True),
]
value: float = qo_cmc.interpolate_gain_value(f32, (0, 0), 4)

design, design_t, lu, index = qo_cmc.lu_decomposition((7, 9))
same: npt.NDArray[np.int32] = index
surface: npt.NDArray[np.float32] = qo_cmc.lsc_polynomial_upscale_float(
    design_t, lu, [design] * 4, (9, 9))


def gains(nvm: bytes) -> int:
    with qo_cmc.compute_upscaled_lsc_tables_bicubic((25, 33), nvm) as tables:
        shapes = [table.shape for table in tables.gain_tables]
    other: qo_cmc.ComputedUpscaleLscTables = qo_cmc.compute_upscaled_lsc_tables_polynom4th(
        (25, 33), memoryview(nvm), orientation=3)
    total = sum(table.size for table in other) + len(other) + other.table_count + other[0].ndim
    qo_cmc.deinit_computed_upscale_lsc_tables(other)
    return total + len(shapes)


def corrected(cmc: qo_cmc.ParsedCmc) -> list[npt.NDArray[np.uint16]]:
    target, source = cmc.lens_shading, cmc.lens_shading_ext
    assert target is not None and source is not None
    planes = np.ones((4, target.height, target.width), np.float32)
    lights: tuple[qo_cmc.CorrectedLight, ...] = qo_cmc.ratio_based_sample_to_sample_correction(
        target, source, [planes], 3, 2)
    return [table for light in lights for table in light.tables.values()]


def status(record: SimpleNamespace) -> int:
    try:
        qo_cmc.resize_2d_array_uint8(u8[:1], (9, 9))
    except qo_cmc.StatusError as error:
        return error.status
    return 0
