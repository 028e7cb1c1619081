"""Small containers with chosen lens-shading tables, for the tests of the fleet."""

import functools
import os

import numpy as np
import pytest

import qo_cmc

HEIGHT, WIDTH = 5, 7
SITES = [(0, 0), (0, 1), (1, 0), (1, 1)]
# Of the sample's cell, in the order of the sites.
CHANNELS = ["G1", "C1", "C2", "G2"]

SANITIZED = "address" in os.environ.get("QO_SANITIZE", "")
# An interpreter with the sanitizer takes seconds to start, and workers are interpreters.
many_processes = pytest.mark.skipif(SANITIZED, reason="workers start too slowly with the sanitizer")


@functools.cache
def _sample_slots():
    return qo_cmc.parse(qo_cmc.sample_container()).to_dict()


def container_of(tables, light_ids=None, fraction_bits=12, with_record_2=True):
    """A container whose lights have these tables: lights x sites x height x width."""
    slots = _sample_slots()
    shading = dict(slots["lens_shading"])
    kept = {"general": slots["general"], "lens_shading": shading}
    if with_record_2:
        kept["module_properties"] = slots["module_properties"]
    tables = np.asarray(tables)
    lights = []
    for index, of_light in enumerate(tables):
        light = dict(shading["lights"][0])
        light["light_id"] = index + 1 if light_ids is None else light_ids[index]
        light["fraction_bits"] = fraction_bits
        light["tables"] = [[None] * 4 for _ in range(4)]
        for (row, column), table in zip(SITES, of_light):
            light["tables"][row][column] = table.tolist()
        lights.append(light)
    height, width = tables.shape[2:]
    shading.update(size=None, light_count=len(lights), height=height, width=width, lights=lights)
    return qo_cmc.pack({**dict.fromkeys(slots), **kept})


def random_tables(seed, lights=2, height=HEIGHT, width=WIDTH):
    """A surface that all modules share, and a small variation of each."""
    surface = np.random.default_rng(0).integers(4000, 9000, (lights, len(SITES), height, width))
    variation = np.random.default_rng(seed).normal(0.0, 20.0, surface.shape)
    return (surface + variation.round()).astype(np.uint16)


def write_fleet(folder, all_tables, **options):
    """Their paths, which are in no order of their own."""
    paths = []
    for number, tables in enumerate(all_tables):
        path = folder / f"module_{number * 7919 % 1000:03}.vexb"
        path.write_bytes(container_of(tables, **options))
        paths.append(path)
    return paths
