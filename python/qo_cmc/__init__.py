"""Camera-module characterization: parsed CMCs and the numeric toolkit, on NumPy arrays.

`parse` makes a `ParsedCmc` of a container, and merges a module's calibration into it; `check` tells
what there is to say about a container; `pack` builds one of slots. The toolkit's routines have the
names of the C functions. `qo_cmc.plot` draws lens shading, and `qo_cmc.fleet` works on many
containers.
"""

import importlib
from typing import TYPE_CHECKING

from qo_cmc._findings import Finding, InvalidContainer, RecordReference, RecordRow, Report
from qo_cmc._gains import PhysicalGains
from qo_cmc._parsed_cmc import ParsedCmc, check, pack, parse
from qo_cmc._parsing import __version__, sample_container, sample_nvm
from qo_cmc._toolkit import (
    ComputedUpscaleLscTables,
    CorrectedLight,
    StatusError,
    bicubic_resize_32f_to_u16p10,
    bicubic_resize_u16_to_u16,
    compute_upscaled_lsc_tables_bicubic,
    compute_upscaled_lsc_tables_polynom4th,
    create_extrapolated_buffer_for_bicubic_u16,
    crop_resize_2d_array_uint16,
    deinit_computed_upscale_lsc_tables,
    do_polynomial_upscale,
    image_bicubic_upscale_uint8_to_float,
    image_bicubic_upscale_uint16_to_float,
    image_downscale_32f_to_u16p10,
    image_downscale_nearest_neighbor_int32,
    image_downscale_u16_to_u16,
    image_nearest_neighbor_scale_uint32,
    image_upscale_nearest_neighbor_uint16,
    interpolate_gain_value,
    lsc_polynomial_upscale_float,
    lu_decomposition,
    lu_decomposition_m,
    mul_mm,
    mul_mv,
    ratio_based_sample_to_sample_correction,
    resize_2d_array_float,
    resize_2d_array_uint8,
    resize_2d_array_uint8_v1,
    resize_2d_array_uint16,
    resize_2d_array_uint16_v1,
    resize_2d_array_uint32,
    transpose_m,
)

__all__ = [
    "ComputedUpscaleLscTables",
    "CorrectedLight",
    "Finding",
    "InvalidContainer",
    "ParsedCmc",
    "PhysicalGains",
    "RecordReference",
    "RecordRow",
    "Report",
    "StatusError",
    "__version__",
    "bicubic_resize_32f_to_u16p10",
    "bicubic_resize_u16_to_u16",
    "check",
    "compute_upscaled_lsc_tables_bicubic",
    "compute_upscaled_lsc_tables_polynom4th",
    "create_extrapolated_buffer_for_bicubic_u16",
    "crop_resize_2d_array_uint16",
    "deinit_computed_upscale_lsc_tables",
    "do_polynomial_upscale",
    "image_bicubic_upscale_uint16_to_float",
    "image_bicubic_upscale_uint8_to_float",
    "image_downscale_32f_to_u16p10",
    "image_downscale_nearest_neighbor_int32",
    "image_downscale_u16_to_u16",
    "image_nearest_neighbor_scale_uint32",
    "image_upscale_nearest_neighbor_uint16",
    "interpolate_gain_value",
    "lsc_polynomial_upscale_float",
    "lu_decomposition",
    "lu_decomposition_m",
    "mul_mm",
    "mul_mv",
    "pack",
    "parse",
    "ratio_based_sample_to_sample_correction",
    "resize_2d_array_float",
    "resize_2d_array_uint16",
    "resize_2d_array_uint16_v1",
    "resize_2d_array_uint32",
    "resize_2d_array_uint8",
    "resize_2d_array_uint8_v1",
    "sample_container",
    "sample_nvm",
    "transpose_m",
]


if TYPE_CHECKING:
    from qo_cmc import fleet as fleet
    from qo_cmc import plot as plot
else:

    def __getattr__(name):
        # Matplotlib is imported when a picture is drawn, not before; processes are seldom wanted.
        if name in ("fleet", "plot"):
            return importlib.import_module(f"{__name__}.{name}")
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
