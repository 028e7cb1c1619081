"""How long gain tables live, and that the lock is let go of."""

import copy
import gc
import pickle
import sys
import threading
import weakref
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest

import qo_cmc


def built(shape=(25, 33)):
    return qo_cmc.compute_upscaled_lsc_tables_bicubic(shape, qo_cmc.sample_nvm())


def test_tables_are_a_sequence_of_writable_views():
    tables = built()
    assert len(tables) == tables.table_count == len(tables.gain_tables) == len(list(tables)) > 1
    for index in (0, -1):
        assert tables[index].shape == (4, 25, 33)
        assert tables[index].dtype == np.float32
        assert tables[index].flags.writeable and tables[index].flags.c_contiguous
    tables[0][1, 2, 3] = 5
    assert tables.gain_tables[0][1, 2, 3] == 5
    for index in (len(tables), -len(tables) - 1):
        with pytest.raises(IndexError, match="^ComputedUpscaleLscTables: index out of range$"):
            tables[index]


def test_views_outlive_the_tables_name():
    expected = built()[0].copy()
    part = built()[0][1:, ::2, ::-1]
    gc.collect()
    others = [built() for _ in range(20)]
    np.testing.assert_array_equal(expected[1:, ::2, ::-1], part)
    del others


def test_tables_are_released_when_no_view_is_left():
    tables = built()
    views = [tables[0][2], memoryview(tables[1])]
    while views:
        with pytest.raises(BufferError, match="arrays of these tables are still in use"):
            qo_cmc.deinit_computed_upscale_lsc_tables(tables)
        assert len(tables) > 0
        views.pop()
    qo_cmc.deinit_computed_upscale_lsc_tables(tables)
    qo_cmc.deinit_computed_upscale_lsc_tables(tables)
    assert repr(tables) == "<ComputedUpscaleLscTables, released>"
    for use in (len, list, lambda t: t[0], lambda t: t.table_count, lambda t: t.gain_tables,
                lambda t: qo_cmc.ratio_based_sample_to_sample_correction(
                    qo_cmc.parse(qo_cmc.sample_container()).lens_shading,
                    qo_cmc.parse(qo_cmc.sample_container()).lens_shading_ext, t, 0, 0)):
        with pytest.raises(ValueError, match="the tables are released"):
            use(tables)


def test_a_context_releases_its_tables():
    with built() as tables:
        assert tables.table_count > 0
    assert "released" in repr(tables)
    with pytest.raises(BufferError):
        with built() as tables:
            view = tables[0]
    del view
    with pytest.raises(KeyError):
        with built() as tables:
            raise KeyError


def test_there_is_no_other_way_to_tables():
    with pytest.raises(TypeError):
        qo_cmc.ComputedUpscaleLscTables()
    with pytest.raises(TypeError):
        pickle.dumps(built())


def test_an_array_that_is_gone_keeps_nothing():
    out = np.empty((9, 9), np.uint16)
    alive = weakref.ref(out)
    qo_cmc.resize_2d_array_uint16(np.zeros((3, 3), np.uint16), (9, 9), out=out)
    del out
    assert alive() is None


def test_a_status_error_is_copied_and_pickled():
    with pytest.raises(qo_cmc.StatusError) as caught:
        qo_cmc.resize_2d_array_uint16(np.zeros((1, 3), np.uint16), (9, 9))
    for other in (copy.copy(caught.value), pickle.loads(pickle.dumps(caught.value))):
        assert (type(other), str(other), other.status) == (
            qo_cmc.StatusError, str(caught.value), 32)


def test_threads_get_the_same_bits():
    rng = np.random.default_rng(3)
    plane = rng.integers(0, 65536, (49, 65), np.uint16)
    real = plane.astype(np.float32) / np.float32(1024)
    square = rng.random((33, 33), np.float32)

    def work(_):
        return [qo_cmc.resize_2d_array_uint16(plane, (70, 33)),
                qo_cmc.bicubic_resize_32f_to_u16p10(real, (70, 91)),
                qo_cmc.image_downscale_32f_to_u16p10([real, real], (7, 9)),
                qo_cmc.mul_mm(square, square), qo_cmc.lu_decomposition_m(square)[0],
                built()[0]]

    expected = work(0)
    with ThreadPoolExecutor(8) as threads:
        for results in threads.map(work, range(64)):
            for one, other in zip(expected, results):
                assert one.tobytes() == other.tobytes()


def test_another_thread_runs_while_the_library_works():
    # With this interval nobody is made to let go of the lock: the other thread, ready to go on,
    # gets it only when the call gives it away.
    src = np.ones((1000, 1000), np.float32)
    interval = sys.getswitchinterval()
    sys.setswitchinterval(600)
    try:
        for _ in range(20):  # the operating system may let it wait in one call
            gate = threading.Lock()
            gate.acquire()
            ran = []
            other = threading.Thread(target=lambda: (gate.acquire(), ran.append(True)))
            other.start()
            gate.release()
            sum(range(10000))
            assert not ran
            qo_cmc.mul_mm(src[:, :400], src[:400])
            ran_during_the_call = bool(ran)
            other.join()
            if ran_during_the_call:
                break
    finally:
        sys.setswitchinterval(interval)
    assert ran_during_the_call
