"""vimra.dask: for random chunkings, the blockwise result equals the single
call's bit for bit, on the threaded scheduler and on two worker processes."""

import numpy as np
import pytest

da = pytest.importorskip("dask.array")

import vimra  # noqa: E402
import vimra.dask as vd  # noqa: E402

from conftest import need, random_array  # noqa: E402


def random_chunks(rng, shape):
    """A random chunking of every axis: 1 to 5 cuts at random places."""
    chunks = []
    for n in shape:
        cuts = np.unique(rng.integers(1, n, size=rng.integers(0, min(5, n - 1) + 1))) if n > 1 else []
        edges = [0, *cuts.tolist(), n]
        chunks.append(tuple(int(b - a) for a, b in zip(edges, edges[1:])))
    return tuple(chunks)


def cases(seed, count):
    rng = np.random.default_rng(seed)
    for _ in range(count):
        ndim = int(rng.integers(1, 4))
        shape = tuple(int(s) for s in rng.integers(1, 90, size=ndim))
        dtypes = [np.dtype(t) for t in rng.choice(["uint8", "int16", "int32", "float32"], size=2)]
        yield rng, shape, dtypes


BINARY = ["add", "subtract", "multiply", "divide"]


def check_binary(scheduler, seed, count):
    for rng, shape, (ta, tb) in cases(seed, count):
        a = random_array(rng, shape, ta, -1000, 1000)
        b = random_array(rng, shape, tb, -1000, 1000)
        x = da.from_array(a, chunks=random_chunks(rng, shape))
        y = da.from_array(b, chunks=random_chunks(rng, shape))  # another chunking: unified blockwise
        for op in BINARY:
            expected = getattr(vimra, op)(a, b)
            got = getattr(vd, op)(x, y).compute(scheduler=scheduler)
            assert got.dtype == expected.dtype
            np.testing.assert_array_equal(got.view(np.uint8), expected.view(np.uint8), err_msg=f"{op} {shape}")


def test_blockwise_equals_single_call_on_the_threaded_scheduler():
    check_binary("threads", 1, 25)


def test_blockwise_equals_single_call_with_arguments_and_given_types():
    rng = np.random.default_rng(9)
    a = random_array(rng, (61, 67), np.float32)
    x = da.from_array(a, chunks=random_chunks(rng, a.shape))
    np.testing.assert_array_equal(vd.abs(x).compute(scheduler="threads"), vimra.abs(a))
    if hasattr(vimra, "multiply_add"):
        np.testing.assert_array_equal(vd.multiply_add(x, factor=2, offset=0.5).compute(scheduler="threads"),
                                      vimra.multiply_add(a, factor=2, offset=0.5))


def test_formula_through_map_overlap_equals_single_call():
    need("formula2d")
    rng = np.random.default_rng(4)
    for border in ("mirror", "nearest"):
        a = random_array(rng, (53, 71), np.float32)
        x = da.from_array(a, chunks=random_chunks(rng, a.shape))
        text = "I1[-1,0] + 2*I1 + I1[1,0] - I1[0,2]"
        np.testing.assert_array_equal(vd.formula(text, I1=x, border=border).compute(scheduler="threads"),
                                      vimra.formula(text, I1=a, border=border))


def test_mixed_geometry_broadcasts_the_small_image():
    op = need("generic_add")
    rng = np.random.default_rng(6)
    volume = random_array(rng, (5, 33, 47), np.float32)
    plane = random_array(rng, (33, 47), np.float32)
    x = da.from_array(volume, chunks=random_chunks(rng, volume.shape))
    np.testing.assert_array_equal(vd.generic_add(x, plane, axes="ZYX").compute(scheduler="threads"),
                                  op(volume, plane, axes="ZYX"))


def test_blockwise_equals_single_call_on_two_worker_processes():
    distributed = pytest.importorskip("distributed")
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, host="127.0.0.1",
                                  dashboard_address=None) as cluster, distributed.Client(cluster) as client:
        assert len(client.scheduler_info()["workers"]) == 2
        check_binary(client.get, 2, 6)
