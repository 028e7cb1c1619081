"""The numeric toolkit on NumPy arrays; its names stand in qo_cmc."""

from collections.abc import Iterator, Mapping, Sequence
from mmap import mmap
from types import TracebackType
from typing import Any, Protocol, SupportsFloat, SupportsIndex, TypeAlias, final

import numpy as np
import numpy.typing as npt

_U8: TypeAlias = npt.NDArray[np.uint8]
_U16: TypeAlias = npt.NDArray[np.uint16]
_U32: TypeAlias = npt.NDArray[np.uint32]
_I32: TypeAlias = npt.NDArray[np.int32]
_F32: TypeAlias = npt.NDArray[np.float32]
_Pair: TypeAlias = Sequence[SupportsIndex] | npt.NDArray[np.integer[Any]]
_Buffer: TypeAlias = bytes | bytearray | memoryview | mmap | npt.NDArray[Any]

class StatusError(ValueError):
    status: int

class _Light(Protocol):
    @property
    def light_id(self) -> int: ...
    @property
    def gains(self) -> _F32 | Sequence[SupportsFloat]: ...
    @property
    def coords(self) -> _F32 | Sequence[SupportsFloat]: ...
    @property
    def fraction_bits(self) -> int: ...
    @property
    def tables(self) -> Mapping[tuple[int, int], _U16]: ...

class _ExtLight(_Light, Protocol):
    @property
    def aux(self) -> int: ...

class _Shading(Protocol):
    @property
    def width(self) -> int: ...
    @property
    def height(self) -> int: ...
    @property
    def lights(self) -> Sequence[_Light]: ...

class _ExtShading(Protocol):
    @property
    def width(self) -> int: ...
    @property
    def height(self) -> int: ...
    @property
    def lights_ext(self) -> Sequence[_ExtLight]: ...

@final
class ComputedUpscaleLscTables:
    @property
    def table_count(self) -> int: ...
    @property
    def gain_tables(self) -> tuple[_F32, ...]: ...
    def __len__(self) -> int: ...
    def __getitem__(self, index: int) -> _F32: ...
    def __iter__(self) -> Iterator[_F32]: ...
    def __enter__(self) -> ComputedUpscaleLscTables: ...
    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None: ...

@final
class CorrectedLight:
    @property
    def light_id(self) -> int: ...
    @property
    def gains(self) -> _F32: ...
    @property
    def coords(self) -> _F32: ...
    @property
    def fraction_bits(self) -> int: ...
    @property
    def tables(self) -> dict[tuple[int, int], _U16]: ...

def transpose_m(src: _F32, *, out: _F32 | None = None) -> _F32: ...
def mul_mm(src1: _F32, src2: _F32, *, out: _F32 | None = None) -> _F32: ...
def mul_mv(src1: _F32, src2: _F32, *, out: _F32 | None = None) -> _F32: ...
def lu_decomposition_m(
    src: _F32, *, out: Sequence[npt.NDArray[Any]] | None = None
) -> tuple[_F32, _I32]: ...
def lu_decomposition(
    grid_shape: _Pair,
    *,
    design: _F32 | None = None,
    out: Sequence[npt.NDArray[Any]] | None = None,
) -> tuple[_F32, _F32, _F32, _I32]: ...
def lsc_polynomial_upscale_float(
    design_t: _F32,
    lu: _F32,
    source: _F32 | Sequence[_F32],
    shape: _Pair,
    *,
    out: _F32 | None = None,
) -> _F32: ...
def do_polynomial_upscale(
    coefficients: _F32, grid_shape: _Pair, shape: _Pair, *, out: _F32 | None = None
) -> _F32: ...
def compute_upscaled_lsc_tables_polynom4th(
    shape: _Pair, nvm: _Buffer, orientation: SupportsIndex = 0
) -> ComputedUpscaleLscTables: ...
def compute_upscaled_lsc_tables_bicubic(
    shape: _Pair, nvm: _Buffer, orientation: SupportsIndex = 0
) -> ComputedUpscaleLscTables: ...
def deinit_computed_upscale_lsc_tables(tables: ComputedUpscaleLscTables) -> None: ...
def ratio_based_sample_to_sample_correction(
    target: _Shading,
    source: _ExtShading,
    gains: ComputedUpscaleLscTables | Sequence[_F32],
    cfa_layout: SupportsIndex,
    plane_order: SupportsIndex,
) -> tuple[CorrectedLight, ...]: ...
def interpolate_gain_value(buffer: _F32, cell: _Pair, mode: SupportsIndex) -> float: ...
def image_bicubic_upscale_uint8_to_float(
    src_planes: _U8 | Sequence[_U8], shape: _Pair, *, out: _F32 | None = None
) -> _F32: ...
def image_bicubic_upscale_uint16_to_float(
    src_planes: _U16 | Sequence[_U16], shape: _Pair, *, out: _F32 | None = None
) -> _F32: ...
def create_extrapolated_buffer_for_bicubic_u16(src: _U16, *, out: _F32 | None = None) -> _F32: ...
def bicubic_resize_32f_to_u16p10(src: _F32, shape: _Pair, *, out: _U16 | None = None) -> _U16: ...
def bicubic_resize_u16_to_u16(
    src: _U16, shape: _Pair, in_frac_bits: SupportsIndex, *, out: _U16 | None = None
) -> _U16: ...
def image_nearest_neighbor_scale_uint32(
    src: _U32, shape: _Pair, *, out: _U32 | None = None
) -> _U32: ...
def image_upscale_nearest_neighbor_uint16(
    src: _U16, shape: _Pair, *, out: _U16 | None = None
) -> _U16: ...
def image_downscale_nearest_neighbor_int32(
    src: _I32, shape: _Pair, use_max: bool = False, *, out: _U32 | None = None
) -> _U32: ...
def resize_2d_array_uint32(src: _U32, shape: _Pair, *, out: _U32 | None = None) -> _U32: ...
def resize_2d_array_uint16(src: _U16, shape: _Pair, *, out: _U16 | None = None) -> _U16: ...
def resize_2d_array_uint8(src: _U8, shape: _Pair, *, out: _U8 | None = None) -> _U8: ...
def resize_2d_array_uint16_v1(
    src: _U16,
    shape: _Pair,
    dst_step: SupportsIndex,
    *,
    channel: SupportsIndex = 0,
    out: _U16 | None = None,
) -> _U16: ...
def resize_2d_array_uint8_v1(
    src: _U8,
    shape: _Pair,
    dst_step: SupportsIndex,
    *,
    channel: SupportsIndex = 0,
    out: _U8 | None = None,
) -> _U8: ...
def resize_2d_array_float(src: _F32, shape: _Pair, *, out: _F32 | None = None) -> _F32: ...
def crop_resize_2d_array_uint16(
    src: _U16,
    shape: _Pair,
    crop_origin: _Pair,
    crop_end: _Pair,
    *,
    out: _U16 | None = None,
) -> _U16: ...
def image_downscale_32f_to_u16p10(
    src_planes: _F32 | Sequence[_F32],
    shape: _Pair,
    *,
    roi: _Pair | None = None,
    out: _U16 | None = None,
) -> _U16: ...
def image_downscale_u16_to_u16(
    src_planes: _U16 | Sequence[_U16],
    shape: _Pair,
    in_frac_bits: SupportsIndex,
    out_frac_bits: SupportsIndex,
    *,
    roi: _Pair | None = None,
    out: _U16 | None = None,
) -> _U16: ...
